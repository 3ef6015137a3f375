#include "read/jpeg_locator.h"

#include <algorithm>
#include <array>

#include "check/jpeg_segments.h"
#include "read/image_signature.h"

namespace ifdsweep {
namespace {

constexpr std::array<std::uint8_t, 6> kExifSignature{'E', 'x', 'i', 'f', 0, 0};

bool holdsExif(JpegSegments& segments, const JpegSegment& segment) {
    std::uint64_t position = segment.content;
    return segment.marker == kJpegApp1 && segment.size >= kExifSignature.size() &&
           std::all_of(kExifSignature.begin(), kExifSignature.end(), [&](std::uint8_t expected) {
               return segments.byteAt(position++) == expected;
           });
}

}  // namespace

bool beginsAsJpeg(const ByteSource& file) {
    return imageFormatOf(file) == ImageFormat::jpeg;
}

JpegSearch findExifHeader(const ByteSource& file) {
    using enum JpegSearch::Outcome;
    JpegSegments segments(file);
    while (const auto segment = segments.next()) {
        if (segment->isLast()) {
            return {noExif, segment->position};
        }
        if (holdsExif(segments, *segment)) {
            return {found, segment->content + kExifSignature.size()};
        }
    }
    return {damaged, segments.position()};
}

}  // namespace ifdsweep
