#pragma once

// Tag choice: what --tags asks for, as fields. Pure functions; any thread.

#include <string>
#include <string_view>
#include <vector>

#include "app/arguments.h"

namespace app {

/// What came of a list of names: the fields, or what is wrong with the list.
struct TagChoice {
    std::vector<ChosenField> fields;
    std::string complaint;  ///< empty when all is well
};

/// Reads a list such as "Make,0x110,GPS*". A number chooses every name that a dictionary has for
/// it, and the unknown tag when none has; a pattern chooses the names that match.
[[nodiscard]] TagChoice chooseTags(std::string_view list);

/// Every name, a line each: number, name, dictionary.
[[nodiscard]] std::string tagListText();

/// The candidates most like a word, at most three, between commas; empty when none is near.
[[nodiscard]] std::string nearestNames(std::string_view word,
                                       const std::vector<std::string_view>& candidates);

}  // namespace app
