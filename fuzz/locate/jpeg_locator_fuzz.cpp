// The JPEG locators on any bytes: what they find stands behind the Exif signature of an APP1
// segment, and what they read is in proportion to the file.

#include <algorithm>
#include <array>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"
#include "support/counted_bytes.h"

namespace {

ifdsweep::Located search(std::span<const std::uint8_t> file) {
    const fixture::CountedBytes bytes({file.begin(), file.end()});
    ifdsweep::ByteReader reader(bytes);
    ifdsweep::Located located = locateFirstExif(reader, ifdsweep::SearchDepth::first);
    fuzz::require(bytes.reads <= file.size() / ifdsweep::ByteReader::kWindow + 3,
                  "a read is a whole window");
    fuzz::require(bytes.delivered <= file.size(), "no byte is read twice");
    return located;
}

constexpr std::array<std::uint8_t, 6> kSignature{'E', 'x', 'i', 'f', 0, 0};

/// A position behind the Exif signature of an APP1 segment.
void requireExifAt(std::span<const std::uint8_t> file, std::uint64_t position) {
    fuzz::require(position >= 12 && position <= file.size(), "Exif data is in the file");
    const auto start = file.subspan(static_cast<std::size_t>(position) - 10);
    fuzz::require(start[0] == 0xFF && start[1] == 0xE1, "it is in an APP1 segment");
    fuzz::require(std::equal(kSignature.begin(), kSignature.end(), start.data() + 4),
                  "it follows the signature");
}

/// Image data or the end of the image.
void requireEndOfSegments(std::span<const std::uint8_t> file, std::uint64_t position) {
    fuzz::require(position + 1 < file.size() && file[position] == 0xFF &&
                      (file[position + 1] == 0xDA || file[position + 1] == 0xD9),
                  "image data or the end of the image comes first");
}

void requireAllExif(std::span<const std::uint8_t> file, const ifdsweep::Located& first) {
    // The index of pictures is read again, and a picture's first bytes.
    const std::size_t most = 2 * (file.size() / (ifdsweep::ByteReader::kWindow / 16)) + 600;
    const ifdsweep::Located all = fuzz::checkLocator(ifdsweep::locateInJpeg, file, most);
    std::uint64_t last = 0;
    for (const ifdsweep::LocatedStream& stream : all.streams) {
        for (const ifdsweep::Extent& extent : stream.extents) {
            requireExifAt(file, extent.position);
            fuzz::require(extent.position > last, "nothing is found twice");
            last = extent.position;
        }
    }
    if (!first.streams.empty()) {
        fuzz::require(all.streams.front().name == "Exif" &&
                          all.streams.front().extents.front().position == first.endedAt,
                      "the first is the one that the other locator finds");
        return;
    }
    // A file whose own image has none may have some in other pictures.
    fuzz::require(all.endedAt == first.endedAt, "both end at the same place");
    if (!all.damagedAt) {
        requireEndOfSegments(file, all.endedAt);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span file(data, size);
    const ifdsweep::Located found = search(file);
    const ifdsweep::Located again = search(file);
    fuzz::require(found.endedAt == again.endedAt && found.damagedAt == again.damagedAt,
                  "the same result twice");
    if (!found.streams.empty()) {
        requireExifAt(file, found.streams.front().extents.front().position);
    } else if (!found.damagedAt) {
        requireEndOfSegments(file, found.endedAt);
    }
    if (size >= 2 && data[0] == 0xFF && data[1] == 0xD8) {
        requireAllExif(file, found);
    }
    return 0;
}
