#pragma once

// Sums and products of numbers from a file, which never wrap. Stateless; any thread.

#include <cstddef>
#include <cstdint>

namespace ifdsweep::module {

static_assert(sizeof(std::size_t) == 8 && sizeof(unsigned long) == 8,
              "sizes and counts of a file are 64-bit numbers: build for a 64-bit system");

/// Positions and sizes made of numbers from a file. Sums and products of 64-bit numbers are exact
/// in 128 bits, so that one that lies past every file is seen as such and never wraps.
__extension__ using Wide = unsigned __int128;

/// The low 64 bits: the number itself once it is known to fit, or what a message shows of it.
[[nodiscard]] constexpr std::uint64_t lowBits(Wide value) {
    return static_cast<std::uint64_t>(value);
}

}  // namespace ifdsweep::module
