#pragma once

// Output choice: what is shown of each file, and how. Plain values; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ifdsweep/write.h"
#include "read/tag_choice.h"

namespace ifdsweep {

/// What is shown of a file's warnings.
enum class WarningDetail : std::uint8_t { each, count, none };

struct OutputChoice {
    Format format = Format::text;
    JsonLayout layout = JsonLayout::filePerLine;
    bool toTerminal = false;               ///< a terminal shows the output
    std::vector<ChosenField> fields;       ///< in the order asked for; empty: all
    std::optional<std::uint64_t> shorten;  ///< elements of an array; 0: all
    bool nestedRows = false;
    bool rawCells = false;
    bool allDirectories = false;  ///< text shows equal directories each
    WarningDetail warnings = WarningDetail::each;
    std::vector<std::string> ignored;  ///< full message ids

    /// Whether the columns of a table are known only after the last file.
    [[nodiscard]] bool hasOpenColumns() const { return format == Format::csv && fields.empty(); }
};

}  // namespace ifdsweep
