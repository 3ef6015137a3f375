#include "walk/glob.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <deque>
#include <span>
#include <utility>

#include "text/text_decoding.h"

namespace ifdsweep {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Characters

/// Takes the first character of a text that is not empty: one of UTF-8 or, as a number behind all
/// of Unicode, a byte that begins none.
char32_t takeCharacter(std::string_view& text) {
    constexpr char32_t kOtherBytes = 0x110000;
    const Utf8Step step = decodeUtf8(text);
    const char32_t character =
        step.length > 0 ? step.codePoint : kOtherBytes + static_cast<unsigned char>(text.front());
    text.remove_prefix(std::max<std::size_t>(step.length, 1));
    return character;
}

char32_t otherCase(char32_t letter) {
    const bool isLower = letter >= U'a' && letter <= U'z';
    const bool isUpper = letter >= U'A' && letter <= U'Z';
    return isLower ? letter - U'a' + U'A' : isUpper ? letter - U'A' + U'a' : letter;
}

struct ClassName {
    std::string_view name;
    int (*holds)(int);
};

// The classes of POSIX, of ASCII alone.
constexpr std::array kClassNames{
    ClassName{"[:alnum:]", std::isalnum},  ClassName{"[:alpha:]", std::isalpha},
    ClassName{"[:blank:]", std::isblank},  ClassName{"[:digit:]", std::isdigit},
    ClassName{"[:lower:]", std::islower},  ClassName{"[:punct:]", std::ispunct},
    ClassName{"[:space:]", std::isspace},  ClassName{"[:upper:]", std::isupper},
    ClassName{"[:xdigit:]", std::isxdigit}};

// Matching

/// Whether a row of elements is a text from end to end. A star takes as little as it can, and only
/// the last one met ever has to take more: what stands between two stars is best found early.
/// @param takes    whether an element is the text's first unit, which it takes from the text
/// @param takeUnit takes the first unit of a text that is not empty
template <class Element, class Takes, class TakeUnit>
bool isRowOf(std::span<const Element> elements, std::string_view text, Takes takes,
             TakeUnit takeUnit) {
    std::size_t next = 0;
    std::size_t behindStar = kNone;
    std::string_view starEnd;  // what the star leaves to the elements behind it
    while (!text.empty()) {
        if (next < elements.size() && elements[next].isStar) {
            behindStar = ++next;
            starEnd = text;
        } else if (next < elements.size() && takes(elements[next], text)) {
            ++next;
        } else if (behindStar != kNone) {
            takeUnit(starEnd);
            text = starEnd;
            next = behindStar;
        } else {
            return false;
        }
    }
    return std::all_of(elements.begin() + static_cast<std::ptrdiff_t>(next), elements.end(),
                       [](const Element& element) { return element.isStar; });
}

bool holds(const GlobElement& element, char32_t character, LetterCase letters) {
    const char32_t other = letters == LetterCase::any ? otherCase(character) : character;
    const bool isThere =
        std::any_of(element.ranges.begin(), element.ranges.end(), [&](const CharacterRange& range) {
            return (range.first <= character && character <= range.last) ||
                   (range.first <= other && other <= range.last);
        });
    return isThere != element.isNegated;
}

bool matchesName(const GlobPart& part, std::string_view name) {
    const auto takes = [&part](const GlobElement& element, std::string_view& text) {
        std::string_view rest = text;
        const bool isOne = holds(element, takeCharacter(rest), part.letters);
        text = isOne ? rest : text;
        return isOne;
    };
    return isRowOf<GlobElement>(part.elements, name, takes, takeCharacter);
}

/// Takes the first name of a path that is not empty, with the slash behind it.
std::string_view takeName(std::string_view& path) {
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    return name;
}

bool takesName(const GlobPart& part, std::string_view& path) {
    std::string_view rest = path;
    const bool isOne = matchesName(part, takeName(rest));
    path = isOne ? rest : path;
    return isOne;
}

bool isOfParts(std::span<const GlobPart> parts, std::string_view path) {
    // The last name tells most paths apart, and is all there is to a pattern without a slash.
    const std::size_t nameBegin = path.rfind('/') + 1;
    return matchesName(parts.back(), path.substr(nameBegin)) &&
           isRowOf<GlobPart>(parts.first(parts.size() - 1),
                             path.substr(0, nameBegin == 0 ? 0 : nameBegin - 1), takesName,
                             takeName);
}

bool mayHoldParts(std::span<const GlobPart> parts, std::string_view folder) {
    std::size_t next = 0;
    while (!folder.empty() && next < parts.size() && !parts[next].isStar) {
        if (!takesName(parts[next++], folder)) {
            return false;
        }
    }
    return next < parts.size();
}

// Parsing

/// The size of "[:alpha:]" and its like at the beginning of a text; 0 when there is none.
std::size_t classNameSize(std::string_view text) {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz";
    if (!text.starts_with("[:")) {
        return 0;
    }
    const std::size_t end = text.find_first_not_of(kLetters, 2);
    return end != kNone && text.substr(end).starts_with(":]") ? end + 2 : 0;
}

/// Where what begins at a place ends that braces inside mean nothing in: a character behind a
/// backslash, a class in brackets; the place behind any other character.
std::size_t endOfUnit(std::string_view pattern, std::size_t begin) {
    if (pattern[begin] == '\\') {
        return std::min(begin + 2, pattern.size());
    }
    if (pattern[begin] != '[') {
        return begin + 1;
    }
    std::size_t at = begin + 1;
    if (at < pattern.size() && (pattern[at] == '!' || pattern[at] == '^')) {
        ++at;
    }
    for (const std::size_t first = at; at < pattern.size() && pattern[at] != '/';) {
        if (pattern[at] == ']' && at > first) {
            return at + 1;
        }
        const std::size_t least = pattern[at] == '\\' ? 2 : 1;
        at += std::max(classNameSize(pattern.substr(at)), least);
    }
    throw BadGlob("[ without ] in the same part; behind a backslash it is the character itself");
}

/// The places of the first group in braces: of its opening brace, its commas and its closing one;
/// none where there is no group.
std::vector<std::size_t> findGroup(std::string_view pattern) {
    std::vector<std::size_t> places;
    std::size_t depth = 0;
    for (std::size_t at = 0; at < pattern.size(); at = endOfUnit(pattern, at)) {
        const char character = pattern[at];
        depth += character == '{' ? 1 : 0;
        const bool isOfGroup = depth == 1 && (character == '}' || character == ',');
        if (isOfGroup || (character == '{' && depth == 1)) {
            places.push_back(at);
        }
        if (character == '}' && depth > 0 && --depth == 0) {
            return places;
        }
    }
    if (depth > 0) {
        throw BadGlob("{ without }; behind a backslash it is the character itself");
    }
    return {};
}

/// The patterns without braces that a pattern stands for.
std::vector<std::string> withoutBraces(std::string_view pattern) {
    std::vector<std::string> done;
    std::deque<std::string> open{std::string(pattern)};
    std::size_t bytes = 0;
    while (!open.empty()) {
        const std::string next = std::move(open.front());
        open.pop_front();
        const std::vector<std::size_t> group = findGroup(next);
        if (group.empty()) {
            done.push_back(next);
            continue;
        }
        for (std::size_t index = 0; index + 1 < group.size(); ++index) {
            const std::size_t begin = group[index] + 1;
            open.push_back(next.substr(0, group.front()) +
                           next.substr(begin, group[index + 1] - begin) +
                           next.substr(group.back() + 1));
            bytes += open.back().size();
        }
        if (open.size() + done.size() > Glob::kMostAlternatives || bytes > Glob::kMostBytes) {
            throw BadGlob("its braces stand for more than " +
                          std::to_string(Glob::kMostAlternatives) + " patterns or " +
                          std::to_string(Glob::kMostBytes) + " bytes");
        }
    }
    return done;
}

/// Takes a character as it is, behind a backslash or without one.
char32_t takeLiteral(std::string_view& text) {
    if (text.front() == '\\') {
        text.remove_prefix(1);
        if (text.empty()) {
            throw BadGlob("a backslash with nothing behind it");
        }
    }
    return takeCharacter(text);
}

/// Takes a class of characters by its name.
void takeNamedClass(std::string_view& text, GlobElement& element) {
    const std::string_view name = text.substr(0, classNameSize(text));
    const auto row = std::find_if(kClassNames.begin(), kClassNames.end(),
                                  [name](const ClassName& known) { return known.name == name; });
    if (row == kClassNames.end()) {
        throw BadGlob("no class of characters is " + std::string(name));
    }
    for (char32_t character = 0; character < 0x80; ++character) {
        if (row->holds(static_cast<int>(character)) != 0) {
            element.ranges.push_back({character, character});
        }
    }
    text.remove_prefix(name.size());
}

/// @param text between the brackets
GlobElement parseClass(std::string_view text) {
    GlobElement element;
    element.isNegated = text.front() == '!' || text.front() == '^';
    text.remove_prefix(element.isNegated ? 1 : 0);
    while (!text.empty()) {
        if (classNameSize(text) > 0) {
            takeNamedClass(text, element);
            continue;
        }
        const char32_t first = takeLiteral(text);
        char32_t last = first;
        if (text.size() > 1 && text.front() == '-') {
            text.remove_prefix(1);
            last = takeLiteral(text);
        }
        if (last < first) {
            throw BadGlob("a range in [] that ends before it begins");
        }
        element.ranges.push_back({first, last});
    }
    return element;
}

GlobElement takeElement(std::string_view& text) {
    if (text.front() == '[') {
        const std::size_t size = endOfUnit(text, 0);
        GlobElement element = parseClass(text.substr(1, size - 2));
        text.remove_prefix(size);
        return element;
    }
    if (text.front() == '*') {
        text.remove_prefix(std::min(text.find_first_not_of('*'), text.size()));
        return {.isStar = true, .ranges = {}};
    }
    if (text.front() == '?') {
        text.remove_prefix(1);
        return {.isNegated = true, .ranges = {}};
    }
    const char32_t character = takeLiteral(text);
    return {.ranges = {{character, character}}};
}

GlobPart parsePart(std::string_view text, LetterCase letters) {
    GlobPart part{.letters = letters, .elements = {}};
    while (!text.empty()) {
        part.elements.push_back(takeElement(text));
    }
    return part;
}

std::vector<GlobPart> parseParts(std::string_view pattern, LetterCase letters) {
    const GlobPart anyFolders{.isStar = true, .elements = {}};
    const std::string_view withoutEnd = pattern.substr(0, pattern.find_last_not_of('/') + 1);
    std::vector<GlobPart> parts;
    if (withoutEnd.find('/') == kNone) {
        parts.push_back(anyFolders);
    }
    bool endsWithStar = false;
    while (!pattern.empty()) {
        const std::string_view part = takeName(pattern);
        if (part.empty() || part == ".") {
            continue;
        }
        if (part == "..") {
            throw BadGlob("\"..\": a pattern is for what lies below the folders that are named");
        }
        endsWithStar = part == "**";
        if (!endsWithStar) {
            parts.push_back(parsePart(part, letters));
        } else if (parts.empty() || !parts.back().isStar) {
            parts.push_back(anyFolders);
        }
    }
    if (endsWithStar) {
        parts.push_back(
            parsePart("*", letters));  // whatever lies in a folder, not the folder itself
    }
    return parts;
}

}  // namespace

Glob::Glob(std::string_view pattern, LetterCase letters) {
    for (const std::string& alternative : withoutBraces(pattern)) {
        std::vector<GlobPart> parts = parseParts(alternative, letters);
        if (!parts.empty() && !parts.back().isStar) {
            alternatives.push_back({alternative.ends_with('/'), std::move(parts)});
        }
    }
    if (alternatives.empty()) {
        throw BadGlob("it names nothing");
    }
}

bool Glob::matches(std::string_view path, bool isFolder) const {
    return std::any_of(alternatives.begin(), alternatives.end(), [&](const Alternative& one) {
        return (isFolder || !one.foldersOnly) && isOfParts(one.parts, path);
    });
}

bool Glob::mayMatchBelow(std::string_view folder) const {
    return std::any_of(alternatives.begin(), alternatives.end(),
                       [&](const Alternative& one) { return mayHoldParts(one.parts, folder); });
}

bool Glob::isForFolders() const {
    return std::all_of(alternatives.begin(), alternatives.end(),
                       [](const Alternative& one) { return one.foldersOnly; });
}

}  // namespace ifdsweep
