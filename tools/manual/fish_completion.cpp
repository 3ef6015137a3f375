#include "manual/fish_completion.h"

#include <string_view>

#include "manual/option_texts.h"

namespace ifdsweep::manual {
namespace {

/// A text between single quotes, inside which fish knows two escapes.
std::string quoted(std::string_view text) {
    return '\'' + replaced(replaced(text, "\\", "\\\\"), "'", "\\'") + '\'';
}

/// The switches that complete the value of an option; empty when it takes none.
std::string valueSwitches(const OptionRow& row) {
    switch (row.value) {
        case ValueCompletion::words:
            return " -x -a " + quoted(wordList(row));
        case ValueCompletion::tag:
            return " -x -a '(__ifdsweep_tags)'";
        case ValueCompletion::message:
            return " -x -a '(__ifdsweep_messages)'";
        case ValueCompletion::file:
            return " -r -F";
        case ValueCompletion::other:
            return " -x";
        case ValueCompletion::none:
            break;
    }
    return "";
}

}  // namespace

std::string fishCompletion() {
    std::string text = "# Completions of ifdsweep for fish.\n\n";
    text += "function __ifdsweep_tags\n    set -l names";
    for (const std::string_view name : tagNames()) {
        text.append(" \\\n        ").append(name);
    }
    // The names stand after what was typed up to the last comma.
    text +=
        "\n    set -l before (commandline -ct | string replace -r '^(--tags=|-t)' '' |"
        " string replace -r '[^,]*$' '')\n"
        "    printf '%s\\n' \"$before\"$names\nend\n\n";

    text += "function __ifdsweep_messages\n    printf '%s\\t%s\\n'";
    for (const MessageDescription& message : describeMessages()) {
        text.append(" \\\n        ").append(quoted(shortMessageId(message.id)));
        text.append(" ").append(quoted(message.text));
    }
    text += "\nend\n\n";

    for (const OptionRow& row : optionTable()) {
        text.append("complete -c ifdsweep");
        if (!row.shortName.empty()) {
            text.append(" -s ").append(row.shortName.substr(1));
        }
        text.append(" -l ").append(row.name.substr(2));
        text.append(valueSwitches(row)).append(" -d ").append(quoted(helpLine(row))).append("\n");
    }
    return text;
}

}  // namespace ifdsweep::manual
