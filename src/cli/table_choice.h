#pragma once

// Table choice: what the rows and columns of a table are, of what was asked for. Plain function;
// any thread.

#include <optional>
#include <string>

#include "write/output_choice.h"

namespace ifdsweep {

/// Settles rows and columns of a table. Where no rows are asked for, a row is a file if a field
/// stands in nested directories, otherwise a directory. A field that no row could show is left out
/// if a pattern asks for it.
/// @param output    with its format and its fields
/// @param askedRows what --rows says, if it was given
/// @return what is wrong, such as a column that nothing could fill; empty when nothing is
[[nodiscard]] std::string settleTable(OutputChoice& output, std::optional<TableRows> askedRows);

}  // namespace ifdsweep
