#pragma once

// Arguments: the command line as values. Plain values, copied freely; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace app {

enum class Format : std::uint8_t { text, json, ndjson, typed, csv };

/// How JSON is laid out.
enum class JsonLayout : std::uint8_t {
    filePerLine,  ///< an object per line
    compact,      ///< no line ends
    pretty,       ///< a member per line, indented
};

/// What is shown of a file's warnings.
enum class WarningDetail : std::uint8_t { each, count, none };

/// The words of the command line for them.
[[nodiscard]] std::string_view wordOf(Format format);
[[nodiscard]] std::string_view wordOf(WarningDetail detail);

/// A field that was asked for: by its name, or an unknown tag by its number.
struct ChosenField {
    std::string name;  ///< of the field; the decimal number of an unknown tag
    std::optional<std::uint16_t> unknownId;
};

/// Which files are read.
struct InputChoice {
    std::vector<std::string> paths;
    std::string listFile;  ///< a list of more paths; "-" is the standard input; empty: none
    bool nulSeparated = false;
    bool recursive = true;
    bool followLinks = false;
    bool everyFile = false;  ///< not only those whose first bytes are those of an image
    std::vector<std::string> included;
    std::vector<std::string> excluded;
};

/// What is read of each file, and what it may take.
struct ReadChoice {
    std::optional<double> offset;  ///< byte position of the TIFF stream; absent: found by us
    double first = 0;              ///< directories of the primary chain to skip
    double max = 0;                ///< most directories of the primary chain to read; 0: all
    /// Bytes of each file that may be read: absent for the default of the host, which depends on
    /// the file's size; `host::kUnlimitedReads` for no limit.
    std::optional<std::uint64_t> readBudget;
    /// What the values and warnings of each file may come to: the same, with
    /// `host::ValueBudget::kUnlimited`.
    std::optional<std::uint64_t> valueBudget;
};

/// What is shown, and how.
struct OutputChoice {
    Format format = Format::text;
    JsonLayout layout = JsonLayout::filePerLine;
    std::string file;                      ///< empty: the standard output
    bool toTerminal = false;               ///< the standard output, and it is a terminal
    std::vector<ChosenField> fields;       ///< in the order asked for; empty: all
    std::optional<std::uint64_t> shorten;  ///< elements of an array; 0: all
    bool nestedRows = false;
    WarningDetail warnings = WarningDetail::each;
    std::vector<std::string> ignored;  ///< full message ids
};

/// How a run with many files goes.
struct RunChoice {
    /// Worker processes; absent: as many as there are cores.
    std::optional<std::uint64_t> jobs;
    std::optional<double> timeout;        ///< seconds for each file
    std::optional<std::uint64_t> memory;  ///< bytes of address space for each file
    bool strict = false;
    bool progress = true;
    std::string failureFile;
    std::string journal;
};

/// Everything that the command line can say.
struct Arguments {
    InputChoice input;
    ReadChoice read;
    OutputChoice output;
    RunChoice run;
};

/// What is to be done with a command line.
struct CommandLine {
    enum class Action : std::uint8_t {
        sweep,  ///< read files
        print,  ///< print `text` and end with success
        usage,  ///< print `text` as an error and end with exit status 2
    };

    Action action = Action::sweep;
    Arguments arguments;
    std::string text;
};

/// Reads a command line. Never throws for what the user wrote.
[[nodiscard]] CommandLine parseCommandLine(int argumentCount, const char* const* arguments);

}  // namespace app
