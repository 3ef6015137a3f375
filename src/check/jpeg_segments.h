#pragma once

// JPEG segments: the marker segments of a JPEG file from its start to the image data
// (ISO/IEC 10918-1, Annex B).
//
// Ownership: borrows the file. Threads: one at a time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "ifdsweep/byte_source.h"

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
    kJpegPrefix = 0xFF,
};

/// Whether a marker has no segment behind it.
[[nodiscard]] constexpr bool standsAlone(std::uint8_t marker) noexcept {
    return marker == kJpegTemporary || (marker >= kJpegFirstRestart && marker <= kJpegStartOfImage);
}

/// Bytes that are asked for at a time.
inline constexpr std::size_t kJpegWindow = 4096;

/// Reads single bytes through a window, so that neighbouring segments cost one read.
class JpegWindow {
public:
    explicit JpegWindow(const ByteSource& source) : file(source) {}

    /// Nothing where there is none, or it cannot be read.
    [[nodiscard]] std::optional<std::uint8_t> byteAt(std::uint64_t position);

    /// Whether a byte that the file should have could not be read.
    [[nodiscard]] bool hasFailed() const noexcept { return failed; }

    /// The length that stands there, which counts its own two bytes; nothing when it is none.
    [[nodiscard]] std::optional<std::uint32_t> lengthAt(std::uint64_t position);

private:
    const ByteSource& file;
    std::array<std::uint8_t, kJpegWindow> bytes;
    std::uint64_t start = 0;
    std::size_t size = 0;
    bool failed = false;
};

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
/// read in order, and a file of S bytes costs S / kJpegWindow + 3 reads at most, the last two of
/// which meet its end.
class JpegSegments {
public:
    /// @param file one that begins as JPEG
    explicit JpegSegments(const ByteSource& file) : window(file) {}

    /// The next segment; nothing where they break off, at `position`, or after the last.
    [[nodiscard]] std::optional<JpegSegment> next();

    /// Where the walk stands.
    [[nodiscard]] std::uint64_t position() const noexcept { return place; }

    /// Whether they break off because the file could not be read.
    [[nodiscard]] bool hasFailed() const noexcept { return window.hasFailed(); }

    /// A byte of the segment that was given last.
    [[nodiscard]] std::optional<std::uint8_t> byteAt(std::uint64_t at) { return window.byteAt(at); }

private:
    JpegWindow window;
    std::uint64_t place = 2;  ///< after the start of image
};

}  // namespace ifdsweep
