#pragma once

// Write options: what a choice of output asks of the formats. Pure functions; any thread.

#include <vector>

#include "ifdsweep/write.h"
#include "write/output_choice.h"

namespace ifdsweep {

/// The options that a choice of output comes to.
[[nodiscard]] WriteOptions writeOptions(const OutputChoice& choice, Colour colour = Colour::off);

/// The fields that are needed of each file: those that are asked for, and behind them those that
/// the text format asks for the units and directions of theirs. Empty: all.
[[nodiscard]] std::vector<ChosenField> neededFields(const OutputChoice& choice);

}  // namespace ifdsweep
