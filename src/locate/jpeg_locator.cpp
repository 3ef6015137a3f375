#include "locate/locators.h"

#include "locate/jpeg_pictures.h"
#include "locate/jpeg_segments.h"

namespace ifdsweep {

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
            located.endedAt = segment->content + kExifSignatureSize;
            located.add({.name = "Exif",
                         .extents = {{located.endedAt, segment->size - kExifSignatureSize}}});
            return located;
        }
    }
    located.endedAt = segments.position();
    located.damage(located.endedAt);
    return located;
}

Located locateInJpeg(ByteReader& reader, SearchDepth /*depth*/) {
    // The window begins where the file does, of which the first bytes are held already.
    static_cast<void>(reader.byteAt(0));
    Located located;
    locateInPictures(reader, 0, reader.size(), located);
    return located;
}

}  // namespace ifdsweep
