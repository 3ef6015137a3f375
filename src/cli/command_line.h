#pragma once

// Command line: what was typed, as the options of a run. Pure functions and values; any thread.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "cli/command_help.h"
#include "run/run_options.h"
#include "write/output_choice.h"

namespace ifdsweep {

/// The words of the command line for them.
[[nodiscard]] std::string_view wordOf(Format format);
[[nodiscard]] std::string_view wordOf(TableRows rows);
[[nodiscard]] std::string_view wordOf(Layout layout);
[[nodiscard]] std::string_view wordOf(WarningDetail detail);
[[nodiscard]] std::string_view wordOf(StreamChoice streams);
[[nodiscard]] std::string_view wordOf(ReadingMode reading);

/// What is to be done with a command line.
struct CommandLine {
    enum class Action : std::uint8_t {
        read,   ///< read files
        print,  ///< print `text` and end with success
        usage,  ///< print `text` as an error and end with exit status 2
    };

    Action action = Action::read;
    RunOptions options;
    std::string text;
};

/// Reads a command line. Never throws for what the user wrote.
/// @param helpColumns that the help may take
[[nodiscard]] CommandLine parseCommandLine(int argumentCount, const char* const* arguments,
                                           std::size_t helpColumns = kHelpColumns);

}  // namespace ifdsweep
