// The JPEG XL locator on any bytes: what it finds lies in a box that says so, and what it reads is
// in proportion to the file.

#include <string_view>

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span file(data, size);
    // A search only goes forward, and the header of a box may reach beyond the window's end.
    const std::size_t mostReads = size / (ifdsweep::ByteReader::kWindow - 16) + 4;
    for (const auto& stream :
         fuzz::checkLocator(ifdsweep::locateInJpegXl, file, mostReads).streams) {
        const std::uint64_t position = stream.extents.at(0).position;
        const bool isCompressed = stream.compression == ifdsweep::Compression::brotli;
        const std::size_t typeAt = isCompressed ? 8 : 4;
        fuzz::require(stream.header == ifdsweep::HeaderPlace::behindOffset, "a number is first");
        fuzz::require(!isCompressed || fuzz::standBefore(file, position, 4, "Exif"),
                      "what is compressed says what it is");
        const std::string_view type = isCompressed ? "brob" : "Exif";
        fuzz::require(fuzz::standBefore(file, position, typeAt, type) ||
                          fuzz::standBefore(file, position, typeAt + 8, type),
                      "a stream lies in a box of its type");
    }
    return 0;
}
