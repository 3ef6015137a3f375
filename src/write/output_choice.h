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
    std::uint64_t lineWidth = 0;           ///< the terminal's columns; 0: unknown, or no terminal
    std::vector<ChosenField> fields;       ///< in the order asked for; empty: all
    std::optional<std::uint64_t> shorten;  ///< elements of an array; 0: all
    std::optional<std::uint64_t> digits;   ///< significant, of a number in text; 0: all
    bool splitTexts = false;               ///< several texts of a tag are an array in JSON
    TableRows rows = TableRows::directory;
    std::optional<Layout> table;                ///< a table of typed columns
    std::optional<std::uint64_t> longestValue;  ///< of such a table
    bool tellStreams = false;  ///< all streams are read: rows say of which they are
    bool rawCells = false;
    bool allDirectories = false;  ///< text shows equal directories each
    WarningDetail warnings = WarningDetail::each;
    std::vector<std::string> ignored;  ///< full message ids

    /// Whether the columns of a table are known only after the last file.
    [[nodiscard]] bool hasOpenColumns() const {
        return format == Format::csv && !table && fields.empty();
    }
};

}  // namespace ifdsweep
