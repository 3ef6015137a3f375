#include "locate/jpeg_pictures.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "locate/numbered_name.h"
#include "locate/tiff_header.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

constexpr std::array<std::uint8_t, kExifSignatureSize> kExifSignature{'E', 'x', 'i', 'f', 0, 0};
constexpr std::string_view kIndexSignature = "MPF\0"sv;

// A stream of so many segments has four times the bytes that are ever put together; more of them
// would be there to take memory.
constexpr std::size_t kMostExtents = 4096;

// The standard names no limit; cameras write two to some dozens (panoramas, disparity).
constexpr std::uint64_t kMostPictures = 256;

/// A picture that an index names.
struct Picture {
    std::uint64_t position;
    std::uint64_t number;  ///< from 1
};

/// The numbers of a TIFF structure that lies in a piece of a file: none is read beyond its end.
class IndexBytes {
public:
    IndexBytes(ByteReader& byteReader, Extent piece) : reader(byteReader), extent(piece) {}

    /// Whether the structure begins as a TIFF stream does; takes its byte order from there.
    [[nodiscard]] bool begins() {
        const std::string_view header = textAt(0, kTiffSignatureSize);
        isLittle = header == "II*\0"sv;
        return isLittle || header == "MM\0*"sv;
    }

    [[nodiscard]] std::uint64_t size() const noexcept { return extent.size; }
    [[nodiscard]] std::uint64_t positionOf(std::uint64_t offset) const noexcept {
        return extent.position + offset;
    }

    [[nodiscard]] std::optional<std::uint64_t> numberAt(std::uint64_t offset, std::size_t width) {
        if (!isInside(offset, width)) {
            return std::nullopt;
        }
        const std::uint64_t position = extent.position + offset;
        return isLittle ? reader.littleEndianAt(position, width)
                        : reader.bigEndianAt(position, width);
    }

private:
    [[nodiscard]] bool isInside(std::uint64_t offset, std::uint64_t width) const noexcept {
        return offset <= extent.size && width <= extent.size - offset;
    }
    [[nodiscard]] std::string_view textAt(std::uint64_t offset, std::size_t width) {
        return isInside(offset, width) ? reader.textAt(extent.position + offset, width) : "";
    }

    ByteReader& reader;
    Extent extent;
    bool isLittle = false;
};

/// The value of the entry that lists the pictures: where it lies in the index, and its size.
std::optional<Extent> pictureEntriesOf(IndexBytes& index) {
    constexpr std::uint64_t kFirstOffset = 4;
    constexpr std::uint64_t kEntrySize = 12;
    constexpr std::uint64_t kPictureEntries = 0xB002;
    const std::uint64_t directory = index.numberAt(kFirstOffset, 4).value_or(index.size());
    const std::uint64_t count = index.numberAt(directory, 2).value_or(0);
    for (std::uint64_t number = 0; number < count; ++number) {
        const std::uint64_t entry = directory + 2 + number * kEntrySize;
        const auto tag = index.numberAt(entry, 2);
        if (!tag) {
            return std::nullopt;
        }
        const auto size = index.numberAt(entry + 4, 4);
        const auto offset = index.numberAt(entry + 8, 4);
        if (*tag == kPictureEntries && size && offset) {
            return Extent{*offset, *size};
        }
    }
    return std::nullopt;
}

/// The pictures that an index names, in the order in which they lie in the file.
std::vector<Picture> picturesOf(IndexBytes index) {
    constexpr std::uint64_t kPictureEntrySize = 16;
    constexpr std::uint64_t kPictureOffset = 8;
    std::vector<Picture> pictures;
    const auto entries = index.begins() ? pictureEntriesOf(index) : std::nullopt;
    const std::uint64_t count =
        entries ? std::min(entries->size / kPictureEntrySize, kMostPictures) : 0;
    for (std::uint64_t number = 0; number < count; ++number) {
        const auto offset =
            index.numberAt(entries->position + number * kPictureEntrySize + kPictureOffset, 4);
        if (!offset) {
            break;
        }
        if (*offset != 0) {  // that of the image with the index
            pictures.push_back({index.positionOf(*offset), number + 1});
        }
    }
    std::sort(pictures.begin(), pictures.end(), [](const Picture& left, const Picture& right) {
        return std::pair(left.position, left.number) < std::pair(right.position, right.number);
    });
    return pictures;
}

/// Walks picture after picture and adds what it finds.
class PictureWalk {
public:
    PictureWalk(ByteReader& byteReader, Located& result) : reader(byteReader), located(result) {}

