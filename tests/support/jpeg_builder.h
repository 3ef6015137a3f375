#pragma once

// JPEG files in memory, segment by segment: Exif data whole or split, an index of pictures, and the
// RAF file that such an image lies in. Pure functions; any thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "support/byte_verbs.h"

namespace fixture {

inline constexpr std::string_view kExifSignature{"Exif\0\0", 6};

/// A marker segment; its length is that of the content, which has 65533 bytes at most.
[[nodiscard]] inline Bytes jpegSegment(std::uint8_t marker, const Bytes& content) {
    Bytes bytes{0xFF, marker};
    appendWord(bytes, 2, content.size() + 2, ByteOrder::big);
    bytes.insert(bytes.end(), content.begin(), content.end());
    return bytes;
}

/// An APP1 segment with a piece of Exif data behind the signature.
[[nodiscard]] inline Bytes exifSegment(const Bytes& piece) {
    return jpegSegment(0xE1, joined({bytesOf(kExifSignature), piece}));
}

/// Exif data in as many segments as it takes.
/// @param most bytes of a segment, behind the signature
[[nodiscard]] inline Bytes splitExif(const Bytes& stream, std::size_t most) {
    Bytes segments;
    for (std::size_t start = 0; start < stream.size(); start += most) {
        const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(start);
        const auto size = static_cast<std::ptrdiff_t>(std::min(most, stream.size() - start));
        segments = joined({segments, exifSegment(Bytes(begin, begin + size))});
    }
    return segments;
}

/// An image of these segments, with some image data.
[[nodiscard]] inline Bytes jpegOf(const std::vector<Bytes>& segments) {
    return joined({{0xFF, 0xD8},
                   joined(segments),
                   jpegSegment(0xDA, {1, 1, 0, 0, 63, 0}),
                   {0x12, 0x34, 0xFF, 0xD9}});
}

/// An index of pictures (CIPA DC-007, 5): its TIFF structure begins 8 bytes behind its segment's
/// marker, and each picture's offset counts from there.
/// @param declared bytes of the list of pictures
[[nodiscard]] inline Bytes pictureIndex(const std::vector<std::uint32_t>& offsets,
                                        ByteOrder byteOrder, std::uint32_t declared) {
    constexpr std::uint32_t kDirectory = 8;
    constexpr std::uint32_t kList = kDirectory + 2 + 2 * 12 + 4;
    Bytes index = byteOrder == ByteOrder::little ? bytesOf({"II*\0", 4}) : bytesOf({"MM\0*", 4});
    const auto append = [&](std::size_t width, std::uint64_t value) {
        appendWord(index, width, value, byteOrder);
    };
    append(4, kDirectory);
    append(2, 2);
    append(2, 0xB001);
    append(2, 4);
    append(4, 1);
    append(4, offsets.size());
    append(2, 0xB002);
    append(2, 7);
    append(4, declared);
    append(4, kList);
    append(4, 0);
    for (const std::uint32_t offset : offsets) {
        append(4, 0x020000);  // attribute
        append(4, 1000);      // size
        append(4, offset);
        append(4, 0);  // dependents
    }
    return jpegSegment(0xE2, joined({bytesOf({"MPF\0", 4}), index}));
}

[[nodiscard]] inline Bytes pictureIndex(const std::vector<std::uint32_t>& offsets,
                                        ByteOrder byteOrder) {
    return pictureIndex(offsets, byteOrder, static_cast<std::uint32_t>(16 * offsets.size()));
}

/// An image with an index, and the pictures that it names behind it.
[[nodiscard]] inline Bytes jpegWithPictures(const std::vector<Bytes>& segments,
                                            const std::vector<Bytes>& pictures,
                                            ByteOrder byteOrder) {
    constexpr std::size_t kHeader = 8;
    std::vector<std::uint32_t> offsets(pictures.size() + 1);
    std::size_t offset = pictureIndex(offsets, byteOrder).size() - kHeader + jpegOf({}).size() - 2;
    for (std::size_t number = 0; number < pictures.size(); ++number) {
        offsets[number + 1] = static_cast<std::uint32_t>(offset);
        offset += pictures[number].size();
    }
    return joined({jpegOf({joined(segments), pictureIndex(offsets, byteOrder)}), joined(pictures)});
}

/// A RAF file: a directory of 108 bytes, then the image, then the raw data.
[[nodiscard]] inline Bytes rafOf(const Bytes& jpeg, const Bytes& raw) {
    constexpr std::size_t kDirectory = 108;
    Bytes file = bytesOf("FUJIFILMCCD-RAW 0201FF129502X-T00");
    file.resize(kDirectory);
    setWord(file, 84, 4, kDirectory, ByteOrder::big);
    setWord(file, 88, 4, jpeg.size(), ByteOrder::big);
    setWord(file, 100, 4, kDirectory + jpeg.size(), ByteOrder::big);
    setWord(file, 104, 4, raw.size(), ByteOrder::big);
    return joined({file, jpeg, raw});
}

}  // namespace fixture
