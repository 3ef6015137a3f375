#pragma once

// The completions for zsh, as a file that zsh reads. A pure function; any thread.

#include <string>

namespace ifdsweep::manual {

[[nodiscard]] std::string zshCompletion();

}  // namespace ifdsweep::manual
