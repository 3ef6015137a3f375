#pragma once

// Columns: one field of many directories as a NumPy array.
//
// Threads: with the interpreter's lock. Errors: nb::python_error.

#include <cstdint>
#include <span>
#include <string_view>

#include "objects.h"

namespace ifdsweep::python {

/// int64 where each directory has one integer; float64 where the field is numeric, with NaN where a
/// directory has none or several; else objects.
/// @param directories row numbers
[[nodiscard]] nb::object columnOf(const FilePointer& file,
                                  std::span<const std::uint32_t> directories,
                                  std::string_view field);

}  // namespace ifdsweep::python
