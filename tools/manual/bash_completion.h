#pragma once

// The completions for bash, as a file that bash reads. A pure function; any thread.

#include <string>

namespace app::manual {

[[nodiscard]] std::string bashCompletion();

}  // namespace app::manual
