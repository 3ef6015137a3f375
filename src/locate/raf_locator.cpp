#include "locate/locators.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "locate/jpeg_pictures.h"
#include "locate/jpeg_segments.h"
#include "locate/tiff_header.h"

namespace ifdsweep {
namespace {

// The directory of a RAF file: 32-bit positions and sizes, big-endian.
constexpr std::uint64_t kJpegEntry = 84;
constexpr std::uint64_t kRawEntry = 100;

/// What an entry of the directory points to, as far as the file has it; nothing where it is cut
/// off, or points to nothing. What reaches beyond the end is damage.
std::optional<Extent> pieceOf(ByteReader& reader, std::uint64_t entry, Located& located) {
    const auto position = reader.bigEndianAt(entry, 4);
    const auto size = reader.bigEndianAt(entry + 4, 4);
    if (!position || !size) {
        located.damage(std::min(entry, reader.size()));
        return std::nullopt;
    }
    if (*position == 0) {
        return std::nullopt;
    }
    const std::uint64_t room = reader.size() - std::min(*position, reader.size());
    if (*size > room) {
        located.damage(entry);
    }
    return room == 0 ? std::nullopt : std::optional(Extent{*position, std::min(*size, room)});
}

}  // namespace

Located locateInRaf(ByteReader& reader, SearchDepth /*depth*/) {
    Located located;
    located.endedAt = kJpegEntry;
    // Both are looked up before the jump to the image.
    const auto jpeg = pieceOf(reader, kJpegEntry, located);
    const auto raw = pieceOf(reader, kRawEntry, located);
    if (jpeg && reader.standsAt(jpeg->position, kJpegStart)) {
        locateInPictures(reader, jpeg->position, jpeg->position + jpeg->size, located);
    } else if (jpeg) {
        located.damage(jpeg->position);
    }
    if (raw && raw->size >= kTiffSignatureSize &&
        beginsAsTiff(reader.textAt(raw->position, kTiffSignatureSize))) {
        located.add({.name = "raw", .extents = {*raw}});
    }
    return located;
}

}  // namespace ifdsweep
