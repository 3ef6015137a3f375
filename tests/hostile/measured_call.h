#pragma once

// A whole call in a process of its own, with what it cost: a call that does not end or takes all
// memory ends that process and not the test. Any thread, as long as the process has only one.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "hostile/counted_reads.h"
#include "io/sanitized.h"
#include "support/entry_call.h"

namespace fixture {

/// The memory that a hostile file may cost at default settings. How long a call takes is the
/// machine's business: what is held to is its memory and its reads, and a call that hangs is ended.
inline constexpr std::size_t kMostMegabytes = ifdsweep::kIsSanitized ? 1500 : 250;

struct MeasuredCall {
    /// "struct 3x1" or "error badIFDread", then every message name with its number, in the order of
    /// their first appearance: "struct 3x1; unrecognizedIfd x2". How the process ended, if it did
    /// not end well.
    std::string outcome{};
    std::size_t megabytes = 0;  ///< largest resident memory, the test's own included
    CountedReads reads{};       ///< of the file
};

/// Calls the entry point on a file of these bytes.
[[nodiscard]] MeasuredCall measuredCall(const Bytes& bytes, const Numbers& numbers = {});

/// The same by the second way in.
[[nodiscard]] MeasuredCall measuredCall(const Bytes& bytes, const ifdsweep::Reading& reading);

}  // namespace fixture
