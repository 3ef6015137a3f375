#pragma once

// Count text: a number of things in words. Pure functions; any thread.

#include <cstddef>
#include <cstdint>
#include <string>

namespace ifdsweep {

/// "1 file", "2 files".
[[nodiscard]] inline std::string countText(std::uint64_t count, const std::string& one,
                                           const std::string& many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

/// "999", "19,999": digits in groups of three.
[[nodiscard]] inline std::string groupedCount(std::uint64_t count) {
    std::string text = std::to_string(count);
    for (std::size_t place = text.size(); place > 3;) {
        place -= 3;
        text.insert(place, 1, ',');
    }
    return text;
}

}  // namespace ifdsweep
