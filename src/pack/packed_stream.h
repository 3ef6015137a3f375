#pragma once

// Packed stream: packed files one after the other, as `--format packed` writes them. The stream
// begins with `kPackedStreamHead`; before each block stands its size, in 8 bytes, the lowest first.
//
// Constants and pure functions; any thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace ifdsweep {

/// A name, the byte that ends a text, and the version.
inline constexpr std::string_view kPackedStreamHead{"ifdspk\x1A\x01", 8};

/// What stands before a block.
using PackedSize = std::array<char, 8>;

[[nodiscard]] constexpr PackedSize packedSize(std::uint64_t size) noexcept {
    PackedSize bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(static_cast<std::uint8_t>(size >> 8 * i));
    }
    return bytes;
}

/// The number that stands before a block.
[[nodiscard]] constexpr std::uint64_t packedSize(std::span<const char, 8> bytes) noexcept {
    std::uint64_t size = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        size |= std::uint64_t{static_cast<std::uint8_t>(bytes[i])} << 8 * i;
    }
    return size;
}

}  // namespace ifdsweep
