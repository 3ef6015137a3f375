#include <algorithm>
#include <array>
#include <utility>

#include "locate/boxes.h"
#include "locate/locators.h"
#include "locate/numbered_name.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

/// What a stream is; those of one kind are read before those of the next.
enum StreamKind : std::uint8_t { exif, geoTiff };

constexpr std::array kNames{"Exif"sv, "GeoTIFF"sv};

struct UuidRow {
    std::string_view uuid;  ///< 16 bytes
    StreamKind kind;
};

// clang-format off
constexpr std::array kUuids{
    UuidRow{"JpgTiffExif->JP2"sv, exif},
    // By the JPEG 2000 plug-in of an image editor.
    UuidRow{"\x05\x37\xCD\xAB\x9D\x0C\x44\x31\xA7\x2A\xFA\x56\x1F\x2A\x11\x3E"sv, exif},
    // GeoJP2: a GeoTIFF file that has one pixel.
    UuidRow{"\xB1\x4B\xF8\xBD\x08\x3D\x4B\x43\xA5\xAE\x8C\xD7\xD5\xA6\xCE\x03"sv, geoTiff},
};
// clang-format on

constexpr std::size_t kUuidSize = 16;

static_assert(std::all_of(kUuids.begin(), kUuids.end(),
                          [](const UuidRow& row) { return row.uuid.size() == kUuidSize; }));

constexpr std::uint32_t kUuidBox = boxType("uuid");

/// The boxes that hold boxes, UUID boxes among them.
constexpr std::array kSuperboxes{boxType("asoc"), boxType("uinf")};

/// Superboxes in each other that are searched. Files have a few: what belongs to an image, in what
/// belongs to all of them.
constexpr int kDeepestSuperbox = 16;

class UuidSearch {
public:
    explicit UuidSearch(ByteReader& byteReader) : reader(byteReader) {}

    /// Goes through neighbouring boxes and what they hold.
    /// @param depth number of the superboxes around them
    void searchBetween(std::uint64_t begin, std::uint64_t end, int depth);

    /// What was found, in the order of reading.
    [[nodiscard]] Located takeResult();

private:
    void searchBox(const Box& box, int depth);
    void searchUuid(const Box& box);

    ByteReader& reader;
    Located located;
    std::array<Located, kNames.size()> found;  ///< streams alone, by their kind
};

void UuidSearch::searchBetween(std::uint64_t begin, std::uint64_t end, int depth) {
    Boxes boxes(reader, begin, end);
    while (const auto box = boxes.next()) {
        searchBox(*box, depth);
    }
    located.damage(boxes.damagedAt());
}

void UuidSearch::searchBox(const Box& box, int depth) {
    ++located.pieceCount;
    if (box.type == kUuidBox) {
        searchUuid(box);
    } else if (std::find(kSuperboxes.begin(), kSuperboxes.end(), box.type) != kSuperboxes.end()) {
        if (depth < kDeepestSuperbox) {
            searchBetween(box.content, box.end, depth + 1);
        } else {
            located.damage(box.position);
        }
    }
    located.endedAt = box.end;
}

void UuidSearch::searchUuid(const Box& box) {
    if (box.contentSize() < kUuidSize) {
        located.damage(box.position);
        return;
    }
    const std::string_view uuid = reader.textAt(box.content, kUuidSize);
    const auto* row = std::find_if(kUuids.begin(), kUuids.end(),
                                   [uuid](const UuidRow& known) { return known.uuid == uuid; });
    if (row == kUuids.end()) {
        return;
    }
    if (box.contentSize() == kUuidSize) {
        located.damage(box.position);
        return;
    }
    Located& kin = found[row->kind];
    kin.add({.name = numberedName(kNames[row->kind], kin.streamCount + 1),
             .extents = {{box.content + kUuidSize, box.contentSize() - kUuidSize}}});
}

Located UuidSearch::takeResult() {
    for (Located& kin : found) {
        located.addAll(std::move(kin));
    }
    return std::move(located);
}

}  // namespace

// Image data cost one read, wherever they lie: every search goes to the end.
Located locateInJpeg2000(ByteReader& reader, SearchDepth /*depth*/) {
    UuidSearch search(reader);
    search.searchBetween(0, reader.size(), 0);
    return search.takeResult();
}

}  // namespace ifdsweep
