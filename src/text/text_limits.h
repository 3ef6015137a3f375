#pragma once

// Text limits: how much of a long value is shown on a line for people. Plain values; any thread.

#include <cstddef>
#include <optional>

namespace ifdsweep {

struct TextLimits {
    std::size_t elements = 16;         ///< of an array
    std::size_t characters = 256;      ///< of a text
    std::optional<unsigned> digits{};  ///< significant ones that are asked for; 0: all

    static constexpr unsigned kUsualDigits = 6;

    /// The significant digits of a number that is no integer; 0: all that there are.
    [[nodiscard]] unsigned digitsOr(unsigned usual = kUsualDigits) const {
        return digits.value_or(usual);
    }
};

}  // namespace ifdsweep
