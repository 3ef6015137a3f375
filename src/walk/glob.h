#pragma once

// Glob: a pattern for the paths that are found below a folder. It is parsed once; matching takes no
// recursion and no memory, and no longer than the pattern's length times the path's.
//
//   *        any characters, none too, but no slash      ?        one character, not a slash
//   **       as a whole part: any number of folders      [a-z]    one of these, [!a-z] one of no
//   such {a,b}    one of these, nested and empty ones too     \        the character behind it, as
//   it is
//
// A pattern without a slash is for the name alone, one with a slash for the path from the folder
// on; a leading "/" or "./" stands for that folder. A slash at the end is for folders alone. A
// character is one of UTF-8, or a byte that is none. A leading dot is nothing special.
//
// Ownership: plain values. Threads: any.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ifdsweep {

/// What is wrong with a pattern.
class BadGlob : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// Whether letters are told apart by their case. Where they are not, that holds for A to Z.
enum class LetterCase : std::uint8_t { distinct, any };

/// A range of characters, both ends of which are in it.
struct CharacterRange {
    char32_t first;
    char32_t last;
};

/// What one character of a name, or any number of them, must be.
struct GlobElement {
    bool isStar = false;
    bool isNegated = false;              ///< any character that is in none of the ranges
    std::vector<CharacterRange> ranges;  ///< without a star
};

/// What one part of a path must be: a name, or any number of folders.
struct GlobPart {
    bool isStar = false;
    LetterCase letters = LetterCase::distinct;
    std::vector<GlobElement> elements;  ///< without a star
};

class Glob {
public:
    /// The most patterns that braces may stand for, and the most bytes of them all.
    static constexpr std::size_t kMostAlternatives = 1000;
    static constexpr std::size_t kMostBytes = std::size_t{1} << 20;

    /// Throws BadGlob, which says what is wrong.
    explicit Glob(std::string_view pattern, LetterCase letters = LetterCase::distinct);

    /// Whether a path from the folder on, such as "2023/a.jpg", is one of the pattern.
    [[nodiscard]] bool matches(std::string_view path, bool isFolder) const;

    /// Whether something below a folder may be one of the pattern. Where it says no, nothing is.
    [[nodiscard]] bool mayMatchBelow(std::string_view folder) const;

    /// Whether the pattern is for folders alone.
    [[nodiscard]] bool isForFolders() const;

private:
    struct Alternative {
        bool foldersOnly = false;
        std::vector<GlobPart> parts;
    };

    std::vector<Alternative> alternatives;  ///< what the braces stand for
};

}  // namespace ifdsweep
