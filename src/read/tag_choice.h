#pragma once

// Tag choice: what a list of names, numbers and patterns asks for, as fields. Pure functions; any
// thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/entry_sink.h"

namespace ifdsweep {

/// What was asked for: a field by its name, or an unknown tag by its number or its public name
/// (names/public_tags.h).
struct ChosenField {
    std::string name;  ///< of the field; of an unknown tag the decimal number or the public name
    std::optional<std::uint16_t> unknownId;
    bool byPattern = false;  ///< by nothing but patterns
};

/// Whether directories of a kind can have an unknown tag that was asked for: by its number in all
/// of them, by its name where the number has that name.
[[nodiscard]] bool canOccurIn(DirectoryKind kind, const ChosenField& unknownTag);

/// What came of a list of names: the fields, or what is wrong with the list.
struct TagChoice {
    std::vector<ChosenField> fields;
    std::string complaint;  ///< empty when all is well
};

/// Reads a list such as "Make,0x110,gps*". A name in any case of its letters chooses the field or
/// public tag that it is a name of (names/known_names.h), a pattern all of which it matches a name;
/// a number chooses every field that a dictionary has for it, and the unknown tag when none has.
[[nodiscard]] TagChoice chooseTags(std::string_view list);

/// Adds a field behind the others unless it is one of them.
void addField(std::vector<ChosenField>& fields, ChosenField field);

/// Every field and public tag, a line each: number, name, dictionary, other names.
[[nodiscard]] std::string tagListText();

}  // namespace ifdsweep
