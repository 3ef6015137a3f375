#pragma once

// The completions for fish, as a file that fish reads. A pure function; any thread.

#include <string>

namespace ifdsweep::manual {

[[nodiscard]] std::string fishCompletion();

}  // namespace ifdsweep::manual
