// The PSD locator on any bytes: what it finds lies in the section of image resources, in the order
// of the file, and what it reads is in proportion to the file.

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::size_t most = 2 * (size / (ifdsweep::ByteReader::kWindow / 16)) + 6;
    const ifdsweep::Located found = fuzz::checkLocator(ifdsweep::locateInPsd, {data, size}, most);
    constexpr std::uint64_t kFirstData = 34 + 12;
    std::uint64_t end = kFirstData;
    for (const ifdsweep::LocatedStream& stream : found.streams) {
        const ifdsweep::Extent& extent = stream.extents.front();
        fuzz::require(stream.extents.size() == 1 && extent.size > 0, "a resource is one piece");
        fuzz::require(extent.position >= end, "resources follow one another");
        end = extent.position + extent.size;
    }
    fuzz::require(found.streamCount <= found.pieceCount, "a stream is a resource");
    fuzz::require(found.pieceCount <= size / 12, "a resource takes 12 bytes at least");
    return 0;
}
