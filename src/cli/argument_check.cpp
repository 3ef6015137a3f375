#include "cli/argument_check.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <utility>

#include "text/letter_case.h"
#include "text/nearest_names.h"

namespace ifdsweep {
namespace {

/// What other programs call what is an option here.
constexpr std::array<std::pair<std::string_view, std::string_view>, 10> kOtherNames{{
    {"--columns", "--tags"},
    {"--fields", "--tags"},
    {"--glob", "--include"},
    {"--indent", "--pretty"},
    {"--parallel", "--jobs"},
    {"--recurse", "--recursive"},
    {"--silent", "--quiet"},
    {"--threads", "--jobs"},
    {"--usage", "--help"},
    {"--workers", "--jobs"},
}};

bool beginsWith(std::string_view text, std::string_view beginning) {
    return equalInAnyCase(text.substr(0, beginning.size()), beginning);
}

const OptionRow* rowNamed(std::string_view name) {
    const std::span<const OptionRow> rows = optionTable();
    const auto row = std::find_if(rows.begin(), rows.end(), [name](const OptionRow& option) {
        return option.name == name || (!name.empty() && option.shortName == name);
    });
    return row == rows.end() ? nullptr : &*row;
}

std::string_view nameIn(std::string_view argument) {
    return argument.substr(0, argument.find('='));
}

/// The option of this long name, whatever the case of its letters.
const OptionRow* rowSpelt(std::string_view name) {
    const std::span<const OptionRow> rows = optionTable();
    const auto row = std::find_if(rows.begin(), rows.end(), [name](const OptionRow& option) {
        return equalInAnyCase(option.name, name);
    });
    return row == rows.end() ? nullptr : &*row;
}

/// The options whose names the one given begins, or else those most like it.
std::string nearestOptions(std::string_view name) {
    constexpr std::size_t kLeast = 5;  // two dashes and three letters
    const auto* const other = std::find_if(kOtherNames.begin(), kOtherNames.end(),
                                           [name](const auto& row) { return row.first == name; });
    if (other != kOtherNames.end()) {
        return std::string(other->second);
    }
    std::string begun;
    std::vector<std::string_view> names;
    for (const OptionRow& row : optionTable()) {
        names.push_back(row.name);
        if (name.size() >= kLeast && beginsWith(row.name, name)) {
            begun.append(begun.empty() ? "" : ", ").append(row.name);
        }
    }
    return begun.empty() ? nearestNames(name, names) : begun;
}

std::string unknownOption(std::string_view given, std::string_view nearest) {
    std::string complaint = "no option " + std::string(given);
    if (!nearest.empty()) {
        complaint.append("; nearest: ").append(nearest);
    }
    return complaint;
}

/// The short option of the other case.
std::string nearestShort(char letter) {
    std::string nearest;
    for (const OptionRow& row : optionTable()) {
        if (!row.shortName.empty() && equalInAnyCase(row.shortName.substr(1), {&letter, 1})) {
            nearest.append(row.shortName).append(" (").append(row.name).append(")");
        }
    }
    return nearest;
}

/// @param place of the short option in its bundle, which may be a long one with a dash too few
std::string unknownShort(std::string_view bundle, std::size_t place) {
    const std::string option{'-', bundle[place]};
    if (bundle.size() == 2) {
        return unknownOption(option, nearestShort(bundle[place]));
    }
    const std::string nearest = place == 1 ? nearestOptions('-' + std::string(nameIn(bundle)))
                                           : nearestShort(bundle[place]);
    return unknownOption(option + " in " + std::string(bundle), nearest);
}

std::string missingValue(std::string_view option, const OptionRow& row) {
    return std::string(option) + " needs a value: " + std::string(row.placeholder);
}

/// Goes through the arguments as the parser does: an option that takes a value takes the next
/// argument, whatever it is.
class Walk {
public:
    explicit Walk(std::span<const std::string> arguments) : left(arguments) {}

    std::string complaint() {
        while (!left.empty()) {
            const std::string_view argument = left.front();
            left = left.subspan(1);
            if (argument == "--") {
                break;
            }
            if (std::string wrong = check(argument); !wrong.empty()) {
                return wrong;
            }
        }
        return "";
    }

private:
    std::string check(std::string_view argument) {
        if (argument.starts_with("--")) {
            return longOption(argument);
        }
        return argument.starts_with('-') && argument.size() > 1 ? bundle(argument) : "";
    }

    std::string longOption(std::string_view argument) {
        const std::string_view name = nameIn(argument);
        const OptionRow* const row = rowNamed(name);
        if (row == nullptr) {
            return unknownOption(name, nearestOptions(name));
        }
        const bool hasValue = name.size() < argument.size();
        if (row->placeholder.empty()) {
            return hasValue ? std::string(name) + " takes no value, got " +
                                  std::string(argument.substr(name.size() + 1))
                            : "";
        }
        if (!hasValue) {
            return takeValue(name, *row);
        }
        return name.size() + 1 == argument.size() ? missingValue(name, *row) : "";
    }

    /// Short options behind one dash, the last of which may have its value behind it.
    std::string bundle(std::string_view argument) {
        const bool isNumber = std::isdigit(static_cast<unsigned char>(argument[1])) != 0;
        if (isNumber && rowNamed(argument.substr(0, 2)) == nullptr) {
            return "";  // a path
        }
        const std::string longName = '-' + std::string(nameIn(argument));
        // -tags is no tag "ags", and -output is no file "utput".
        if (const OptionRow* const row = rowSpelt(longName); row != nullptr) {
            return unknownOption(nameIn(argument), row->name);
        }
        for (std::size_t index = 1; index < argument.size(); ++index) {
            const std::string option{'-', argument[index]};
            const OptionRow* const row = rowNamed(option);
            if (row == nullptr) {
                return unknownShort(argument, index);
            }
            if (!row->placeholder.empty()) {
                const std::string_view value = argument.substr(index + 1);
                if (value.starts_with('=')) {
                    return option + " takes its value without an equals sign, got " +
                           std::string(argument);
                }
                return value.empty() ? takeValue(option, *row) : "";
            }
        }
        return "";
    }

    std::string takeValue(std::string_view option, const OptionRow& row) {
        if (left.empty()) {
            return missingValue(option, row);
        }
        const std::string_view value = left.front();
        left = left.subspan(1);
        if (value.starts_with("--") && rowNamed(nameIn(value)) != nullptr) {
            return missingValue(option, row) + ", got the option " + std::string(value);
        }
        return "";
    }

    std::span<const std::string> left;
};

}  // namespace

std::string argumentComplaint(std::span<const std::string> arguments) {
    return Walk(arguments).complaint();
}

std::string nearestWords(std::string_view text, std::span<const OptionWord> words) {
    std::vector<std::string_view> candidates;
    for (const OptionWord& word : words) {
        candidates.push_back(word.word);
    }
    const std::string nearest = nearestNames(text, candidates);
    return nearest.empty() ? "" : "; nearest: " + nearest;
}

}  // namespace ifdsweep
