#include "locate/boxes.h"
#include "locate/locators.h"
#include "locate/numbered_name.h"

namespace ifdsweep {
namespace {

constexpr std::uint32_t kExif = boxType("Exif");
constexpr std::uint32_t kCompressed = boxType("brob");
constexpr std::uint64_t kTypeSize = 4;

/// Takes the stream of a box that has one: all of the box from a position on.
void addExif(Located& located, const Box& box, std::uint64_t position, Compression compression) {
    if (position >= box.end) {
        located.damage(box.position);
        return;
    }
    located.add({.name = numberedName("Exif", located.streamCount + 1),
                 .extents = {{position, box.end - position}},
                 .compression = compression,
                 .header = HeaderPlace::behindOffset});
}

/// Looks into a box in which another one may be compressed. What comes out of it is never a
/// compressed box again: the format allows none in it, and this one is asked for its type alone.
void searchCompressed(ByteReader& reader, Located& located, const Box& box) {
    if (box.contentSize() < kTypeSize) {
        located.damage(box.position);
    } else if (reader.bigEndianAt(box.content, kTypeSize) == kExif) {
        addExif(located, box, box.content + kTypeSize, Compression::brotli);
    }
}

}  // namespace

// A codestream costs one read, also where it lies in many boxes: every search goes to the end.
Located locateInJpegXl(ByteReader& reader, SearchDepth /*depth*/) {
    Located located;
    Boxes boxes(reader, 0, reader.size());
    while (const auto box = boxes.next()) {
        ++located.pieceCount;
        located.endedAt = box->end;
        if (box->type == kExif) {
            addExif(located, *box, box->content, Compression::none);
        } else if (box->type == kCompressed) {
            searchCompressed(reader, located, *box);
        }
    }
    located.damage(boxes.damagedAt());
    return located;
}

}  // namespace ifdsweep
