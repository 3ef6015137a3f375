// The WebP locator on any bytes: what it finds lies behind the head of an EXIF chunk, and what it
// reads is in proportion to the file.

#include <string>

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string file(data, data + size);
    // A search goes forward but for the byte that may be missing behind a chunk, and the head of a
    // chunk may reach beyond the window's end.
    const std::size_t mostReads = size / (ifdsweep::ByteReader::kWindow - 16) + 4;
    std::uint64_t end = 0;
    for (const auto& stream :
         fuzz::checkLocator(ifdsweep::locateInWebp, {data, size}, mostReads).streams) {
        const ifdsweep::Extent extent = stream.extents.at(0);
        fuzz::require(stream.extents.size() == 1 && extent.size > 0, "it lies in one piece");
        fuzz::require(extent.position >= end + 8, "streams follow each other");
        fuzz::require(file.substr(static_cast<std::size_t>(extent.position) - 8, 4) == "EXIF",
                      "a stream lies in a chunk of its type");
        end = extent.position + extent.size;
    }
    return 0;
}
