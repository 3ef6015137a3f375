#include "text/display_width.h"

#include <algorithm>
#include <array>

namespace ifdsweep {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Unicode 15.0, EastAsianWidth.txt: what is wide (W) or full-width (F), and what lies between
// where it is little.
// clang-format off
constexpr std::array kWide{
    Range{0x1100, 0x115F},    // Hangul initial consonants
    Range{0x231A, 0x232A},    // watch, hourglass, angle brackets
    Range{0x23E9, 0x23F3},    // signs of players, clocks
    Range{0x25FD, 0x25FE},    // medium small squares
    Range{0x2614, 0x27BF},    // miscellaneous symbols, dingbats
    Range{0x2B1B, 0x2B55},    // squares, star, circle
    Range{0x2E80, 0x303E},    // CJK radicals, symbols and punctuation
    Range{0x3041, 0xA4CF},    // kana, bopomofo, CJK ideographs, Yi
    Range{0xA960, 0xA97C},    // Hangul initial consonants, extended
    Range{0xAC00, 0xD7A3},    // Hangul syllables
    Range{0xF900, 0xFAFF},    // CJK compatibility ideographs
    Range{0xFE10, 0xFE19},    // vertical forms
    Range{0xFE30, 0xFE6F},    // CJK compatibility forms, small forms
    Range{0xFF01, 0xFF60},    // full-width forms
    Range{0xFFE0, 0xFFE6},    // full-width signs
    Range{0x16FE0, 0x1B2FF},  // Tangut, Khitan, Nushu, kana supplements
    Range{0x1F004, 0x1F004},  // mahjong tile
    Range{0x1F0CF, 0x1F0CF},  // playing card
    Range{0x1F18E, 0x1F19A},  // squared words
    Range{0x1F200, 0x1F265},  // enclosed ideographs
    Range{0x1F300, 0x1FAFF},  // emoji
    Range{0x20000, 0x3FFFD},  // CJK ideographs, extensions
};
// clang-format on

}  // namespace

std::size_t displayColumns(char32_t codePoint) {
    if (codePoint < kWide.front().first) {
        return 1;
    }
    const auto* const row =
        std::lower_bound(kWide.begin(), kWide.end(), codePoint,
                         [](const Range& range, char32_t value) { return range.last < value; });
    return row != kWide.end() && row->first <= codePoint ? 2 : 1;
}

}  // namespace ifdsweep
