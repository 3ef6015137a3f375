#include "manual/zsh_completion.h"

#include <string_view>
#include <vector>

#include "manual/option_texts.h"

namespace ifdsweep::manual {
namespace {

constexpr std::string_view kTail = R"(
if [[ $funcstack[1] == _ifdsweep ]]; then
    _ifdsweep "$@"
else
    compdef _ifdsweep ifdsweep
fi
)";

/// A text with a backslash wherever zsh would take one of these characters for syntax.
std::string escaped(std::string_view text, std::string_view special) {
    std::string result;
    for (const char letter : text) {
        if (letter == '\\' || special.find(letter) != std::string_view::npos) {
            result += '\\';
        }
        result += letter;
    }
    return result;
}

/// The part of an option's line that completes its value; empty when it takes none.
std::string valuePart(const OptionRow& row) {
    const std::string named = ':' + escaped(row.placeholder, ":") + ':';
    switch (row.value) {
        case ValueCompletion::words:
            return named + '(' + wordList(row) + ')';
        case ValueCompletion::tag:
            return named + "_ifdsweep_tags";
        case ValueCompletion::message:
            return named + "_ifdsweep_messages";
        case ValueCompletion::file:
            return named + "_files";
        case ValueCompletion::other:
            return named + ' ';
        case ValueCompletion::none:
            break;
    }
    return "";
}

/// The line of one of the names of an option. The value of a short one may stand right behind it,
/// that of a long one behind an equals sign.
std::string optionLine(const OptionRow& row, std::string_view name) {
    const std::vector<std::string_view> names = optionNames(row);
    std::string line(row.isRepeatable ? "*" : "");
    if (!row.isRepeatable && names.size() > 1) {
        line.append("(").append(joined(names, " ")).append(")");
    }
    line.append(name);
    if (row.value != ValueCompletion::none) {
        line.append(name == row.name ? "=" : "+");
    }
    line.append("[").append(escaped(helpLine(row), "[]")).append("]").append(valuePart(row));
    return line;
}

}  // namespace

std::string zshCompletion() {
    std::string text = "#compdef ifdsweep\n# Completions of ifdsweep for zsh.\n\n";
    text += "_ifdsweep_tags() {\n    local -a names=(";
    for (const std::string_view name : tagNames()) {
        text.append("\n        ").append(name);
    }
    text += "\n    )\n    compset -P '*,'\n    compadd -q -S , -a names\n}\n\n";

    text += "_ifdsweep_messages() {\n    local -a messages=(";
    for (const MessageDescription& message : describeMessages()) {
        const std::string id = escaped(shortMessageId(message.id), ":");
        text += "\n        " + shellQuoted(id + ':' + escaped(message.text, ""));
    }
    text += "\n    )\n    _describe message messages\n}\n\n";

    text += "_ifdsweep() {\n    _arguments -s -S \\\n";
    for (const OptionRow& row : optionTable()) {
        for (const std::string_view name : optionNames(row)) {
            text += "        " + shellQuoted(optionLine(row, name)) + " \\\n";
        }
    }
    text += "        '*:PATH:_files'\n}\n";
    text += kTail;
    return text;
}

}  // namespace ifdsweep::manual
