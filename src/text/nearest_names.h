#pragma once

// Nearest names: what somebody who misspelt a word may have meant. Pure function; any thread.

#include <string>
#include <string_view>
#include <vector>

namespace ifdsweep {

/// The candidates most like a word, at most three, between commas: those that begin with it, and
/// those that few edits make of it. Empty when none is near.
[[nodiscard]] std::string nearestNames(std::string_view word,
                                       const std::vector<std::string_view>& candidates);

}  // namespace ifdsweep
