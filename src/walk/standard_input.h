#pragma once

// Standard input as a file that can be read anywhere. Plain function; one thread.

#include "io/descriptor.h"

namespace ifdsweep {

/// The standard input, when it is a file; a temporary file with all of it, when it is a pipe.
/// Throws RunFailure when it cannot be read or held.
[[nodiscard]] Descriptor openStandardInput();

}  // namespace ifdsweep
