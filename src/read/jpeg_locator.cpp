#include "read/jpeg_locator.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "read/image_signature.h"

namespace ifdsweep {
namespace {

enum Marker : std::uint8_t {
    kTemporary = 0x01,
    kFirstRestart = 0xD0,
    kStartOfImage = 0xD8,
    kEndOfImage = 0xD9,
    kStartOfScan = 0xDA,
    kApp1 = 0xE1,
    kPrefix = 0xFF,
};

constexpr std::array<std::uint8_t, 6> kExifSignature{'E', 'x', 'i', 'f', 0, 0};

// Bytes skipped in search of a marker where a segment ended and none stands. Some writers pad
// their segments; a length that is wrong is off by less than a segment, 64 KiB.
constexpr std::uint64_t kMaxPadding = 65536;

/// Reads what there is at a position, nothing where it cannot be read.
std::size_t bytesAt(const ByteSource& file, std::uint64_t position,
                    std::span<std::uint8_t> target) {
    const std::ptrdiff_t got = file.read(position, std::as_writable_bytes(target));
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0));
}

/// Reads single bytes through a window, so that neighbouring segments cost one read.
class Window {
public:
    explicit Window(const ByteSource& source) : file(source) {}

    std::optional<std::uint8_t> byteAt(std::uint64_t position) {
        if (position < start || position - start >= size) {
            start = position;
            size = bytesAt(file, position, bytes);
            if (size == 0) {
                return std::nullopt;
            }
        }
        return bytes[static_cast<std::size_t>(position - start)];
    }

private:
    const ByteSource& file;
    std::array<std::uint8_t, kJpegWindow> bytes;
    std::uint64_t start = 0;
    std::size_t size = 0;
};

constexpr bool standsAlone(std::uint8_t marker) {
    return marker == kTemporary || (marker >= kFirstRestart && marker <= kStartOfImage);
}

bool holdsExif(Window& window, std::uint64_t position) {
    return std::all_of(kExifSignature.begin(), kExifSignature.end(), [&](std::uint8_t expected) {
        return window.byteAt(position++) == expected;
    });
}

}  // namespace

bool beginsAsJpeg(const ByteSource& file) {
    return imageFormatOf(file) == ImageFormat::jpeg;
}

JpegSearch findExifHeader(const ByteSource& file) {
    using enum JpegSearch::Outcome;
    Window window(file);
    std::uint64_t position = 2;  // after the start of image
    std::uint64_t padding = 0;   // bytes passed since the last segment ended
    while (true) {
        const auto prefix = window.byteAt(position);
        if (!prefix || padding > kMaxPadding) {
            return {damaged, position};
        }
        const auto marker = window.byteAt(position + 1);
        // Fill bytes FF may stand before a marker; FF 00 is data, never a marker.
        if (*prefix != kPrefix || marker == kPrefix || marker == 0) {
            ++position;
            ++padding;
            continue;
        }
        if (!marker) {
            return {damaged, position};
        }
        padding = 0;
        if (*marker == kStartOfScan || *marker == kEndOfImage) {
            return {noExif, position};
        }
        position += 2;
        if (standsAlone(*marker)) {
            continue;
        }
        const auto high = window.byteAt(position);
        const auto low = window.byteAt(position + 1);
        const auto length = static_cast<std::uint32_t>(high.value_or(0) << 8 | low.value_or(0));
        if (!high || !low || length < 2) {  // the length counts its own two bytes
            return {damaged, position};
        }
        if (*marker == kApp1 && length >= 2 + kExifSignature.size() &&
            holdsExif(window, position + 2)) {
            return {found, position + 2 + kExifSignature.size()};
        }
        position += length;
    }
}

}  // namespace ifdsweep
