#pragma once

// Letter case: words that are the same but for the case of their letters. ASCII letters alone, in
// whatever locale. Pure functions; any thread.

#include <algorithm>
#include <string_view>

namespace ifdsweep {

[[nodiscard]] constexpr char lowerCase(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

[[nodiscard]] constexpr char upperCase(char letter) noexcept {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

[[nodiscard]] constexpr bool equalInAnyCase(std::string_view left,
                                            std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char one, char other) { return lowerCase(one) == lowerCase(other); });
}

}  // namespace ifdsweep
