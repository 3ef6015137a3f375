#pragma once

// Known names: every name by which people can ask for something of a record, in one list: fields,
// public tags, and the other names of both. Plain functions; any thread.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace ifdsweep {

/// Where a record has what is asked for by a name.
enum class NamedPlace : std::uint8_t {
    field,       ///< in the field of that name
    unknownTag,  ///< among its unknown tags, under its number
};

/// A field or a public tag, with all its names.
struct KnownName {
    std::optional<std::uint16_t> number;  ///< of the tag; absent for fields that are no tag
    std::string_view name;                ///< that which stands in the output
    std::string_view dictionary;          ///< as in `TagListing`: "TIFF", "GPS", …
    NamedPlace place = NamedPlace::field;
    std::vector<std::string_view> others;  ///< what standards and other programs call it
};

/// All of them: fields that are no tag, then each dictionary in ascending order of its numbers.
[[nodiscard]] std::vector<KnownName> listKnownNames();

/// Every name there is, each once: of the fields and public tags, then their other names.
[[nodiscard]] std::vector<std::string_view> allNames(const std::vector<KnownName>& known);

}  // namespace ifdsweep
