#pragma once

// Writer settings: what a choice of output means to the formats. Plain values and a
// pure function; any thread.

#include <string>
#include <vector>

#include "write/output_choice.h"
#include "write/text_value.h"

namespace ifdsweep {

struct WriterSettings {
    JsonLayout layout = JsonLayout::filePerLine;
    TextLimits limits;
    bool nestedRows = false;
    std::vector<std::string> columns;  ///< of CSV; empty: all fields that occur
    bool toTerminal = false;           ///< JSON and CSV show hidden characters
};

/// The settings that a choice of output asks for.
[[nodiscard]] WriterSettings writerSettings(const OutputChoice& choice);

}  // namespace ifdsweep
