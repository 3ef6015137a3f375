#include "cli/command_line.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>
#include <utility>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "cli/argument_check.h"
#include "cli/command_help.h"
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

constexpr std::string_view kHelpOption = "--help";

/// The names of an option as the parser takes them.
std::string namesOf(const OptionRow& row) {
    std::string names(row.shortName);
    return names.append(names.empty() ? "" : ",").append(row.name);
}

/// "each, count or none" of the words of an option.
std::string listOf(std::span<const OptionWord> words) {
    std::string list;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const bool isLast = index + 1 == words.size();
        list.append(index == 0 ? "" : isLast ? " or " : ", ").append(words[index].word);
    }
    return list;
}

/// Stores the value whose word is given; the words stand in the order of the enumeration.
template <class Value>
auto storeWord(Value& target, std::span<const OptionWord> words) {
    return [&target, words](const std::string& text) {
        const auto found = std::find_if(words.begin(), words.end(), [&text](const OptionWord& row) {
            return row.word == text;
        });
        if (found != words.end()) {
            target = static_cast<Value>(found - words.begin());
        }
        return found != words.end();
    };
}

/// Whether the parser would take an argument such as "[a,b]" for a list of names. Leading line
/// feeds are those of `shield`, so that a name which has some of its own is told apart.
bool looksLikeList(std::string_view argument) {
    const std::size_t start = argument.find_first_not_of('\n');
    return start != std::string_view::npos && argument[start] == '[' && argument.ends_with(']');
}

std::string unshielded(const std::string& argument) {
    return argument.starts_with('\n') && looksLikeList(argument) ? argument.substr(1) : argument;
}

/// What a pattern is to choose.
enum class GlobUse : std::uint8_t { files, filesAndFolders };

/// Adds options to the parser with the help of their rows. Most runs name one or two of them: an
/// option that the arguments do not begin to name is left out, unless the help shows them all.
class OptionBinder {
public:
    OptionBinder(CLI::App& parsedCommand, std::span<const std::string> arguments)
        : command(parsedCommand) {
        std::copy_if(arguments.begin(), arguments.end(), std::back_inserter(dashed),
                     [](std::string_view argument) { return argument.starts_with('-'); });
        const OptionRow& help = optionRow(kHelpOption);
        showsAll = mentions(help.shortName) || mentions(help.name);
    }

    /// Whether the help may be asked for.
    [[nodiscard]] bool mayShowHelp() const { return showsAll; }

    /// An option whose value is stored by `store`, which says whether it took the text.
    template <class Store>
    void value(const std::string& name, const std::string& expected, Store store) {
        if (!isNeeded(name)) {
            return;
        }
        const OptionRow& row = optionRow(name);
        CLI::Option* option = command.add_option_function<std::string>(
            namesOf(row),
            [&row, expected, store](const std::string& given) {
                const std::string text = unshielded(given);
                if (!store(text)) {
                    throw CLI::ValidationError(
                        std::string(row.name),
                        "expected " + expected + ", got " + text + nearestWords(text, row.words));
                }
            },
            helpText(row));
        option->type_name(std::string(row.placeholder))->trigger_on_parse();
        option->group(std::string(row.group));
    }

    /// An option whose values are the words of its row, in the order of the enumeration.
    template <class Value>
    void word(const std::string& name, Value& target) {
        if (isNeeded(name)) {
            const std::span<const OptionWord> words = optionRow(name).words;
            value(name, listOf(words), storeWord(target, words));
        }
    }

    /// An option whose value is a number of bytes, or the word of its row for no limit.
    void limit(const std::string& name, std::optional<std::uint64_t>& target) {
        if (isNeeded(name)) {
            const std::string_view none = optionRow(name).words.front().word;
            value(name, std::string(kByteCountForm) + " or " + std::string(none),
                  [&target, none](const std::string& text) {
                      target = text == none ? kUnlimited : parseByteCount(text);
                      return target.has_value();
                  });
        }
    }

    /// An option with a text that is stored as it is.
    void text(const std::string& name, std::string& target) {
        value(name, "a text", [&target](const std::string& given) {
            target = given;
            return !given.empty();
        });
    }

    void glob(const std::string& name, std::vector<Glob>& targets, LetterCase letters,
              GlobUse use) {
        value(name, "a pattern", [name, &targets, letters, use](const std::string& text) {
            try {
                targets.emplace_back(text, letters);
            } catch (const BadGlob& wrong) {
                throw CLI::ValidationError(name + ' ' + text + ": " + wrong.what());
            }
            if (targets.back().isForFolders() && use == GlobUse::files) {
                throw CLI::ValidationError(name + ' ' + text +
                                           ": a slash at the end is for folders, and files are "
                                           "included; what lies in folders NAME is **/NAME/**");
            }
            return true;
        });
    }

    /// An option without a value.
    template <class Act>
    void flag(const std::string& name, Act act) {
        if (!isNeeded(name)) {
            return;
        }
        const OptionRow& row = optionRow(name);
        CLI::Option* option = command.add_flag_callback(namesOf(row), act, helpText(row));
        option->trigger_on_parse()->group(std::string(row.group));
    }

