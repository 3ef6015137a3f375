#pragma once

// File roles: a file of a run is read or written in one way, never both, so that no run destroys
// what it was to read. Plain function; any thread.

#include "app/arguments.h"

namespace app {

/// Looks at the files that a command line names, before any is opened. Throws RunFailure for one
/// that is to be written and read, or written in two ways.
void checkFileRoles(const Arguments& arguments);

}  // namespace app
