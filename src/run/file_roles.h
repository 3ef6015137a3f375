#pragma once

// File roles: a file of a run is read or written in one way, never both, so that no run destroys
// what it was to read; and no image is written over, be it one that the run does not read. Plain
// functions; any thread.

#include <string>

#include "run/run_options.h"

namespace ifdsweep {

/// The name of the unfinished output of a run with a journal.
[[nodiscard]] std::string partNameOf(const std::string& output);

/// Looks at the files that a run names and at the paths of a list that is a file, before
/// any is opened for writing. Throws Refusal for one that is to be written and read, or written in
/// two ways, and for an image that is to be written.
void checkFileRoles(const RunOptions& options);

/// Throws Refusal for a file that is there and begins as an image, or whose beginning cannot be
/// read, which may be one. Links are followed.
void refuseToReplaceImage(const std::string& path);

}  // namespace ifdsweep
