#pragma once

// Field roles: what a field of a record says, where that matters to how directories are shown.
// Constant data and pure functions; any thread.

#include <cstdint>
#include <string>
#include <string_view>

namespace ifdsweep {

/// Whether a field is the same in every directory of a file, and shown once below its heading.
[[nodiscard]] bool isFileField(std::string_view name);

/// The field that is the heading itself.
inline constexpr std::string_view kFileNameField = "Filename";

/// Fields of placement, which only say where data lie, how long they are, or which page it is: a
/// set of rows of their table.
using PlacementSet = std::uint32_t;

/// The set of one field of placement; empty for every other field.
[[nodiscard]] PlacementSet placementOf(std::string_view name);

/// The names in a set, between commas, in the order of the table.
[[nodiscard]] std::string placementNames(PlacementSet fields);

}  // namespace ifdsweep
