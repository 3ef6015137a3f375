#include "locate/stream_header.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "locate/extent_reader.h"
#include "locate/tiff_header.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

/// The beginning of a stream, for whoever looks for the header. The first bytes are read once.
class StreamHead {
public:
    StreamHead(const ByteSource& source, const Extent& streamExtent) noexcept
        : bytes(source), extent(streamExtent) {
        size = read(0, first);
    }

    /// At most `kLongest` bytes, as many as there are; lent until the next call.
    [[nodiscard]] std::string_view at(std::uint64_t offset) noexcept {
        if (offset + kLongest <= first.size()) {  // a sum of small numbers: no more than 2^32
            return view(first, size).substr(std::min<std::size_t>(size, offset), kLongest);
        }
        return view(other, read(offset, other));
    }

    /// The longest text: what may stand before a header, and the header's first bytes.
    static constexpr std::size_t kLongest = 10;

private:
    static std::string_view view(std::span<const char> memory, std::size_t count) noexcept {
        return {memory.data(), count};
    }

    [[nodiscard]] std::size_t read(std::uint64_t offset, std::span<char> target) const noexcept {
        if (offset >= extent.size) {
            return 0;
        }
        target = target.first(
            static_cast<std::size_t>(std::min<std::uint64_t>(target.size(), extent.size - offset)));
        const std::ptrdiff_t got =
            bytes.read(extent.position + offset, std::as_writable_bytes(target));
        return static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0));
    }

    const ByteSource& bytes;
    Extent extent;
    /// Holds what writers put before a header, and the header.
    std::array<char, 32> first;
    std::array<char, kLongest> other;
    std::size_t size = 0;
};

/// Where a header stands, or would stand.
struct HeaderGuess {
    std::uint64_t offset;  ///< in the stream
    bool isRight;
};

/// Looks for a header at an offset, once "Exif" is passed over.
HeaderGuess headerAt(StreamHead& head, std::uint64_t offset) {
    constexpr std::string_view kSignature = "Exif\0\0"sv;
    std::string_view text = head.at(offset);
    if (text.starts_with(kSignature)) {
        text.remove_prefix(kSignature.size());
        offset += kSignature.size();
    }
    return {offset, beginsAsTiff(text)};
}

/// The size of the number before a header.
constexpr std::uint64_t kNumberSize = 4;

/// Where the header should be: an offset in the stream, at its end at most.
std::uint64_t declaredPlace(StreamHead& head, HeaderPlace place, std::uint64_t streamSize) {
    if (place == HeaderPlace::atStart) {
        return 0;
    }
    const std::string_view text = head.at(0).substr(0, kNumberSize);
    std::uint64_t number = 0;
    for (const char digit : text) {
        number = number << 8U | static_cast<std::uint8_t>(digit);
    }
    return std::min(kNumberSize + number, streamSize);
}

}  // namespace

std::uint64_t findHeader(const ByteSource& bytes, const Extent& stream, HeaderPlace place) {
    const Extent extent = within(bytes, stream);
    StreamHead head(bytes, extent);
    const HeaderGuess declared = headerAt(head, declaredPlace(head, place, extent.size));
    if (!declared.isRight) {
        for (const std::uint64_t other : {kNumberSize, std::uint64_t{0}}) {
            if (const HeaderGuess guess = headerAt(head, other); guess.isRight) {
                return extent.position + guess.offset;
            }
        }
    }
    return extent.position + declared.offset;
}

}  // namespace ifdsweep
