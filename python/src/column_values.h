#pragma once

// Column values: the columns of a batch as Python and NumPy have them.
//
// Threads: with the interpreter's lock. Errors: nb::python_error.

#include "columns/column_array.h"
#include "objects.h"

namespace ifdsweep::python {

/// Whether NumPy has a type for the values of a column: integers, reals, truth values and times.
[[nodiscard]] bool areNumbers(const ColumnType& type) noexcept;

/// Numbers as a pair of arrays, both read-only: the values, not copied but for truth values, and
/// where they are null, or None where none is. Times are int64.
[[nodiscard]] nb::object numberArrays(const ColumnArray& column);

/// A list of a column's values: None for null, int, float, bool, str, bytes; a tuple of a list, a
/// pair of a rational, a dict of a tag without a name.
[[nodiscard]] nb::object valueList(const ColumnArray& column);

}  // namespace ifdsweep::python
