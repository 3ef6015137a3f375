#include "cli/option_binder.h"

#include <algorithm>

#include "cli/argument_check.h"
#include "cli/quantities.h"
#include "ifdsweep/unlimited.h"

namespace ifdsweep {
namespace {

/// Leading line feeds are those of `shielded`, so that a name which has some of its own is told
/// apart.
bool looksLikeList(std::string_view argument) {
    const std::size_t start = argument.find_first_not_of('\n');
    return start != std::string_view::npos && argument[start] == '[' && argument.ends_with(']');
}

}  // namespace

OptionBinder::OptionBinder(CLI::App& parsedCommand, std::span<const std::string> arguments)
    : command(parsedCommand) {
    for (const std::string_view argument : arguments) {
        if (argument.starts_with("--")) {
            longOptions.push_back(argument);
        } else if (argument.starts_with('-')) {
            bundles.push_back(argument);
        }
    }
    showsAll = isNeeded(kHelpOption);
}

bool OptionBinder::mayShowHelp() const {
    const auto isHelp = [](std::string_view name) {
        return [name](std::string_view argument) { return argument.starts_with(name); };
    };
    return std::any_of(longOptions.begin(), longOptions.end(), isHelp(kHelpOption)) ||
           std::any_of(bundles.begin(), bundles.end(), isHelp(optionRow(kHelpOption).shortName));
}

std::string OptionBinder::listOf(std::span<const OptionWord> words) {
    std::string list;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const bool isLast = index + 1 == words.size();
        list.append(index == 0 ? "" : isLast ? " or " : ", ").append(words[index].word);
    }
    return list;
}

std::optional<std::size_t> OptionBinder::placeOf(std::string_view text,
                                                 std::span<const OptionWord> words) {
    const auto found = std::find_if(words.begin(), words.end(),
                                    [text](const OptionWord& row) { return row.word == text; });
    return found == words.end() ? std::nullopt : std::optional<std::size_t>(found - words.begin());
}

bool OptionBinder::isNeeded(std::string_view name) const {
    if (showsAll || std::any_of(longOptions.begin(), longOptions.end(),
                                [name](std::string_view each) { return each.starts_with(name); })) {
        return true;
    }
    if (bundles.empty()) {
        return false;
    }
    const std::string_view shortName = optionRow(name).shortName;
    return !shortName.empty() &&
           std::any_of(bundles.begin(), bundles.end(), [shortName](std::string_view bundle) {
               return bundle.find(shortName[1]) != std::string_view::npos;
           });
}

void OptionBinder::addValue(const OptionRow& row, std::string_view expected, TakeText take) {
    CLI::Option* option = command.add_option_function<std::string>(
        parserNames(row),
        [&row, expected = std::string(expected), take = std::move(take)](const std::string& given) {
            const std::string text = unshielded(given);
            if (!take(text)) {
                throw CLI::ValidationError(
                    std::string(row.name),
                    "expected " + expected + ", got " + text + nearestWords(text, row.words));
            }
        },
        helpText(row));
    option->type_name(std::string(row.placeholder))->trigger_on_parse();
    option->group(std::string(row.group));
}

void OptionBinder::addFlag(const OptionRow& row, std::function<void()> act) {
    CLI::Option* option =
        command.add_flag_callback(parserNames(row), std::move(act), helpText(row));
    option->trigger_on_parse()->group(std::string(row.group));
}

void OptionBinder::limit(std::string_view name, std::optional<std::uint64_t>& target) {
    if (isNeeded(name)) {
        const OptionRow& row = optionRow(name);
        const std::string_view none = row.words.front().word;
        addValue(row, std::string(kByteCountForm).append(" or ").append(none),
                 [&target, none](const std::string& text) {
                     target = text == none ? kUnlimited : parseByteCount(text);
                     return target.has_value();
                 });
    }
}

void OptionBinder::text(std::string_view name, std::string& target) {
    value(name, "a text", [&target](const std::string& given) {
        target = given;
        return !given.empty();
    });
}

void OptionBinder::glob(std::string_view name, std::vector<Glob>& targets, LetterCase letters,
                        GlobUse use) {
    value(name, "a pattern", [name, &targets, letters, use](const std::string& text) {
        const auto refuse = [name, &text](const std::string& why) {
            throw CLI::ValidationError(std::string(name) + ' ' + text + ": " + why);
        };
        try {
            targets.emplace_back(text, letters);
        } catch (const BadGlob& wrong) {
            refuse(wrong.what());
        }
        if (targets.back().isForFolders() && use == GlobUse::files) {
            refuse(
                "a slash at the end is for folders, and files are included; what lies in folders "
                "NAME is **/NAME/**");
        }
        return true;
    });
}

std::string parserNames(const OptionRow& row) {
    std::string names(row.shortName);
    return names.append(names.empty() ? "" : ",").append(row.name);
}

std::vector<std::string> shielded(std::vector<std::string> arguments) {
    std::reverse(arguments.begin(), arguments.end());
    for (std::string& argument : arguments) {
        if (looksLikeList(argument)) {
            argument.insert(0, 1, '\n');
        }
    }
    return arguments;
}

std::string unshielded(const std::string& argument) {
    return argument.starts_with('\n') && looksLikeList(argument) ? argument.substr(1) : argument;
}

}  // namespace ifdsweep
