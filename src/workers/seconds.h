#pragma once

// Seconds as a choice gives them and as messages show them. Pure functions; any thread.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

namespace ifdsweep {

/// At most some thirty years, so that a sum with a point of time does not overflow.
[[nodiscard]] inline std::int64_t nanosecondsOf(double seconds) {
    constexpr double kMostSeconds = 1e9;
    return std::llround(std::min(seconds, kMostSeconds) * 1e9);
}

/// "600", "0.125".
[[nodiscard]] inline std::string secondsText(std::int64_t nanoseconds) {
    constexpr std::int64_t kMillisecond = 1'000'000;
    const std::int64_t milliseconds = nanoseconds / kMillisecond;
    std::string text = std::to_string(milliseconds / 1000);
    if (milliseconds % 1000 != 0) {
        text += '.' + std::to_string(1000 + milliseconds % 1000).substr(1);
    }
    return text;
}

}  // namespace ifdsweep
