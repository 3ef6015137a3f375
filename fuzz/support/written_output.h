#pragma once

// The output of the writers and what holds for it, whatever was written. The JSON is read by a
// parser that is not ours. Functions end the process when a property does not hold. Any thread.

#include <string>
#include <string_view>

#include "cli/command_line.h"
#include "ifdsweep/read.h"
#include "write/result_writer.h"

namespace fuzz {

/// An outcome in one format.
[[nodiscard]] std::string written(ifdsweep::Format format, const ifdsweep::Outcome& outcome,
                                  ifdsweep::WriteOptions options,
                                  ifdsweep::Colour colour = ifdsweep::Colour::off);

/// The same as a terminal gets it, where most is escaped.
[[nodiscard]] std::string written(ifdsweep::Format format, const ifdsweep::Outcome& outcome,
                                  ifdsweep::Colour colour = ifdsweep::Colour::off);

/// A line of JSON for each stream that reads back as the same outcome, value by value and unit by
/// unit.
void requireTypedReadsBack(std::string_view lines, const ifdsweep::Outcome& outcome);

/// A JSON array of one object with the members that the format promises.
void requireNaturalJson(std::string_view text, const ifdsweep::Outcome& outcome);

/// A JSON object on each line.
void requireJsonLines(std::string_view text);

/// Valid UTF-8 in which nothing but line ends controls a terminal, reorders a line or is not seen.
void requireTerminalSafe(std::string_view text);

/// The same text without the colours that the text writer sets.
[[nodiscard]] std::string withoutColours(std::string_view text);

}  // namespace fuzz
