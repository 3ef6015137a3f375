#pragma once

// A whole call in a process of its own, with what it cost: a call that does not end or takes all
// memory ends that process and not the test. Any thread, as long as the process has only one.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "support/entry_call.h"

namespace fixture {

/// Whether this build has a sanitizer in it, which costs time and memory of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif
#else
inline constexpr bool kSanitized = false;
#endif

/// The memory that a hostile file may cost at default settings. How long each takes is told in the
/// test's report; it is the machine's business too, and only a call that hangs is ended.
inline constexpr std::size_t kMostMegabytes = kSanitized ? 1500 : 250;

struct MeasuredCall {
    /// "struct 3x1" or "error badIFDread", then every message name with its number, in the order of
    /// their first appearance: "struct 3x1; unrecognizedIfd x2". How the process ended, if it did
    /// not end well.
    std::string outcome{};
    std::size_t megabytes = 0;  ///< largest resident memory, the test's own included
};

/// Calls the entry point on bytes in memory.
[[nodiscard]] MeasuredCall measuredCall(const Bytes& bytes, const Numbers& numbers = {});

/// The same for a file on disk.
[[nodiscard]] MeasuredCall measuredCallOnFile(const std::u16string& fileName);

}  // namespace fixture
