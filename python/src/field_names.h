#pragma once

// Field names: by what names people can ask for a field or a tag: those of the records, and those
// that standards and other programs have.
//
// Ownership: constant data. Threads: any. Errors: std::bad_alloc alone.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ifdsweep/entry_sink.h"

namespace ifdsweep::python {

/// The number of the tag that has this name in directories of a kind, in the case of its letters;
/// none where no tag has it there.
[[nodiscard]] std::optional<std::uint16_t> tagNamed(DirectoryKind kind, std::string_view name);

/// The name that entries of a field have if it is another, as Length of Height; else empty.
[[nodiscard]] std::string_view aliasOf(std::string_view field);

/// What is wrong with the name of a field, such as "no field is named ISO, the field is
/// ISOSpeedRatings"; empty where a record can have a field of that name.
[[nodiscard]] std::string complaintAboutField(std::string_view name);

}  // namespace ifdsweep::python
