#pragma once

// Conversions of doubles to integers, defined for every double. Stateless; any thread.

#include <cmath>
#include <cstdint>
#include <limits>

namespace ifdsweep::module {

/// Truncation toward zero to 64 bits; negative numbers down to -2^63 give their two's complement.
/// NaN and everything outside -2^63 to 2^64 gives 2^63.
[[nodiscard]] inline std::uint64_t toUnsigned64(double value) {
    constexpr double kTwo63 = 9223372036854775808.0;
    if (value >= 0 && value < kTwo63) {
        return static_cast<std::uint64_t>(value);
    }
    if (value >= kTwo63 && value < 2 * kTwo63) {
        return static_cast<std::uint64_t>(value - kTwo63) | std::uint64_t{1} << 63U;
    }
    if (value < 0 && value >= -kTwo63) {
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    }
    return std::uint64_t{1} << 63U;
}

/// Truncation toward zero to a signed 32-bit integer; NaN and what does not fit give -2^31.
[[nodiscard]] inline std::int32_t toSigned32(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                         : std::numeric_limits<std::int32_t>::min();
}

/// The truncated value modulo 2^bits (bits up to 16); NaN and infinities give 0.
template <unsigned bits>
[[nodiscard]] std::uint16_t toLowBits(double value) {
    static_assert(bits <= 16);
    constexpr double kModulus = std::uint32_t{1} << bits;
    if (value >= 0 && value < kModulus) {
        return static_cast<std::uint16_t>(value);
    }
    if (!std::isfinite(value)) {
        return 0;
    }
    const double remainder = std::fmod(std::trunc(value), kModulus);
    return static_cast<std::uint16_t>(remainder < 0 ? remainder + kModulus : remainder);
}

}  // namespace ifdsweep::module
