#pragma once

#include <cstddef>
#include <cstdint>

/// Reverses the bytes of each of `itemCount` consecutive items of `itemSize` bytes in place when
/// `swap` is true; every multi-byte value read from a file passes through it at once.
void raw2native(void* buffer, std::size_t itemSize, std::size_t itemCount, bool swap);
