#pragma once

#include <cstdint>

namespace ifdsweep::module {

/// Positions and sizes made of numbers from a file. Sums and products of 64-bit numbers are exact
/// in 128 bits, so that one that lies past every file is seen as such and never wraps.
__extension__ using Wide = unsigned __int128;

/// The low 64 bits: the number itself once it is known to fit, or what a message shows of it.
[[nodiscard]] constexpr std::uint64_t lowBits(Wide value) {
    return static_cast<std::uint64_t>(value);
}

}  // namespace ifdsweep::module
