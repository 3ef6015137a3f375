#pragma once

// Run summary: what is told on the error stream after a run over many files. Plain function over
// the process's stream; one thread.

#include "run/journal.h"
#include "run/run_options.h"
#include "run/run_output.h"
#include "run/run_tally.h"

namespace ifdsweep {

/// Tells what became of the files, how often each kind of warning was given and, after a signal,
/// what is kept; nothing of a run over one file, or without a summary, that came to its end.
/// @param journal null for none
/// @param signal  that ended the run; 0 for none
void printSummary(const RunOptions& options, const RunTally& tally, const RunOutput& output,
                  const Journal* journal, int signal);

}  // namespace ifdsweep
