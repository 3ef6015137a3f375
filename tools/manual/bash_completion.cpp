#include "manual/bash_completion.h"

#include <string_view>
#include <vector>

#include "manual/option_texts.h"

namespace ifdsweep::manual {
namespace {

// bash cuts "--tags=Make" at the equals sign into three words, which are put together first. The
// standard file completion is left to bash, which quotes names and marks folders as it should.
constexpr std::string_view kHead = R"(# Completions of ifdsweep for bash.

_ifdsweep() {
    local current=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD-1]} word
    if [[ $current == = ]]; then
        current=
    elif [[ $option == = ]]; then
        option=${COMP_WORDS[COMP_CWORD-2]}
    fi
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word != -- ]] || option=--
    done
    case $option in
)";

constexpr std::string_view kTail = R"(        --)
            compopt -o default
            return ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$_ifdsweep_options" -- "$current")
    else
        compopt -o default
    fi
}

complete -F _ifdsweep ifdsweep
)";

constexpr std::string_view kListItem = R"(            local before=${current%"${current##*,}"}
            mapfile -t COMPREPLY < <(compgen -P "$before" -W "$_ifdsweep_tags" -- "${current##*,}")
            compopt -o nospace
)";

std::string wordsFrom(std::string_view list) {
    return "            mapfile -t COMPREPLY < <(compgen -W " + std::string(list) +
           " -- \"$current\")\n";
}

/// What is done for the value of an option; empty when it takes none.
std::string action(const OptionRow& row) {
    switch (row.value) {
        case ValueCompletion::words:
            return wordsFrom(shellQuoted(wordList(row)));
        case ValueCompletion::tag:
            return std::string(kListItem);
        case ValueCompletion::message:
            return wordsFrom("\"$_ifdsweep_messages\"");
        case ValueCompletion::file:
            return "            compopt -o default\n";
        case ValueCompletion::other:
        case ValueCompletion::none:
            break;
    }
    return "";
}

std::string variable(std::string_view name, const std::vector<std::string_view>& words) {
    return "_ifdsweep_" + std::string(name) + '=' + shellQuoted(joined(words, " ")) + '\n';
}

}  // namespace

std::string bashCompletion() {
    std::vector<std::string_view> options;
    std::string cases;
    for (const OptionRow& row : optionTable()) {
        if (!row.shortName.empty()) {
            options.push_back(row.shortName);
        }
        options.push_back(row.name);
        if (row.value != ValueCompletion::none) {
            cases.append("        ").append(joined(optionNames(row), "|")).append(")\n");
            cases.append(action(row)).append("            return ;;\n");
        }
    }
    std::vector<std::string_view> ids;
    for (const MessageDescription& message : describeMessages()) {
        ids.push_back(shortMessageId(message.id));
    }
    std::string text(kHead);
    text.append(cases).append(kTail).append("\n");
    text += variable("options", options);
    text += variable("tags", tagNames());
    text += variable("messages", ids);
    return text;
}

}  // namespace ifdsweep::manual
