// The CR3 locator on any bytes: what it finds are the contents of boxes of its names, and what it
// reads is in proportion to the file.

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span file(data, size);
    // A search only goes forward; what lies across the end of what was read is read again.
    const std::size_t mostReads = size / (ifdsweep::ByteReader::kWindow - 32) + 4;
    std::string_view last;
    const auto located = fuzz::checkLocator(ifdsweep::locateInCr3, file, mostReads);
    for (const auto& stream : located.streams) {
        const ifdsweep::Extent& extent = stream.extents.at(0);
        fuzz::require(extent.size > 0 && stream.extents.size() == 1, "a stream is in one piece");
        fuzz::require(stream.name > last, "streams stand in the order of their names");
        fuzz::require(fuzz::standBefore(file, extent.position, 4, stream.name) ||
                          fuzz::standBefore(file, extent.position, 12, stream.name),
                      "a stream lies in a box of its name");
        last = stream.name;
    }
    return 0;
}
