#pragma once

// The bytes of a file as numbers of this machine. Stateless; any thread.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ifdsweep::module {

[[nodiscard]] inline std::uint16_t reversed(std::uint16_t item) {
    return __builtin_bswap16(item);
}
[[nodiscard]] inline std::uint32_t reversed(std::uint32_t item) {
    return __builtin_bswap32(item);
}
[[nodiscard]] inline std::uint64_t reversed(std::uint64_t item) {
    return __builtin_bswap64(item);
}

/// One unsigned number of a file, at any alignment; `swap` as for `raw2native`.
template <class Item>
[[nodiscard]] Item nativeItem(const std::uint8_t* bytes, bool swap) {
    Item item;
    std::memcpy(&item, bytes, sizeof item);
    return swap ? reversed(item) : item;
}

/// Reverses the bytes of each of `itemCount` consecutive items of `itemSize` bytes in place when
/// `swap` is true; every multi-byte value of a file passes through it, or `nativeItem`, at once.
void raw2native(void* buffer, std::size_t itemSize, std::size_t itemCount, bool swap);

}  // namespace ifdsweep::module
