#pragma once

// Unlimited: what a limit in bytes is set to for none. Constant; any thread. Stable: part of the
// API.

#include <cstdint>
#include <limits>

namespace ifdsweep {

/// A limit that is never reached.
inline constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

}  // namespace ifdsweep
