#include "text/natural_text.h"

#include <algorithm>
#include <array>

namespace ifdsweep {
namespace {

// Windows-1252, bytes 0x80 to 0x9F; the others are the code points of the same number.
constexpr std::array<char16_t, 32> kWindows1252{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr bool isSignExtended(char16_t unit) {
    return unit < 0x80 || unit >= 0xFF80;
}
constexpr bool isZeroExtended(char16_t unit) {
    return unit < 0x100;
}

}  // namespace

TextForm textForm(std::u16string_view units, TextOrigin origin) {
    if (isAscii(units)) {
        return TextForm::ascii;
    }
    const bool bytes = origin != TextOrigin::fileName &&
                       (std::all_of(units.begin(), units.end(), isSignExtended) ||
                        std::all_of(units.begin(), units.end(), isZeroExtended));
    if (!bytes) {
        return TextForm::utf16;
    }
    return isUtf8(units) ? TextForm::utf8Bytes : TextForm::windows1252Bytes;
}

TextOrigin fieldTextOrigin(std::string_view fieldName) {
    return fieldName == "Filename" ? TextOrigin::fileName
           : fieldName == "XMP"    ? TextOrigin::packet
                                   : TextOrigin::tag;
}

std::u16string_view naturalPrefix(std::u16string_view units, TextForm form, std::size_t limit) {
    if (units.size() <= limit) {
        return units;
    }
    // A unit that carries on the code point before it: a trailing byte, a low surrogate.
    const auto carriesOn = [form](char16_t unit) {
        return (form == TextForm::utf8Bytes && (unit & 0xC0) == 0x80) ||
               (form == TextForm::utf16 && (unit & 0xFC00) == 0xDC00);
    };
    while (limit > 0 && carriesOn(units[limit])) {
        --limit;
    }
    return units.substr(0, limit);
}

char32_t windows1252CodePoint(std::uint8_t byte) {
    return byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80u] : byte;
}

}  // namespace ifdsweep
