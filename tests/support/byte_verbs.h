#pragma once

// Verbs that make bytes, and that damage or change them on purpose. Each returns a new sequence or
// changes the given one in place; nothing is shared. Any thread.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace fixture {

using Bytes = std::vector<std::uint8_t>;

enum class ByteOrder : std::uint8_t { little, big };

/// Writes an unsigned word of 1 to 8 bytes over existing bytes.
inline void setWord(Bytes& bytes, std::size_t position, std::size_t width, std::uint64_t value,
                    ByteOrder byteOrder) {
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t significance = byteOrder == ByteOrder::little ? i : width - 1 - i;
        bytes.at(position + i) = static_cast<std::uint8_t>(value >> (8 * significance));
    }
}

/// Appends an unsigned word of 1 to 8 bytes.
inline void appendWord(Bytes& bytes, std::size_t width, std::uint64_t value, ByteOrder byteOrder) {
    bytes.resize(bytes.size() + width);
    setWord(bytes, bytes.size() - width, width, value, byteOrder);
}

/// A big-endian number of 0 to 8 bytes; what does not fit is cut off.
[[nodiscard]] inline Bytes bigEndian(std::size_t width, std::uint64_t value) {
    Bytes bytes;
    appendWord(bytes, width, value, ByteOrder::big);
    return bytes;
}

[[nodiscard]] inline Bytes bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

/// The pieces one after another.
[[nodiscard]] inline Bytes joined(const std::vector<Bytes>& pieces) {
    Bytes whole;
    for (const Bytes& piece : pieces) {
        whole.insert(whole.end(), piece.begin(), piece.end());
    }
    return whole;
}

/// The first `length` bytes.
[[nodiscard]] inline Bytes truncated(Bytes bytes, std::size_t length) {
    bytes.resize(length);
    return bytes;
}

/// The same bytes with one of them inverted where the mask says so.
[[nodiscard]] inline Bytes flipped(Bytes bytes, std::size_t position, std::uint8_t mask) {
    bytes.at(position) ^= mask;
    return bytes;
}

}  // namespace fixture
