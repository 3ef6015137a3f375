#pragma once

// The completions for bash, as a file that bash reads. A pure function; any thread.

#include <string>

namespace ifdsweep::manual {

[[nodiscard]] std::string bashCompletion();

}  // namespace ifdsweep::manual