    /// Walks one picture to its image data.
    /// @param end    of what it lies in
    /// @param suffix of the names of its streams
    void walk(std::uint64_t start, std::uint64_t end, const std::string& suffix);

    /// The index of pictures that was met first.
    [[nodiscard]] std::optional<Extent> index() const noexcept { return firstIndex; }
    /// Where the last walk ended.
    [[nodiscard]] std::uint64_t position() const noexcept { return place; }

private:
    enum class Hold : std::uint8_t {
        nothing,  ///< no stream of the picture was met
        kept,     ///< the last one met is the last of those that are told of
        passed,   ///< the last one met is one too many
    };

    void takeExif(const JpegSegment& segment, std::uint64_t end, const std::string& suffix);
    void begin(Extent extent, const std::string& suffix);
    void takeIndex(const JpegSegment& segment, std::uint64_t end);

    ByteReader& reader;
    Located& located;
    std::optional<Extent> firstIndex{};
    std::uint64_t place = 0;
    std::uint64_t streamNumber = 0;  ///< of the last one in this picture
    Hold hold = Hold::nothing;
};

/// The part of a segment's content behind a signature that lies before `end`.
Extent contentBehind(const JpegSegment& segment, std::uint64_t signatureSize, std::uint64_t end) {
    const std::uint64_t begin = segment.content + signatureSize;
    const std::uint64_t size = segment.size - signatureSize;
    return {begin, std::min(size, end - std::min(begin, end))};
}

void PictureWalk::begin(Extent extent, const std::string& suffix) {
    ++streamNumber;
    const std::size_t before = located.streams.size();
    located.add({.name = numberedName("Exif", streamNumber) + suffix, .extents = {extent}});
    hold = located.streams.size() > before ? Hold::kept : Hold::passed;
}

void PictureWalk::takeExif(const JpegSegment& segment, std::uint64_t end,
                           const std::string& suffix) {
    const Extent extent = contentBehind(segment, kExifSignatureSize, end);
    const bool isFirst = hold == Hold::nothing;
    if (isFirst || (extent.size >= kTiffSignatureSize &&
                    beginsAsTiff(reader.textAt(extent.position, kTiffSignatureSize)))) {
        begin(extent, suffix);
        return;
    }
    if (hold == Hold::passed || extent.size == 0) {
        return;
    }
    std::vector<Extent>& extents = located.streams.back().extents;
    if (extents.size() < kMostExtents) {
        extents.push_back(extent);
    } else {
        located.damage(segment.position);
    }
}

void PictureWalk::takeIndex(const JpegSegment& segment, std::uint64_t end) {
    if (!firstIndex && segment.marker == kJpegApp2 && segment.size >= kIndexSignature.size() &&
        reader.standsAt(segment.content, kIndexSignature)) {
        firstIndex = contentBehind(segment, kIndexSignature.size(), end);
    }
}

void PictureWalk::walk(std::uint64_t start, std::uint64_t end, const std::string& suffix) {
    streamNumber = 0;
    hold = Hold::nothing;
    JpegSegments segments(reader, start);
    while (const auto segment = segments.next()) {
        if (segment->position >= end) {
            break;
        }
        ++located.pieceCount;
        if (segment->isLast()) {
            place = segment->position;
            return;
        }
        if (holdsExif(reader, *segment)) {
            takeExif(*segment, end, suffix);
        } else {
            takeIndex(*segment, end);
        }
        if (segment->content + segment->size > end) {
            located.damage(segment->position);
        }
    }
    place = segments.position();
    located.damage(std::min(place, reader.size()));
}

}  // namespace

bool holdsExif(ByteReader& reader, const JpegSegment& segment) {
    std::uint64_t position = segment.content;
    return segment.marker == kJpegApp1 && segment.size >= kExifSignature.size() &&
           std::all_of(kExifSignature.begin(), kExifSignature.end(), [&](std::uint8_t expected) {
               return reader.byteAt(position++) == expected;
           });
}

void locateInPictures(ByteReader& reader, std::uint64_t start, std::uint64_t end,
                      Located& located) {
    PictureWalk pictures(reader, located);
    pictures.walk(start, end, "");
    located.endedAt = pictures.position();
    if (!pictures.index()) {
        return;
    }
    for (const Picture& picture : picturesOf(IndexBytes(reader, *pictures.index()))) {
        if (picture.position >= pictures.position() && picture.position < reader.size() &&
            reader.standsAt(picture.position, kJpegStart)) {
            pictures.walk(picture.position, reader.size(),
                          " of picture " + std::to_string(picture.number));
        }
    }
}

}  // namespace ifdsweep
