#pragma once

// Verbs that damage or change bytes on purpose. Each returns a new sequence or changes the given
// one in place; nothing is shared. Any thread.

#include <cstddef>
#include <cstdint>
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
