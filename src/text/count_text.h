#pragma once

// Count text: a number of things in words. Pure function; any thread.

#include <cstdint>
#include <string>

namespace ifdsweep {

/// "1 file", "2 files".
[[nodiscard]] inline std::string countText(std::uint64_t count, const std::string& one,
                                           const std::string& many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

}  // namespace ifdsweep
