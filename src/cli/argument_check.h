#pragma once

// Argument check: whether the options of a command line are there, with a value where they take
// one, and what may have been meant where they are not. Pure functions; any thread.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/option_table.h"

namespace ifdsweep {

/// What is wrong with the first argument that is no option, or lacks its value or has one too many;
/// empty when nothing is.
/// @param arguments without the program's name, in their order
[[nodiscard]] std::string argumentComplaint(std::span<const std::string> arguments);

/// "; nearest: " and the words of an option that are most like a text; empty when none is.
[[nodiscard]] std::string nearestWords(std::string_view text, std::span<const OptionWord> words);

}  // namespace ifdsweep
