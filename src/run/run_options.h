#pragma once

// Run options: everything that a run over files can be asked for. Plain values; any thread.

#include <cstdint>
#include <string>

#include "walk/input_choice.h"
#include "workers/file_task.h"
#include "workers/worker_limits.h"

namespace ifdsweep {

/// Whether the text format has colours; automatic: where a terminal shows them.
enum class ColourChoice : std::uint8_t { automatic, always, never };

/// How a run goes, and what it leaves.
struct RunChoice {
    std::string outputFile;  ///< empty: the standard output
    std::string failureFile;
    std::string journal;
    bool strict = false;
    bool progress = true;
    bool summary = true;  ///< what became of the files is told at the end
    bool pager = true;    ///< on a terminal, a long text goes through one
    ColourChoice colour = ColourChoice::automatic;
};

/// What each file is asked for, and what the run is.
struct RunOptions : TaskOptions {
    InputChoice input;
    WorkerChoice workers;
    RunChoice run;
};

}  // namespace ifdsweep
