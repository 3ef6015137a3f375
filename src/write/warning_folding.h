#pragma once

// Warning folding: which of many warnings of a file are shown whole. The first of each kind are,
// those that follow are counted.
//
// Ownership: borrows the ids of the warnings that it is asked about. Threads: one at a time.

#include <cstdint>
#include <string_view>
#include <vector>

namespace ifdsweep {

class WarningFolding {
public:
    /// How many of one kind are shown.
    static constexpr std::uint64_t kShown = 5;

    struct Kind {
        std::string_view id;
        std::uint64_t count = 0;
    };

    /// Takes note of one more warning; whether it is shown.
    [[nodiscard]] bool shows(std::string_view id);

    /// The kinds that were met, in the order of their first warnings.
    [[nodiscard]] const std::vector<Kind>& kinds() const { return met; }

private:
    std::vector<Kind> met;  ///< few: as many as there are messages
};

}  // namespace ifdsweep
