#pragma once

// JPEG segments: the marker segments of a JPEG image from its start to the image data
// (ISO/IEC 10918-1, Annex B).
//
// Ownership: borrows the reader. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string_view>

#include "locate/byte_reader.h"

namespace ifdsweep {

/// The markers that somebody asks for; each stands after a byte FF.
enum JpegMarker : std::uint8_t {
    kJpegStuffing = 0x00,  ///< none: the FF before it is data
    kJpegTemporary = 0x01,
    kJpegFirstRestart = 0xD0,
    kJpegStartOfImage = 0xD8,
    kJpegEndOfImage = 0xD9,
    kJpegStartOfScan = 0xDA,
    kJpegApp1 = 0xE1,
    kJpegApp2 = 0xE2,
    kJpegPrefix = 0xFF,
};

/// How a JPEG image begins.
inline constexpr std::string_view kJpegStart = "\xFF\xD8";

/// Whether a marker has no segment behind it.
[[nodiscard]] constexpr bool standsAlone(std::uint8_t marker) noexcept {
    return marker == kJpegTemporary || (marker >= kJpegFirstRestart && marker <= kJpegStartOfImage);
}

/// The length that stands at a position, which counts its own two bytes; nothing when it is none.
[[nodiscard]] std::optional<std::uint32_t> jpegLengthAt(ByteReader& reader, std::uint64_t position);

/// One segment.
struct JpegSegment {
    std::uint8_t marker;
    std::uint64_t position;  ///< of the marker
    std::uint64_t content;   ///< position of what stands behind the length
    std::uint64_t size;      ///< of the content; 0 where the segments end

    /// Whether the image data or the end of the image begin here: there are no more segments.
    [[nodiscard]] bool isLast() const noexcept {
        return marker == kJpegStartOfScan || marker == kJpegEndOfImage;
    }
};

/// Goes through the segments, always forward: no byte is read twice while what stands in them is
/// read in order, and a file of S bytes costs S / ByteReader::kWindow + 3 reads at most, the last
/// two of which meet its end.
class JpegSegments {
public:
    /// @param start position of the start of image
    explicit JpegSegments(ByteReader& byteReader, std::uint64_t start = 0)
        : reader(byteReader), place(start + 2) {}

    /// The next segment; nothing where they break off, at `position`, or after the last.
    [[nodiscard]] std::optional<JpegSegment> next();

    /// Where the walk stands.
    [[nodiscard]] std::uint64_t position() const noexcept { return place; }

private:
    ByteReader& reader;
    std::uint64_t place;
};

}  // namespace ifdsweep
