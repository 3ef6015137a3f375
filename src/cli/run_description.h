#pragma once

// Run description: everything that shapes the output of a run beside the files that are read, as
// phrases in a fixed order, so that a run which goes on with another is known to be the same run.
// Plain function; any thread.

#include <string>
#include <vector>

#include "run/run_options.h"

namespace ifdsweep {

/// The phrases: the program and its version first, each without a line end. What may end a file
/// but changes nothing in a row (time, memory, workers) is no part of it, and neither are the
/// paths: a run may go on with more of them.
[[nodiscard]] std::vector<std::string> describeRun(const RunOptions& options);

}  // namespace ifdsweep
