#pragma once

// Reading table: where the full reading and the contract's differ. --help, the manual page and
// docs/formats.md show it. Constant data; any thread.

#include <span>
#include <string>
#include <string_view>

namespace ifdsweep {

/// One difference. Each text has one or more lines.
struct ReadingDifference {
    std::string_view subject;
    std::string_view full;
    std::string_view contract;
};

[[nodiscard]] std::span<const ReadingDifference> readingDifferences() noexcept;

/// The table as --help prints it, with its heading.
[[nodiscard]] std::string readingTableText();

/// The same for narrow terminals: a line for each side of a difference.
[[nodiscard]] std::string readingListText();

}  // namespace ifdsweep
