#include "read/tag_choice.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <numeric>
#include <optional>
#include <system_error>
#include <utility>

#include <fnmatch.h>

#include "ifdsweep/tag_list.h"
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
            chooseMatching(word, [&word](std::string_view name) {
                return ::fnmatch(word.c_str(), std::string(name).c_str(), 0) == 0;
            });
        } else {
            chooseMatching(word, [&word](std::string_view name) { return name == word; });
        }
    }

    TagChoice choice;

private:
    void chooseNumber(const std::string& word) {
        const auto number = parseTagNumber(word);
        if (!number) {
            choice.complaint = "--tags: " + word + " is no tag number (0 to 65535)";
            return;
        }
        if (!addMatching([&](const TagListing& listing) { return listing.id == number; })) {
            add(std::to_string(*number), number);
        }
    }

    template <class Matches>
    void chooseMatching(const std::string& word, Matches&& matches) {
        if (addMatching([&](const TagListing& listing) {
                return matches(listing.name) || (!listing.alias.empty() && matches(listing.alias));
            })) {
            return;
        }
        choice.complaint = "--tags: no tag is named " + (word.empty() ? "\"\"" : word);
        std::vector<std::string_view> names;
        for (const TagListing& listing : listings) {
            names.push_back(listing.name);
        }
        const std::string nearest = nearestNames(word, names);
        if (!nearest.empty()) {
            choice.complaint += ", nearest: " + nearest;
        }
    }

    template <class Matches>
    bool addMatching(Matches&& matches) {
        bool any = false;
        for (const TagListing& listing : listings) {
            if (matches(listing)) {
                any = true;
                add(listing.name);
            }
        }
        return any;
    }

    void add(std::string_view name, std::optional<std::uint16_t> unknownId = std::nullopt) {
        const bool known =
            std::any_of(choice.fields.begin(), choice.fields.end(),
                        [name](const ChosenField& field) { return field.name == name; });
        if (!known) {
            choice.fields.push_back({std::string(name), unknownId});
        }
    }

    std::vector<TagListing> listings = listTags();
};

}  // namespace

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
    for (const TagListing& listing : listTags()) {
        const std::string number = listing.id ? std::to_string(*listing.id) : "-";
        text += number + '\t' + std::string(listing.name) + '\t' + std::string(listing.dictionary) +
                '\n';
    }
    return text;
}

}  // namespace ifdsweep
