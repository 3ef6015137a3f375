#include "cli/command_line.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "cli/argument_check.h"
#include "cli/command_help.h"
#include "cli/option_binder.h"
#include "cli/option_table.h"
#include "cli/quantities.h"
#include "cli/table_choice.h"
#include "ifdsweep/unlimited.h"
#include "read/messages.h"
#include "read/tag_choice.h"
#include "text/number_text.h"
#include "walk/glob.h"

namespace ifdsweep {
namespace {

template <class Target>
auto storeNumber(Target& target) {
    return [&target](const std::string& text) {
        const auto number = parseNumber(text);
        if (number) {
            target = *number;
        }
        return number.has_value();
    };
}

template <class Value>
std::string_view wordAt(std::string_view option, Value value) {
    return optionRow(option).words[static_cast<std::size_t>(value)].word;
}

void addInputOptions(OptionBinder& bind, InputChoice& input) {
    bind.flag("--recursive", input.recursive, true);
    bind.flag("--no-recursive", input.recursive, false);
    bind.glob("--include", input.included, LetterCase::distinct, GlobUse::files);
    bind.glob("--iglob", input.included, LetterCase::any, GlobUse::files);
    bind.glob("--exclude", input.excluded, LetterCase::distinct, GlobUse::filesAndFolders);
    bind.glob("--iexclude", input.excluded, LetterCase::any, GlobUse::filesAndFolders);
    bind.flag("--all", input.everyFile, true);
    bind.flag("--follow", input.followLinks, true);
    bind.text("--files-from", input.listFile);
    bind.flag("--null", input.nulSeparated, true);
}

void addReadOptions(OptionBinder& bind, ReadOptions& read) {
    bind.value("--offset", "a number", storeNumber(read.offset));
    bind.value("--first", "a number", storeNumber(read.first));
    bind.value("--max", "a number", storeNumber(read.max));
    bind.word("--streams", read.streams);
    bind.word("--reading", read.reading);
    bind.limit("--max-value", read.longestValue);
    bind.limit("--read-budget", read.readBudget);
    bind.limit("--value-budget", read.valueBudget);
}

/// @param rows      of a table, as they are asked for
/// @param complaint what is wrong with options that are each right
void addOutputOptions(OptionBinder& bind, OutputChoice& output, std::optional<TableRows>& rows,
                      RunChoice& run, std::string& complaint) {
    bind.word("--format", output.format);
    bind.flag("--json", output.format, Format::json);
    bind.flag("--csv", output.format, Format::csv);
    bind.text("--output", run.outputFile);
    bind.value("--tags", "names", [&output](const std::string& text) {
        TagChoice choice = chooseTags(text);
        if (!choice.complaint.empty()) {
            throw CLI::ValidationError("--tags: " + choice.complaint);
        }
        for (ChosenField& field : choice.fields) {
            addField(output.fields, std::move(field));
        }
        return true;
    });
    const auto askForRows = [&rows, &complaint](TableRows asked) {
        if (rows && *rows != asked) {
            complaint = "--rows " + std::string(wordOf(*rows)) + " and " +
                        std::string(wordOf(asked)) + " exclude each other";
        }
        rows = asked;
    };
    bind.wordFor<TableRows>("--rows", askForRows);
    bind.flag("--nested", [askForRows] { askForRows(TableRows::nested); });
    bind.wordFor<Layout>("--layout", [&output](Layout layout) { output.table = layout; });
    bind.flag("--raw-cells", output.rawCells, true);
    bind.value("--shorten", "a number from 1 on or all", [&output](const std::string& text) {
        output.shorten = text == "all" ? 0 : parseCount(text);
        return output.shorten && (*output.shorten > 0 || text == "all");
    });
    bind.flag("--all-directories", output.allDirectories, true);
    bind.value("--digits", "a number from 1 to 17 or all", [&output](const std::string& text) {
        output.digits = text == "all" ? 0 : parseCount(text);
        return output.digits && *output.digits <= kMostDigits &&
               (*output.digits > 0 || text == "all");
    });
    bind.flag("--split-text", output.splitTexts, true);
    const auto lay = [&output, &complaint](JsonLayout layout) {
        if (output.layout != JsonLayout::filePerLine && output.layout != layout) {
            complaint = "--compact and --pretty exclude each other";
        }
        output.layout = layout;
    };
    bind.flag("--compact", [lay] { lay(JsonLayout::compact); });
    bind.flag("--pretty", [lay] { lay(JsonLayout::pretty); });
    bind.word("--color", run.colour);
    bind.flag("--no-pager", run.pager, false);
}

void addMessageOptions(OptionBinder& bind, RunOptions& options) {
    bind.word("--warnings", options.output.warnings);
    bind.value("--ignore", "a message id", [&options](const std::string& text) {
        const MessageDescription description = describeMessage(text);
        if (!description.complaint.empty()) {
            throw CLI::ValidationError("--ignore: " + description.complaint);
        }
        options.output.ignored.emplace_back(description.id);
        return true;
    });
    bind.flag("--check", options.read.check, true);
    bind.flag("--strict", options.run.strict, true);
    bind.text("--failures", options.run.failureFile);
}

void addRunOptions(OptionBinder& bind, WorkerChoice& workers, RunChoice& run) {
    bind.value("--jobs", "a number from 1 to 1024", [&workers](const std::string& text) {
        workers.jobs = parseCount(text);
        return workers.jobs && *workers.jobs >= 1 && *workers.jobs <= 1024;
    });
    bind.value("--timeout", kSecondsForm, [&workers](const std::string& text) {
        workers.timeout = parseSeconds(text);
        return workers.timeout && *workers.timeout > 0;
    });
    bind.value("--memory", std::string(kByteCountForm) + " above 0",
               [&workers](const std::string& text) {
                   workers.memory = parseByteCount(text);
                   return workers.memory && *workers.memory > 0;
               });
    bind.text("--resume", run.journal);
    bind.flag("--no-progress", run.progress, false);
    bind.flag("--quiet", [&run] { run.progress = run.summary = false; });
}

void addHelpOptions(OptionBinder& bind, std::optional<std::string>& text) {
    bind.flag("--list-tags", [&text] { text = tagListText(); });
    bind.value("--explain", "a message id", [&text](const std::string& id) {
        const MessageDescription description = describeMessage(id);
        if (!description.complaint.empty()) {
            throw CLI::ValidationError("--explain: " + description.complaint);
        }
        text = explanationText(description);
        return true;
    });
    bind.flag("--version", [&text] { text = std::string(kVersionText) + '\n'; });
}

/// What is wrong with options that are each right; empty when nothing is.
std::string_view combinationComplaint(const RunOptions& options) {
    const OutputChoice& output = options.output;
    const std::vector<std::string>& paths = options.input.paths;
    const bool hasImage = std::find(paths.begin(), paths.end(), "-") != paths.end();
    const bool isText = output.format == Format::text;
    const bool isJson = output.format == Format::json;
    const bool isCsv = output.format == Format::csv;
    const bool isFull = options.read.reading == ReadingMode::full;
    const bool hasJournal = !options.run.journal.empty();
    const std::pair<bool, std::string_view> rows[] = {
        {paths.empty() && options.input.listFile.empty(), "PATH or --files-from is required"},
        {hasImage && options.input.listFile == "-",
         "the standard input is either the image - or the list of --files-from, not both"},
        {hasImage && hasJournal,
         "--resume goes without the image -: whether it has changed cannot be told"},
        {output.layout != JsonLayout::filePerLine && !isJson,
         "--compact and --pretty go with --format json"},
        {output.table && !isCsv, "--layout goes with --format csv"},
        {output.rawCells && !isCsv, "--raw-cells goes with --format csv"},
        {output.shorten && !isText, "--shorten goes with --format text"},
        {output.allDirectories && !isText, "--all-directories goes with --format text"},
        {output.digits && !isText, "--digits goes with --format text"},
        {output.splitTexts && !isJson && output.format != Format::ndjson,
         "--split-text goes with --format json and ndjson"},
        {options.read.longestValue && !isFull,
         "--max-value goes with --reading full: the contract's reading loads every value"},
        {options.read.streams == StreamChoice::all && !isFull,
         "--streams all goes with --reading full: the contract's reading reads one stream"},
        {options.read.streams == StreamChoice::all && options.read.offset,
         "--streams all and --offset exclude each other: there is one stream at a position"},
        {options.read.check && !isFull,
         "--check goes with --reading full: the contract's reading checks no image data"},
        {hasJournal && output.hasOpenColumns(),
         "--resume with --format csv needs --tags: the columns must be known from the start"},
    };
    const auto* const wrong =
        std::find_if(std::begin(rows), std::end(rows), [](const auto& row) { return row.first; });
    return wrong == std::end(rows) ? std::string_view() : wrong->second;
}

/// The longest value that is loaded where none is given: the text format shows the beginning of
/// a long one, so that most of it would be loaded for nothing, unless it is checked.
std::optional<std::uint64_t> longestValueFor(const RunOptions& options) {
    constexpr std::uint64_t kOfText = std::uint64_t{64} << 10;
    constexpr std::uint64_t kBytesPerElement = 16;  // as many characters of a text are shown
    const OutputChoice& output = options.output;
    if (options.read.check || output.format != Format::text || output.shorten == std::uint64_t{0}) {
        return std::nullopt;
    }
    const std::uint64_t shown = std::min(output.shorten.value_or(0), kUnlimited / kBytesPerElement);
    return std::max(kOfText, shown * kBytesPerElement);
}

/// The arguments without the program's name. The other spelling of an option is taken for it.
std::vector<std::string> argumentsOf(int argumentCount, const char* const* arguments) {
    constexpr std::string_view kColour = "--colour";
    constexpr std::string_view kColor = "--color";
    std::vector<std::string> words(arguments + std::min(argumentCount, 1),
                                   arguments + argumentCount);
    for (auto word = words.begin(); word != words.end() && *word != "--"; ++word) {
        if (*word == kColour || word->starts_with(std::string(kColour) + '=')) {
            word->replace(0, kColour.size(), kColor);
        }
    }
    return words;
}

}  // namespace

std::string_view wordOf(Format format) {
    return wordAt("--format", format);
}

std::string_view wordOf(TableRows rows) {
    return wordAt("--rows", rows);
}

std::string_view wordOf(Layout layout) {
    return wordAt("--layout", layout);
}

std::string_view wordOf(WarningDetail detail) {
    return wordAt("--warnings", detail);
}

std::string_view wordOf(StreamChoice streams) {
    return wordAt("--streams", streams);
}

std::string_view wordOf(ReadingMode reading) {
    return wordAt("--reading", reading);
}

CommandLine parseCommandLine(int argumentCount, const char* const* arguments,
                             std::size_t helpColumns) {
    CommandLine result;
    const auto print = [&result](std::string text) {
        result.action = CommandLine::Action::print;
        result.text = std::move(text);
    };
    const auto complain = [&result](std::string text) {
        result.action = CommandLine::Action::usage;
        result.text = std::move(text);
    };
    std::optional<std::string> information;
    std::string complaint;
    std::optional<TableRows> askedRows;
    CLI::App command(std::string(kDescription), "ifdsweep");
    command.set_help_flag();
    const std::vector<std::string> words = argumentsOf(argumentCount, arguments);
    OptionBinder bind(command, words);
    if (!bind.mayShowHelp()) {
        if (std::string wrong = argumentComplaint(words); !wrong.empty()) {
            complain(std::move(wrong));
            return result;
        }
    }
    addInputOptions(bind, result.options.input);
    addReadOptions(bind, result.options.read);
    addOutputOptions(bind, result.options.output, askedRows, result.options.run, complaint);
    addMessageOptions(bind, result.options);
    addRunOptions(bind, result.options.workers, result.options.run);
    addHelpOptions(bind, information);
    const OptionRow& help = optionRow(kHelpOption);
    command.set_help_flag(parserNames(help), helpText(help))->group(std::string(help.group));
    command.add_option("PATH", result.options.input.paths, "files and folders to read")
        ->type_name("")
        ->option_text("...");
    try {
        command.parse(shielded(words));
        auto& paths = result.options.input.paths;
        std::transform(paths.begin(), paths.end(), paths.begin(), unshielded);
        if (complaint.empty()) {
            complaint = combinationComplaint(result.options);
        }
        if (complaint.empty()) {
            complaint = settleTable(result.options.output, askedRows);
        }
        if (result.options.output.table) {
            result.options.output.longestValue = result.options.read.longestValue;
        }
        result.options.output.tellStreams = result.options.read.streams == StreamChoice::all;
        if (!result.options.read.longestValue && result.options.read.reading == ReadingMode::full) {
            result.options.read.longestValue = longestValueFor(result.options);
        }
        if (information) {
            print(std::move(*information));
        } else if (!complaint.empty()) {
            complain(std::move(complaint));
        }
    } catch (const CLI::CallForHelp&) {
        print(commandHelp(command, helpColumns));
    } catch (const CLI::Error& error) {
        complain(error.what());
    }
    return result;
}

}  // namespace ifdsweep
