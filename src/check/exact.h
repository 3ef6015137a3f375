#pragma once

// Exact: sums and products of numbers from a file, which never wrap: what does not fit in 64 bits
// is the largest number, which is past every file. Pure functions; any thread.

#include <cstdint>
#include <limits>

namespace ifdsweep {

/// Stands for every number that does not fit.
inline constexpr std::uint64_t kTooLarge = std::numeric_limits<std::uint64_t>::max();

[[nodiscard]] constexpr std::uint64_t sumOf(std::uint64_t one, std::uint64_t other) noexcept {
    return other > kTooLarge - one ? kTooLarge : one + other;
}

[[nodiscard]] constexpr std::uint64_t productOf(std::uint64_t one, std::uint64_t other) noexcept {
    return one != 0 && other > kTooLarge / one ? kTooLarge : one * other;
}

/// A quotient, rounded up. The divisor is not 0.
[[nodiscard]] constexpr std::uint64_t partsOf(std::uint64_t whole, std::uint64_t part) noexcept {
    return whole / part + (whole % part != 0 ? 1 : 0);
}

}  // namespace ifdsweep
