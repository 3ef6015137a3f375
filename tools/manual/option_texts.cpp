#include "manual/option_texts.h"

#include <algorithm>

#include "ifdsweep/tag_list.h"

namespace ifdsweep::manual {

std::vector<std::string_view> split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
    }
    return parts;
}

std::string replaced(std::string_view text, std::string_view part, std::string_view replacement) {
    std::string result;
    while (true) {
        const std::size_t end = text.find(part);
        result += text.substr(0, end);
        if (end == std::string_view::npos) {
            return result;
        }
        result += replacement;
        text.remove_prefix(end + part.size());
    }
}

std::vector<std::string_view> wordsOf(const OptionRow& row) {
    return split(row.words, " ");
}

std::vector<std::string> helpParagraphs(const OptionRow& row) {
    const std::vector<std::string_view> words = wordsOf(row);
    std::vector<std::string> paragraphs;
    for (const std::string_view line : split(row.help, "\n")) {
        const std::string_view start = line.substr(0, line.find(": "));
        const bool explainsWord = std::find(words.begin(), words.end(), start) != words.end();
        if (explainsWord || paragraphs.empty()) {
            paragraphs.emplace_back(line);
        } else {
            paragraphs.back().append(" ").append(line);
        }
    }
    return paragraphs;
}

std::string helpLine(const OptionRow& row) {
    std::string line;
    for (const std::string& paragraph : helpParagraphs(row)) {
        line.append(line.empty() ? "" : "; ").append(paragraph);
    }
    return line;
}

bool isRepeatable(const OptionRow& row) {
    return row.value == ValueCompletion::tag || row.help.ends_with("repeatable");
}

std::vector<std::string_view> tagNames() {
    std::vector<std::string_view> names;
    for (const TagListing& listing : listTags()) {
        if (std::find(names.begin(), names.end(), listing.name) == names.end()) {
            names.push_back(listing.name);
        }
    }
    return names;
}

std::string shellQuoted(std::string_view text) {
    return '\'' + replaced(text, "'", "'\\''") + '\'';
}

}  // namespace ifdsweep::manual
