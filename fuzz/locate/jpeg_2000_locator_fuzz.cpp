// The JPEG 2000 locator on any bytes: what it finds lies in a UUID box, Exif data first, and what
// it reads is in proportion to the file.

#include <algorithm>

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span file(data, size);
    // The end of a box in a box may lie before what was read of the next header in it: each window
    // may then be read twice.
    const std::size_t mostReads = 2 * (size / (ifdsweep::ByteReader::kWindow - 16)) + 8;
    const ifdsweep::Located located =
        fuzz::checkLocator(ifdsweep::locateInJpeg2000, file, mostReads);
    const auto isExif = [](const ifdsweep::LocatedStream& stream) {
        return stream.name.starts_with("Exif");
    };
    fuzz::require(std::is_partitioned(located.streams.begin(), located.streams.end(), isExif),
                  "Exif data come first");
    for (const auto& stream : located.streams) {
        const std::uint64_t position = stream.extents.at(0).position;
        fuzz::require(fuzz::standBefore(file, position, 20, "uuid") ||
                          fuzz::standBefore(file, position, 28, "uuid"),
                      "a stream lies in a UUID box");
    }
    return 0;
}
