#pragma once

// Chunk: what PNG and RIFF files are made of: a type of four characters, and data whose length
// stands before them. Plain values; any thread.

#include <array>
#include <cstdint>
#include <string_view>

namespace ifdsweep {

struct Chunk {
    std::array<char, 4> type{};
    std::uint64_t position = 0;  ///< where it begins
    std::uint64_t content = 0;   ///< position of the data
    std::uint64_t end = 0;       ///< of the data, as far as the file goes
    bool isWhole = false;

    [[nodiscard]] std::string_view typeText() const noexcept { return {type.data(), type.size()}; }
    [[nodiscard]] std::uint64_t size() const noexcept { return end - content; }
};

}  // namespace ifdsweep
