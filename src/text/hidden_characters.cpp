#include "text/hidden_characters.h"

#include <algorithm>
#include <array>

namespace ifdsweep {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Unicode 15.0, UnicodeData.txt and DerivedCoreProperties.txt: the general categories Cc, Cf, Zl
// and Zp, and Default_Ignorable_Code_Point; neighbours are one row, and the C0 controls are none.
// clang-format off
constexpr std::array kHidden{
    Range{0x007F, 0x009F},    // delete, C1 controls
    Range{0x00AD, 0x00AD},    // soft hyphen
    Range{0x034F, 0x034F},    // combining grapheme joiner
    Range{0x0600, 0x0605},    // Arabic number signs
    Range{0x061C, 0x061C},    // Arabic letter mark
    Range{0x06DD, 0x06DD},    // Arabic end of ayah
    Range{0x070F, 0x070F},    // Syriac abbreviation mark
    Range{0x0890, 0x0891},    // Arabic pound and piastre marks
    Range{0x08E2, 0x08E2},    // Arabic disputed end of ayah
    Range{0x115F, 0x1160},    // Hangul fillers
    Range{0x17B4, 0x17B5},    // Khmer inherent vowels
    Range{0x180B, 0x180F},    // Mongolian variation selectors and vowel separator
    Range{0x200B, 0x200F},    // zero-width characters, left-to-right and right-to-left marks
    Range{0x2028, 0x202E},    // line and paragraph separators, bidirectional embeddings
    Range{0x2060, 0x206F},    // word joiner, bidirectional isolates, deprecated format characters
    Range{0x3164, 0x3164},    // Hangul filler
    Range{0xFE00, 0xFE0F},    // variation selectors
    Range{0xFEFF, 0xFEFF},    // byte order mark
    Range{0xFFA0, 0xFFA0},    // half-width Hangul filler
    Range{0xFFF0, 0xFFFB},    // kept for format characters; interlinear annotation
    Range{0x110BD, 0x110BD},  // Kaithi number sign
    Range{0x110CD, 0x110CD},  // Kaithi number sign above
    Range{0x13430, 0x1343F},  // Egyptian hieroglyph joiners
    Range{0x1BCA0, 0x1BCA3},  // shorthand format controls
    Range{0x1D173, 0x1D17A},  // musical beams, ties, slurs and phrases
    Range{0xE0000, 0xE0FFF},  // tags, variation selectors
};
// clang-format on

}  // namespace

bool isHiddenBeyondAscii(char32_t codePoint) {
    const auto* const row =
        std::lower_bound(kHidden.begin(), kHidden.end(), codePoint,
                         [](const Range& range, char32_t value) { return range.last < value; });
    return row != kHidden.end() && row->first <= codePoint;
}

}  // namespace ifdsweep
