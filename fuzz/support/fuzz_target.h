#pragma once

// What every fuzz target shares: the function that libFuzzer and the replay program call, and the
// check of a property. A property that does not hold ends the process, in every build type.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// The name is libFuzzer's.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process when a property does not hold.
inline void require(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "property violated: %s\n", property);
        std::abort();
    }
}

}  // namespace fuzz
