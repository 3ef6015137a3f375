#include "read/tag_choice.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <system_error>
#include <utility>

#include <fnmatch.h>

#include "names/known_names.h"
#include "names/public_tags.h"
#include "text/letter_case.h"
#include "text/nearest_names.h"

namespace ifdsweep {
namespace {

bool isNumber(std::string_view word) {
    return !word.empty() && std::isdigit(static_cast<unsigned char>(word.front())) != 0;
}

/// A tag number, decimal or with "0x".
std::optional<std::uint16_t> parseTagNumber(std::string_view word) {
    const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
    word.remove_prefix(hexadecimal ? 2 : 0);
    std::uint16_t number = 0;
    const auto [end, error] =
        std::from_chars(word.data(), word.data() + word.size(), number, hexadecimal ? 16 : 10);
    const bool whole = error == std::errc() && end == word.data() + word.size();
    return whole ? std::optional(number) : std::nullopt;
}

class Chooser {
public:
    void choose(const std::string& word) {
        if (isNumber(word)) {
            chooseNumber(word);
        } else if (word.find_first_of("*?[") != std::string::npos) {
            byPattern = true;
            chooseMatching(word, [&word](std::string_view name) {
                return ::fnmatch(word.c_str(), std::string(name).c_str(), FNM_CASEFOLD) == 0;
            });
            byPattern = false;
        } else {
            // No two fields have names that differ in case alone.
            chooseMatching(word,
                           [&word](std::string_view name) { return equalInAnyCase(name, word); });
        }
    }

    TagChoice choice;

private:
    void chooseNumber(const std::string& word) {
        const auto number = parseTagNumber(word);
        if (!number) {
            choice.complaint = word + " is no tag number (0 to 65535)";
            return;
        }
        const bool isNamed = addMatching([&](const KnownName& name) {
            return name.number == number && name.place == NamedPlace::field;
        });
        if (!isNamed) {
            add({std::to_string(*number), number});
        }
    }

    template <class Matches>
    void chooseMatching(const std::string& word, Matches&& matches) {
        if (addMatching([&](const KnownName& each) {
                return matches(each.name) ||
                       std::any_of(each.others.begin(), each.others.end(), matches);
            })) {
            return;
        }
        choice.complaint = "no tag is named " + (word.empty() ? "\"\"" : word);
        const std::string nearest = nearestNames(word, allNames(known));
        if (!nearest.empty()) {
            choice.complaint += ", nearest: " + nearest;
        }
    }

    template <class Matches>
    bool addMatching(Matches&& matches) {
        bool any = false;
        for (const KnownName& each : known) {
            if (matches(each)) {
                any = true;
                add({std::string(each.name),
                     each.place == NamedPlace::unknownTag ? each.number : std::nullopt});
            }
        }
        return any;
    }

    void add(ChosenField field) {
        field.byPattern = byPattern;
        addField(choice.fields, std::move(field));
    }

    std::vector<KnownName> known = listKnownNames();
    bool byPattern = false;  ///< of the word at hand
};

}  // namespace

bool canOccurIn(DirectoryKind kind, const ChosenField& unknownTag) {
    return isNumber(unknownTag.name) ||
           publicTagName(kind, *unknownTag.unknownId) == unknownTag.name;
}

void addField(std::vector<ChosenField>& fields, ChosenField field) {
    const auto known =
        std::find_if(fields.begin(), fields.end(),
                     [&field](const ChosenField& earlier) { return earlier.name == field.name; });
    if (known == fields.end()) {
        fields.push_back(std::move(field));
    } else {
        known->byPattern = known->byPattern && field.byPattern;
    }
}

TagChoice chooseTags(std::string_view list) {
    Chooser chooser;
    while (chooser.choice.complaint.empty()) {
        const std::size_t comma = list.find(',');
        chooser.choose(std::string(list.substr(0, comma)));
        if (comma == std::string_view::npos) {
            break;
        }
        list.remove_prefix(comma + 1);
    }
    return std::move(chooser.choice);
}

std::string tagListText() {
    std::string text;
    for (const KnownName& each : listKnownNames()) {
        text += each.number ? std::to_string(*each.number) : "-";
        text.append("\t").append(each.name).append("\t").append(each.dictionary);
        text += each.place == NamedPlace::unknownTag ? ", in UnknownTags" : "";
        std::string_view before = "\talso: ";
        for (const std::string_view other : each.others) {
            text.append(std::exchange(before, ", ")).append(other);
        }
        text += '\n';
    }
    return text;
}

}  // namespace ifdsweep
