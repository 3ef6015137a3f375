#pragma once

// File size fields: what the records of an embedded stream say of the file's size. The walk knows
// the bytes of the stream alone. A plain function; the thread of the values' host.

#include <cstdint>

#include "ifdsweep/value.h"

namespace ifdsweep {

/// Puts the size of a file into records, nested ones too. Other values stay as they are.
void setFileSizes(qxArray& records, std::uint64_t size);

}  // namespace ifdsweep
