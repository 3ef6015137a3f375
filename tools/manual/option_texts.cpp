#include "manual/option_texts.h"

#include "names/known_names.h"

namespace ifdsweep::manual {

std::vector<std::string_view> split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    while (!text.empty()) {
        const std::size_t end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
    }
    return pieces;
}

std::string replaced(std::string_view text, std::string_view piece, std::string_view replacement) {
    std::string result;
    while (true) {
        const std::size_t end = text.find(piece);
        result += text.substr(0, end);
        if (end == std::string_view::npos) {
            return result;
        }
        result += replacement;
        text.remove_prefix(end + piece.size());
    }
}

std::vector<std::string_view> optionNames(const OptionRow& row) {
    std::vector<std::string_view> names{row.name};
    if (!row.shortName.empty()) {
        names.insert(names.begin(), row.shortName);
    }
    return names;
}

std::string wordList(const OptionRow& row) {
    std::vector<std::string_view> words;
    for (const OptionWord& word : row.words) {
        words.push_back(word.word);
    }
    return joined(words, " ");
}

std::string helpLine(const OptionRow& row) {
    return joined(helpParagraphs(row), "; ");
}

std::vector<std::string_view> tagNames() {
    return allNames(listKnownNames());
}

std::string shellQuoted(std::string_view text) {
    return '\'' + replaced(text, "'", "'\\''") + '\'';
}

}  // namespace ifdsweep::manual
