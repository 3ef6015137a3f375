#pragma once

// Display width: the columns that text takes on a terminal, at most. Pure functions; any thread.

#include <cstddef>

namespace ifdsweep {

/// The columns that a code point takes at most: two for what East Asian scripts and emoji are
/// written with. A mark that joins the letter before it counts as one: terminals differ.
/// @param codePoint not one that is hidden (hidden_characters.h)
[[nodiscard]] std::size_t displayColumns(char32_t codePoint);

}  // namespace ifdsweep
