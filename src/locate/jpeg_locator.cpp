#include "locate/locators.h"

#include <algorithm>
#include <array>

#include "locate/jpeg_segments.h"

namespace ifdsweep {
namespace {

constexpr std::array<std::uint8_t, 6> kExifSignature{'E', 'x', 'i', 'f', 0, 0};

bool holdsExif(ByteReader& reader, const JpegSegment& segment) {
    std::uint64_t position = segment.content;
    return segment.marker == kJpegApp1 && segment.size >= kExifSignature.size() &&
           std::all_of(kExifSignature.begin(), kExifSignature.end(), [&](std::uint8_t expected) {
               return reader.byteAt(position++) == expected;
           });
}

}  // namespace

Located locateFirstExif(ByteReader& reader, SearchDepth /*depth*/) {
    Located located;
    JpegSegments segments(reader);
    while (const auto segment = segments.next()) {
        ++located.pieceCount;
        if (segment->isLast()) {
            located.endedAt = segment->position;
            return located;
        }
        if (holdsExif(reader, *segment)) {
            located.endedAt = segment->content + kExifSignature.size();
            located.add({.name = "Exif",
                         .extents = {{located.endedAt, segment->size - kExifSignature.size()}}});
            return located;
        }
    }
    located.endedAt = segments.position();
    located.damage(located.endedAt);
    return located;
}

Located locateInJpeg(ByteReader& reader, SearchDepth depth) {
    return locateFirstExif(reader, depth);
}

}  // namespace ifdsweep
