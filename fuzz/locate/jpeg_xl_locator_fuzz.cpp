// The JPEG XL locator on any bytes: what it finds lies in a box that says so, and what it reads is
// in proportion to the file.

#include <algorithm>
#include <string_view>

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

namespace {

/// Whether these characters stand at so many bytes before a position.
bool standBefore(std::span<const std::uint8_t> file, std::uint64_t position, std::size_t distance,
                 std::string_view characters) {
    return position >= distance &&
           std::equal(characters.begin(), characters.end(), &file[position - distance]);
}

}  // namespace

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
        fuzz::require(!isCompressed || standBefore(file, position, 4, "Exif"),
                      "what is compressed says what it is");
        const std::string_view type = isCompressed ? "brob" : "Exif";
        fuzz::require(standBefore(file, position, typeAt, type) ||
                          standBefore(file, position, typeAt + 8, type),
                      "a stream lies in a box of its type");
    }
    return 0;
}
