// The HEIF locator on any bytes: what it finds are items by their numbers, and what it reads is in
// proportion to the file.

#include <set>
#include <string>

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Two boxes of a box meta may be read again when its end is reached, beside its list of items;
    // and what lies across the end of what was read is read again.
    constexpr std::size_t kPasses = 3;
    constexpr std::size_t kMostReadAgain = 128;
    const std::size_t mostReads =
        kPasses * (size / (ifdsweep::ByteReader::kWindow - kMostReadAgain) + 2);
    std::set<std::string> names;
    for (const auto& stream :
         fuzz::checkLocator(ifdsweep::locateInHeif, {data, size}, mostReads).streams) {
        fuzz::require(stream.header == ifdsweep::HeaderPlace::behindOffset, "a number is first");
        fuzz::require(stream.name.starts_with("Exif item "), "a stream is an item");
        fuzz::require(names.insert(stream.name).second, "a name stands for one stream");
        fuzz::require(stream.extents.size() <= size / 4 + 1, "an extent takes bytes of the list");
        for (const ifdsweep::Extent& extent : stream.extents) {
            fuzz::require(extent.size > 0, "an extent is not empty");
        }
    }
    return 0;
}
