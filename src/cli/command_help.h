#pragma once

// Command help: what --help prints, for the width of the terminal that shows it. Pure functions
// over the caller's parser; any thread.

#include <cstddef>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace ifdsweep {

/// The columns that the help takes where there are as many or more, and where nothing tells.
inline constexpr std::size_t kHelpColumns = 100;

/// The help of a command whose options are all there.
/// @param columns of the terminal; below 80 each option's text stands on lines of its own
[[nodiscard]] std::string commandHelp(CLI::App& command, std::size_t columns);

/// A text whose lines have no more columns, broken at blanks and indented as they began; a word
/// that is longer stays whole. Only for texts in ASCII.
[[nodiscard]] std::string wrappedLines(std::string_view text, std::size_t columns);

}  // namespace ifdsweep
