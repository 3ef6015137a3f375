#pragma once

// Field selection: the part of a file's records that was asked for, as records of their own, so
// that every format writes it as it writes all. Needs a host scope; one thread.

#include <vector>

#include "ifdsweep/entry_sink.h"
#include "read/tag_choice.h"
#include "values/value.h"

namespace ifdsweep {

/// Moves the chosen fields of every record over, in the order asked for. Behind them come the
/// nested records that hold chosen fields, with these alone. An unknown tag becomes a field that is
/// named as it was asked for, by its number or its public name, and holds its value. A field that
/// the records lack is left out; values that are no records come back as they are.
/// @param kind what the records describe, which decides what the tags in them are called
[[nodiscard]] ValueHandle selectFields(ValueHandle records, const std::vector<ChosenField>& fields,
                                       DirectoryKind kind = DirectoryKind::primary);

}  // namespace ifdsweep
