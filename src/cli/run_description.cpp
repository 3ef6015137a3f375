#include "cli/run_description.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>

#include <unistd.h>

#include "cli/command_line.h"
#include "cli/option_table.h"
#include "ifdsweep/unlimited.h"
#include "io/descriptor.h"

namespace ifdsweep {
namespace {

std::string flagPhrase(const char* option, bool isGiven) {
    return std::string(isGiven ? "" : "no ") + option;
}

std::string valuePhrase(const char* option, const std::optional<std::string>& value) {
    return value ? std::string(option) + ' ' + *value : flagPhrase(option, false);
}

/// The shortest digits that read back the same.
std::string numberText(double number) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

std::optional<std::string> offsetText(const ReadOptions& read) {
    return read.offset ? std::optional(numberText(*read.offset)) : std::nullopt;
}

std::optional<std::string> tableText(const OutputChoice& output) {
    return output.table ? std::optional(std::string(wordOf(*output.table))) : std::nullopt;
}

/// A limit in bytes; absent for the one that goes without saying.
std::optional<std::string> limitText(const std::optional<std::uint64_t>& limit) {
    if (!limit) {
        return std::nullopt;
    }
    return *limit == kUnlimited ? "unlimited" : std::to_string(*limit);
}

std::string longestValueText(const ReadOptions& read) {
    const std::uint64_t longest = read.longestValue.value_or(kUnlimited);
    return longest == kUnlimited ? "all" : std::to_string(longest);
}

/// A number that is "all" when it is 0.
std::optional<std::string> mostText(const std::optional<std::uint64_t>& most) {
    if (!most) {
        return std::nullopt;
    }
    return *most == 0 ? "all" : std::to_string(*most);
}

/// Whether a file has colours too; automatic ones are only on a terminal.
bool hasColoursAlways(const RunOptions& options) {
    return options.output.format == Format::text && options.run.colour == ColourChoice::always;
}

std::optional<std::string> joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text.append(text.empty() ? "" : ",").append(word);
    }
    return words.empty() ? std::nullopt : std::optional(text);
}

std::optional<std::string> tagText(const OutputChoice& output) {
    std::vector<std::string> names;
    std::transform(output.fields.begin(), output.fields.end(), std::back_inserter(names),
                   [](const ChosenField& field) { return field.name; });
    return joined(names);
}

std::optional<std::string> ignoredText(const OutputChoice& output) {
    std::vector<std::string> ids = output.ignored;
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return joined(ids);
}

/// A path that names the same file in every folder of work.
std::optional<std::string> pathText(const std::string& path) {
    if (path.empty()) {
        return std::nullopt;
    }
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(path, error);
    return error ? path : whole.lexically_normal().string();
}

std::string layoutPhrase(JsonLayout layout) {
    switch (layout) {
        case JsonLayout::compact:
            return "--compact";
        case JsonLayout::pretty:
            return "--pretty";
        case JsonLayout::filePerLine:
            break;
    }
    return "neither --compact nor --pretty";
}

std::string outputPhrase(const RunChoice& run) {
    if (!run.outputFile.empty()) {
        return valuePhrase("--output", pathText(run.outputFile));
    }
    return identityOf(STDOUT_FILENO) ? "the standard output into a file"
                                     : "the standard output into no file";
}

/// Dates are shown in local time.
std::string timeZonePhrase() {
    const char* zone = std::getenv("TZ");
    return zone == nullptr ? "no TZ" : "TZ=" + std::string(zone);
}

}  // namespace

std::vector<std::string> describeRun(const RunOptions& options) {
    const ReadOptions& read = options.read;
    const OutputChoice& output = options.output;
    std::vector<std::string> phrases{std::string(kVersionText),
                                     "--format " + std::string(wordOf(output.format)),
                                     layoutPhrase(output.layout),
                                     valuePhrase("--tags", tagText(output)),
                                     "--rows " + std::string(wordOf(output.rows)),
                                     valuePhrase("--layout", tableText(output)),
                                     flagPhrase("--raw-cells", output.rawCells),
                                     flagPhrase("--color always", hasColoursAlways(options)),
                                     flagPhrase("--all-directories", output.allDirectories),
                                     valuePhrase("--shorten", mostText(output.shorten)),
                                     valuePhrase("--digits", mostText(output.digits)),
                                     flagPhrase("--split-text", output.splitTexts),
                                     "--warnings " + std::string(wordOf(output.warnings)),
                                     valuePhrase("--ignore", ignoredText(output)),
                                     flagPhrase("--check", read.check),
                                     flagPhrase("--all", options.input.everyFile),
                                     valuePhrase("--offset", offsetText(read)),
                                     "--streams " + std::string(wordOf(read.streams)),
                                     "--first " + numberText(read.first),
                                     "--max " + numberText(read.max),
                                     "--reading " + std::string(wordOf(read.reading)),
                                     "--max-value " + longestValueText(read),
                                     valuePhrase("--read-budget", limitText(read.readBudget)),
                                     valuePhrase("--value-budget", limitText(read.valueBudget)),
                                     timeZonePhrase(),
                                     valuePhrase("--failures", pathText(options.run.failureFile)),
                                     flagPhrase("--null", options.input.nulSeparated),
                                     outputPhrase(options.run)};
    for (std::string& phrase : phrases) {
        std::replace(phrase.begin(), phrase.end(), '\n', ' ');
    }
    return phrases;
}

}  // namespace ifdsweep
