#pragma once

// Tag list: the names that a record's fields can have, for programs that let their users choose
// among them. Not part of the contract: the loadable module does not export it.
//
// Ownership: the names are constant data. Threads: any. Errors: std::bad_alloc alone.
// Stable: part of the API; names are added, as tags become known.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace ifdsweep {

/// One name that the module gives to a field.
struct TagListing {
    std::optional<std::uint16_t> id;  ///< the tag's number; absent for fields that are no tag
    std::string_view name;
    std::string_view dictionary;  ///< "TIFF", "GPS", "Interoperability" or "record"
    std::string_view alias;       ///< another name of the tag, which no field has; empty for none
};

/// Every name: fields that are no tag, then each dictionary in ascending order of its numbers.
[[nodiscard]] std::vector<TagListing> listTags();

}  // namespace ifdsweep
