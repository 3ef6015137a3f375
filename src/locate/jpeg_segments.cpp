#include "locate/jpeg_segments.h"

namespace ifdsweep {
namespace {

// Bytes skipped in search of a marker where a segment ended and none stands. Some writers pad
// their segments; a length that is wrong is off by less than a segment, 64 KiB.
constexpr std::uint64_t kMaxPadding = 65536;

}  // namespace

std::optional<std::uint32_t> jpegLengthAt(ByteReader& reader, std::uint64_t position) {
    const auto high = reader.byteAt(position);
    const auto low = reader.byteAt(position + 1);
    const auto length = static_cast<std::uint32_t>(high.value_or(0) << 8 | low.value_or(0));
    return high && low && length >= 2 ? std::optional(length) : std::nullopt;
}

std::optional<JpegSegment> JpegSegments::next() {
    std::uint64_t padding = 0;  // bytes passed since the last segment ended
    while (true) {
        const auto prefix = reader.byteAt(place);
        if (!prefix || padding > kMaxPadding) {
            return std::nullopt;
        }
        const auto marker = reader.byteAt(place + 1);
        // Fill bytes FF may stand before a marker; FF 00 is data, never a marker.
        if (*prefix != kJpegPrefix || marker == kJpegPrefix || marker == kJpegStuffing) {
            ++place;
            ++padding;
            continue;
        }
        if (!marker) {
            return std::nullopt;
        }
        const std::uint64_t found = place;
        if (*marker == kJpegStartOfScan || *marker == kJpegEndOfImage) {
            return JpegSegment{*marker, found, found + 2, 0};
        }
        padding = 0;
        place += 2;
        if (standsAlone(*marker)) {
            continue;
        }
        const auto length = jpegLengthAt(reader, place);
        if (!length) {
            return std::nullopt;
        }
        const std::uint64_t content = place + 2;
        place += *length;
        return JpegSegment{*marker, found, content, *length - 2};
    }
}

}  // namespace ifdsweep
