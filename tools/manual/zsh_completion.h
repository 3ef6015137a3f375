#pragma once

// The completions for zsh, as a file that zsh reads. A pure function; any thread.

#include <string>

namespace app::manual {

[[nodiscard]] std::string zshCompletion();

}  // namespace app::manual
