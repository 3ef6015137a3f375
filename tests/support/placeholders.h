#pragma once

// Placeholders of message texts: "{1}" for the first argument, and so on. Pure functions; any
// thread.

#include <cstddef>
#include <set>
#include <string_view>

#include <gtest/gtest.h>

namespace fixture {

/// The digits of the placeholders in a text; a brace that begins none is a failure of the test.
inline std::set<char> placeholdersIn(std::string_view text) {
    std::set<char> digits;
    for (std::size_t brace = text.find('{'); brace != text.npos;
         brace = text.find('{', brace + 1)) {
        const std::string_view placeholder = text.substr(brace, 3);
        EXPECT_TRUE(placeholder.size() == 3 && placeholder[2] == '}') << text;
        digits.insert(placeholder.size() > 1 ? placeholder[1] : '?');
    }
    return digits;
}

/// Those that so many arguments need.
inline std::set<char> placeholdersFor(std::size_t arguments) {
    std::set<char> digits;
    for (std::size_t number = 0; number < arguments; ++number) {
        digits.insert(static_cast<char>('1' + static_cast<int>(number)));
    }
    return digits;
}

}  // namespace fixture
