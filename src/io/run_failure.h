#pragma once

// Run failure: what makes a whole run impossible, told in one line. Any thread.

#include <stdexcept>

namespace ifdsweep {

/// A list that cannot be read, an output that cannot be made.
class RunFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A run that is not begun, because it would destroy or mix what is there; nothing was written.
class Refusal : public RunFailure {
public:
    using RunFailure::RunFailure;
};

}  // namespace ifdsweep
