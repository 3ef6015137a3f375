#pragma once

// What must not reach a terminal as it is, by the Unicode Character Database, version 15.0: the
// tests' own copy, the rows of each property as its file has them. Constant data; any thread.

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace fixture {

using CodePoints = std::pair<char32_t, char32_t>;  ///< the first and the last of a range

// clang-format off
// extracted/DerivedGeneralCategory.txt: Cc, Zl and Zp
inline constexpr auto kControls = std::to_array<CodePoints>({
    {0x0000, 0x001F}, {0x007F, 0x009F}, {0x2028, 0x2028}, {0x2029, 0x2029},
});

// extracted/DerivedGeneralCategory.txt: Cf
inline constexpr auto kFormatCharacters = std::to_array<CodePoints>({
    {0x00AD, 0x00AD}, {0x0600, 0x0605}, {0x061C, 0x061C}, {0x06DD, 0x06DD},
    {0x070F, 0x070F}, {0x0890, 0x0891}, {0x08E2, 0x08E2}, {0x180E, 0x180E},
    {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2064}, {0x2066, 0x206F},
    {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0x110BD, 0x110BD}, {0x110CD, 0x110CD},
    {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0001, 0xE0001},
    {0xE0020, 0xE007F},
});

// DerivedCoreProperties.txt: Default_Ignorable_Code_Point
inline constexpr auto kIgnorableCharacters = std::to_array<CodePoints>({
    {0x00AD, 0x00AD}, {0x034F, 0x034F}, {0x061C, 0x061C}, {0x115F, 0x1160},
    {0x17B4, 0x17B5}, {0x180B, 0x180D}, {0x180E, 0x180E}, {0x180F, 0x180F},
    {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2064}, {0x2065, 0x2065},
    {0x2066, 0x206F}, {0x3164, 0x3164}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF},
    {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFF8}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
    {0xE0000, 0xE0000}, {0xE0001, 0xE0001}, {0xE0002, 0xE001F}, {0xE0020, 0xE007F},
    {0xE0080, 0xE00FF}, {0xE0100, 0xE01EF}, {0xE01F0, 0xE0FFF},
});
// clang-format on

/// Whether a code point must be shown as an escape.
constexpr bool mustBeEscaped(char32_t codePoint) {
    const auto isIn = [codePoint](const auto& rows) {
        return std::any_of(rows.begin(), rows.end(), [codePoint](const CodePoints& row) {
            return row.first <= codePoint && codePoint <= row.second;
        });
    };
    return isIn(kControls) || isIn(kFormatCharacters) || isIn(kIgnorableCharacters);
}

/// The first code point of a text that must be shown as an escape; none when the text is safe. A
/// text of lines may hold line feeds.
/// @param units UTF-16
constexpr std::optional<char32_t> firstUnsafe(std::u16string_view units) {
    for (std::size_t index = 0; index < units.size(); ++index) {
        char32_t codePoint = units[index];
        if (codePoint >= 0xD800 && codePoint <= 0xDBFF && index + 1 < units.size()) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (units[++index] - 0xDC00u);
        }
        if (codePoint != '\n' && mustBeEscaped(codePoint)) {
            return codePoint;
        }
    }
    return std::nullopt;
}

}  // namespace fixture