    template <class Target>
    void flag(const std::string& name, Target& target, Target set) {
        flag(name, [&target, set] { target = set; });
    }

private:
    [[nodiscard]] bool mentions(std::string_view name) const {
        return std::any_of(dashed.begin(), dashed.end(), [name](std::string_view argument) {
            return argument.starts_with(name);
        });
    }
    /// Short options may stand together behind one dash.
    [[nodiscard]] bool mentionsShort(std::string_view shortName) const {
        return !shortName.empty() &&
               std::any_of(dashed.begin(), dashed.end(), [shortName](std::string_view argument) {
                   return !argument.starts_with("--") &&
                          argument.find(shortName[1]) != std::string_view::npos;
               });
    }
    [[nodiscard]] bool isNeeded(std::string_view name) const {
        return showsAll || mentions(name) || mentionsShort(optionRow(name).shortName);
    }

    CLI::App& command;
    std::vector<std::string_view> dashed;  ///< the arguments that may be options
    bool showsAll = false;
};

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
    bind.flag("--all", input.everyFile, true);
    bind.flag("--follow", input.followLinks, true);
    bind.text("--files-from", input.listFile);
    bind.flag("--null", input.nulSeparated, true);
}

void addReadOptions(OptionBinder& bind, ReadOptions& read) {
    bind.value("--offset", "a number", storeNumber(read.offset));
    bind.value("--first", "a number", storeNumber(read.first));
    bind.value("--max", "a number", storeNumber(read.max));
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
            throw CLI::ValidationError(choice.complaint);
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
    const std::span<const OptionWord> rowWords = optionRow("--rows").words;
    bind.value("--rows", listOf(rowWords), [askForRows, rowWords](const std::string& text) {
        TableRows asked{};
        const bool isKnown = storeWord(asked, rowWords)(text);
        if (isKnown) {
            askForRows(asked);
        }
        return isKnown;
    });
    bind.flag("--nested", [askForRows] { askForRows(TableRows::nested); });
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
    bind.value("--timeout", std::string(kSecondsForm), [&workers](const std::string& text) {
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
std::string combinationComplaint(const RunOptions& options) {
    const OutputChoice& output = options.output;
    const InputChoice& input = options.input;
    const bool readsStandardInput =
        std::find(input.paths.begin(), input.paths.end(), "-") != input.paths.end();
    if (input.paths.empty() && input.listFile.empty()) {
        return "PATH or --files-from is required";
    }
    if (readsStandardInput && input.listFile == "-") {
        return "the standard input is either the image - or the list of --files-from, not both";
    }
    if (readsStandardInput && !options.run.journal.empty()) {
        return "--resume goes without the image -: whether it has changed cannot be told";
    }
    if (output.layout != JsonLayout::filePerLine && output.format != Format::json) {
        return "--compact and --pretty go with --format json";
    }
    if (output.rawCells && output.format != Format::csv) {
        return "--raw-cells goes with --format csv";
    }
    if (output.shorten && output.format != Format::text) {
        return "--shorten goes with --format text";
    }
    if (output.allDirectories && output.format != Format::text) {
        return "--all-directories goes with --format text";
    }
    if (output.digits && output.format != Format::text) {
        return "--digits goes with --format text";
    }
    if (output.splitTexts && output.format != Format::json && output.format != Format::ndjson) {
        return "--split-text goes with --format json and ndjson";
    }
    if (options.read.longestValue && options.read.reading == ReadingMode::contract) {
        return "--max-value goes with --reading full: the contract's reading loads every value";
    }
    if (options.read.check && options.read.reading == ReadingMode::contract) {
        return "--check goes with --reading full: the contract's reading checks no image data";
    }
    if (!options.run.journal.empty() && output.hasOpenColumns()) {
        return "--resume with --format csv needs --tags: the columns must be known from the "
               "start";
    }
    return "";
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

/// Arguments in the reversed order that the parser takes, each list-like one shielded by a line
/// feed.
std::vector<std::string> shield(std::vector<std::string> arguments) {
    std::reverse(arguments.begin(), arguments.end());
    for (std::string& argument : arguments) {
        if (looksLikeList(argument)) {
            argument.insert(0, 1, '\n');
        }
    }
    return arguments;
}

}  // namespace

std::string_view wordOf(Format format) {
    return wordAt("--format", format);
}

std::string_view wordOf(TableRows rows) {
    return wordAt("--rows", rows);
}

std::string_view wordOf(WarningDetail detail) {
    return wordAt("--warnings", detail);
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
    command.set_help_flag(namesOf(help), helpText(help))->group(std::string(help.group));
    command.add_option("PATH", result.options.input.paths, "files and folders to read")
        ->type_name("")
        ->option_text("...");
    try {
        command.parse(shield(words));
        auto& paths = result.options.input.paths;
        std::transform(paths.begin(), paths.end(), paths.begin(), unshielded);
        if (complaint.empty()) {
            complaint = combinationComplaint(result.options);
        }
        if (complaint.empty()) {
            complaint = settleTable(result.options.output, askedRows);
        }
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
