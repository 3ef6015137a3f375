#pragma once

// Numbered name: what streams of one kind are called in a file that may hold several. Pure
// function; any thread.

#include <cstdint>
#include <string>
#include <string_view>

namespace ifdsweep {

/// "Exif" for the first of a kind, "Exif 2" for the second.
/// @param number from 1
[[nodiscard]] inline std::string numberedName(std::string_view name, std::uint64_t number) {
    std::string whole(name);
    if (number > 1) {
        whole += ' ' + std::to_string(number);
    }
    return whole;
}

}  // namespace ifdsweep
