#pragma once

// What this process asks of the system when it reads files: every pread of the program that this is
// linked into is counted. One thread.

#include <cstdint>

namespace fixture {

struct CountedReads {
    std::uint64_t calls = 0;
    std::uint64_t bytes = 0;  ///< that were delivered
};

/// What was read since the process began, or was forked from.
[[nodiscard]] CountedReads countedReads();

}  // namespace fixture
