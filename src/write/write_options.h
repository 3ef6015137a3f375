#pragma once

// Write options: what a choice of output asks of the formats. Pure function; any thread.

#include "ifdsweep/write.h"
#include "write/output_choice.h"

namespace ifdsweep {

/// The options that a choice of output comes to.
[[nodiscard]] WriteOptions writeOptions(const OutputChoice& choice, Colour colour = Colour::off);

}  // namespace ifdsweep
