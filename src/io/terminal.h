#pragma once

// Terminal: what is known of the one that a descriptor leads to. Any thread.

#include <cstddef>
#include <optional>

namespace ifdsweep {

/// The columns of a terminal; absent where the descriptor leads to none, or to one that does not
/// tell.
[[nodiscard]] std::optional<std::size_t> terminalColumns(int descriptor) noexcept;

}  // namespace ifdsweep
