#pragma once

// Tag choice: what a list of names, numbers and patterns asks for, as fields. Pure functions; any
// thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ifdsweep {

/// A field that was asked for: by its name, or an unknown tag by its number.
struct ChosenField {
    std::string name;  ///< of the field; the decimal number of an unknown tag
    std::optional<std::uint16_t> unknownId;
};

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

}  // namespace ifdsweep
