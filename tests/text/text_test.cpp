// Texts in all the forms that the writers give them: natural reading, JSON strings, base64 and
// terminal escapes.

#include <array>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/hidden_characters.h"
#include "text/display_width.h"
#include "text/json_text.h"
#include "text/natural_text.h"
#include "text/terminal_text.h"
#include "write/rendering.h"

namespace {

using ifdsweep::TextForm;
using ifdsweep::TextOrigin;
using rendering::rendered;

/// The units that a tag's bytes become.
std::u16string signExtended(std::string_view bytes) {
    std::u16string units;
    for (const char byte : bytes) {
        units += static_cast<char16_t>(static_cast<signed char>(byte));
    }
    return units;
}

std::u16string zeroExtended(std::string_view bytes) {
    std::u16string units;
    for (const char byte : bytes) {
        units += static_cast<char16_t>(static_cast<unsigned char>(byte));
    }
    return units;
}

std::string jsonNatural(std::u16string_view units, TextOrigin origin = TextOrigin::tag) {
    return rendered(
        [&](ifdsweep::Output& output) { appendJsonNaturalText(output, units, origin); });
}

std::string terminalBytes(std::string_view bytes) {
    return rendered([&](ifdsweep::Output& output) { ifdsweep::appendTerminalText(output, bytes); });
}

std::string terminalNatural(std::u16string_view units, std::size_t limit = 1000,
                            TextOrigin origin = TextOrigin::tag) {
    return rendered([&](ifdsweep::Output& output) {
        ifdsweep::appendTerminalText(output, units, origin, limit);
    });
}

std::string jsonBytes(std::string_view bytes) {
    return rendered([&](ifdsweep::Output& output) { ifdsweep::appendJsonString(output, bytes); });
}

std::string jsonOnTerminal(std::string_view bytes) {
    return rendered([&](ifdsweep::Output& output) {
        output.setForTerminal(true);
        ifdsweep::appendJsonString(output, bytes);
    });
}

std::string jsonUnits(std::u16string_view units) {
    return rendered([&](ifdsweep::Output& output) { ifdsweep::appendJsonUnits(output, units); });
}

/// Calls with every code point that is no surrogate, and its UTF-8.
template <class Visit>
void forEachCodePoint(Visit&& visit) {
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        if (codePoint < 0xD800 || codePoint > 0xDFFF) {
            std::array<char, 4> bytes{};
            char* const end = ifdsweep::encodeUtf8(bytes.data(), codePoint);
            visit(codePoint, std::string(bytes.data(), end));
        }
    }
}

struct NaturalCase {
    const char* name;
    std::u16string units;
    TextOrigin origin;
    TextForm form;
    std::string text;  ///< in UTF-8
};

void PrintTo(const NaturalCase& row, std::ostream* stream) {
    *stream << row.name;
}

const NaturalCase kNaturalCases[] = {
    {"empty", u"", TextOrigin::tag, TextForm::ascii, ""},
    {"ascii", u"Camera", TextOrigin::tag, TextForm::ascii, "Camera"},
    {"utf8", signExtended("Z\xC3\xBCrich"), TextOrigin::tag, TextForm::utf8Bytes, "Zürich"},
    {"utf8FourBytes", signExtended("\xF0\x9F\x93\xB7"), TextOrigin::tag, TextForm::utf8Bytes,
     "\xF0\x9F\x93\xB7"},
    {"latin", signExtended("Z\xFCrich"), TextOrigin::tag, TextForm::windows1252Bytes, "Zürich"},
    {"codePage", signExtended("\x80 \x93x\x94"), TextOrigin::tag, TextForm::windows1252Bytes,
     "€ “x”"},
    {"undefinedInCodePage", signExtended("\x81\x8D\x8F\x90\x9D"), TextOrigin::tag,
     TextForm::windows1252Bytes, "\u0081\u008D\u008F\u0090\u009D"},
    {"overlongIsNoUtf8", signExtended("\xC0\x80"), TextOrigin::tag, TextForm::windows1252Bytes,
     "À€"},
    {"surrogateIsNoUtf8", signExtended("\xED\xA0\x80"), TextOrigin::tag, TextForm::windows1252Bytes,
     "í\u00A0€"},
    {"aboveUnicodeIsNoUtf8", signExtended("\xF4\x90\x80\x80"), TextOrigin::tag,
     TextForm::windows1252Bytes, "ô\u0090€€"},
    {"cutUtf8", signExtended("x\xE2\x82"), TextOrigin::tag, TextForm::windows1252Bytes, "xâ‚"},
    {"zeroExtendedUtf8", zeroExtended("\xC3\xA9"), TextOrigin::tag, TextForm::utf8Bytes, "é"},
    {"zeroExtendedLatin", zeroExtended("\xE9t\xE9"), TextOrigin::tag, TextForm::windows1252Bytes,
     "été"},
    {"neitherWidening", u"\u20AC\uFFE9", TextOrigin::tag, TextForm::utf16, "€\uFFE9"},
    {"fileName", u"caf\u00E9", TextOrigin::fileName, TextForm::utf16, "café"},
    {"fileNameOfHalfWidthLetters", u"\uFF83\uFF7D\uFF84", TextOrigin::fileName, TextForm::utf16,
     "ﾃｽﾄ"},
    {"fileNamePair", u"\U0001F4F7", TextOrigin::fileName, TextForm::utf16, "\U0001F4F7"},
};

class NaturalText : public testing::TestWithParam<NaturalCase> {};

TEST_P(NaturalText, ReadsTheText) {
    const NaturalCase& row = GetParam();
    EXPECT_EQ(ifdsweep::textForm(row.units, row.origin), row.form);
    EXPECT_EQ(nlohmann::json::parse(jsonNatural(row.units, row.origin)), row.text);
}

INSTANTIATE_TEST_SUITE_P(All, NaturalText, testing::ValuesIn(kNaturalCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(NaturalText, OnlyTheFileNameIsTrueUtf16) {
    EXPECT_EQ(ifdsweep::fieldTextOrigin("Filename"), TextOrigin::fileName);
    EXPECT_EQ(ifdsweep::fieldTextOrigin("Artist"), TextOrigin::tag);
    EXPECT_EQ(ifdsweep::fieldTextOrigin("XMP"), TextOrigin::packet);
    EXPECT_EQ(ifdsweep::fieldTextOrigin(""), TextOrigin::tag);
}

TEST(NaturalText, APrefixCutsNoCodePoint) {
    const std::u16string utf8 = signExtended("a\xE2\x82\xAC");
    for (const auto& [limit, length] :
         {std::pair{0U, 0U}, {1U, 1U}, {2U, 1U}, {3U, 1U}, {4U, 4U}}) {
        EXPECT_EQ(ifdsweep::naturalPrefix(utf8, TextForm::utf8Bytes, limit).size(), length)
            << limit;
    }
    const std::u16string pair = u"a\U0001F4F7";
    EXPECT_EQ(ifdsweep::naturalPrefix(pair, TextForm::utf16, 2), u"a");
    EXPECT_EQ(ifdsweep::naturalPrefix(pair, TextForm::utf16, 3), pair);
}

TEST(JsonText, EscapesWhatMustBe) {
    EXPECT_EQ(jsonBytes("plain"), R"("plain")");
    EXPECT_EQ(jsonBytes("\"\\/\b\f\n\r\t"), R"("\"\\/\b\f\n\r\t")");
    EXPECT_EQ(jsonBytes(std::string_view("\0\x1F\x7F", 3)), "\"\\u0000\\u001f\\u007f\"");
    EXPECT_EQ(jsonBytes("Zürich €"), "\"Zürich €\"");
}

TEST(JsonText, WhatNobodySeesIsEscapedOnATerminalAndReadsBack) {
    EXPECT_EQ(jsonOnTerminal("\u0080\u009B\u202E"), R"("\u0080\u009b\u202e")");
    EXPECT_EQ(jsonOnTerminal("\U000E0041"), R"("\udb40\udc41")");
    EXPECT_EQ(jsonNatural(signExtended("\x9D")), R"("\u009d")");
    forEachCodePoint([](char32_t codePoint, const std::string& utf8) {
        const std::string json = jsonOnTerminal(utf8);
        // nlohmann-json's parser, not ours, says that it is the same text.
        ASSERT_EQ(nlohmann::json::parse(json), utf8) << static_cast<std::uint32_t>(codePoint);
        const bool isEscaped = json.find(utf8) == std::string::npos;
        const bool isSyntax = codePoint == '"' || codePoint == '\\';
        ASSERT_EQ(isEscaped, !isSyntax && fixture::mustBeEscaped(codePoint))
            << static_cast<std::uint32_t>(codePoint);
    });
}

TEST(JsonText, ReplacesBytesThatAreNoUtf8) {
    EXPECT_EQ(jsonBytes("a\xFFz\xC3"), "\"a\uFFFDz\uFFFD\"");
    EXPECT_EQ(jsonBytes("\xED\xA0\x80"), "\"\uFFFD\uFFFD\uFFFD\"");
}

TEST(JsonText, EveryUnitSurvives) {
    EXPECT_EQ(jsonUnits(u"a\uFFE9"), "\"a\uFFE9\"");
    EXPECT_EQ(jsonUnits(u"\U0001F4F7"), "\"\U0001F4F7\"");
    EXPECT_EQ(jsonUnits({u"\xD83D", 1}), "\"\\ud83d\"");
    EXPECT_EQ(jsonUnits({u"\xDCF7\xD83D", 2}), "\"\\udcf7\\ud83d\"");
    EXPECT_EQ(jsonUnits({u"\xD83Dx", 2}), "\"\\ud83dx\"");
    EXPECT_EQ(jsonUnits({u"a\0b", 3}), "\"a\\u0000b\"");
}

TEST(JsonText, NaturalTextReplacesLoneSurrogates) {
    EXPECT_EQ(jsonNatural({u"a\xDC80", 2}, TextOrigin::fileName), "\"a\uFFFD\"");
}

TEST(JsonText, EverySingleUnitIsValidJson) {
    for (std::uint32_t unit = 0; unit < 0x10000; ++unit) {
        const std::u16string text(1, static_cast<char16_t>(unit));
        ASSERT_TRUE(nlohmann::json::accept(jsonNatural(text))) << unit;
        ASSERT_TRUE(nlohmann::json::accept(jsonNatural(text, TextOrigin::fileName))) << unit;
    }
}

TEST(JsonText, LongTextsCrossEveryBoundary) {
    for (const std::size_t size : {63U, 64U, 65U, 131071U, 131072U, 400000U}) {
        std::string text(size, 'x');
        text[size / 2] = '\n';
        EXPECT_EQ(nlohmann::json::parse(jsonBytes(text)), text);
        EXPECT_EQ(nlohmann::json::parse(jsonNatural(signExtended(text))), text);
    }
}

TEST(JsonText, OneUnitThatIsNotPlainIsSeenAtEveryPlace) {
    for (const std::size_t length : {1U, 7U, 8U, 9U, 15U, 16U, 17U, 63U, 64U, 65U, 256U, 257U}) {
        for (std::size_t place = 0; place < length; ++place) {
            for (const char16_t unit : u"\x01\x1F \"\\~\x7F\x80\x100\u2241\uFF22") {
                std::u16string units(length, u'A');
                units[place] = unit;
                const std::string utf8 = nlohmann::json::parse(jsonUnits(units));
                const std::string expected =
                    std::string(place, 'A') + rendered([&](ifdsweep::Output& output) {
                        output.commit(ifdsweep::encodeUtf8(output.reserve(4), unit));
                    }) +
                    std::string(length - 1 - place, 'A');
                ASSERT_EQ(utf8, expected);
                ASSERT_EQ(jsonUnits(units).find('\x7F'), std::string::npos);
                ASSERT_EQ(jsonBytes(expected).find('\x7F'), std::string::npos);
                ASSERT_EQ(nlohmann::json::parse(jsonBytes(expected)), expected);
                ASSERT_EQ(nlohmann::json::parse(jsonNatural(units, TextOrigin::fileName)),
                          expected);
            }
        }
    }
}

TEST(JsonText, Base64) {
    // The examples of RFC 4648, section 10.
    const std::pair<std::string_view, std::string_view> rows[] = {{"", ""},
                                                                  {"f", "Zg=="},
                                                                  {"fo", "Zm8="},
                                                                  {"foo", "Zm9v"},
                                                                  {"foob", "Zm9vYg=="},
                                                                  {"fooba", "Zm9vYmE="},
                                                                  {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, expected] : rows) {
        const std::vector<std::uint8_t> bytes(plain.begin(), plain.end());
        const std::string text =
            rendered([&](ifdsweep::Output& output) { ifdsweep::appendJsonBase64(output, bytes); });
        EXPECT_EQ(text, '"' + std::string(expected) + '"');
    }
    const std::vector<std::uint8_t> high{0xFB, 0xFF, 0xBF};
    EXPECT_EQ(rendered([&](ifdsweep::Output& output) { ifdsweep::appendJsonBase64(output, high); }),
              R"("+/+/")");
}

TEST(JsonText, LongBase64HasNoPaddingInside) {
    const std::vector<std::uint8_t> bytes(100000, 0);
    const std::string text =
        rendered([&](ifdsweep::Output& output) { ifdsweep::appendJsonBase64(output, bytes); });
    EXPECT_EQ(text.size(), 2U + 133336U);
    EXPECT_EQ(text.find('='), text.size() - 3);  // 100000 = 3 * 33333 + 1: two at the very end
}

struct TerminalCase {
    const char* name;
    std::string bytes;
    std::string shown;
};

void PrintTo(const TerminalCase& row, std::ostream* stream) {
    *stream << row.name;
}

const TerminalCase kTerminalCases[] = {
    {"plain", "photo 1.tif", "photo 1.tif"},
    {"letters", "Zürich 写真 \U0001F4F7", "Zürich 写真 \U0001F4F7"},
    {"escapeSequence", "\x1b[31mred\x1b[0m", R"(\x1b[31mred\x1b[0m)"},
    {"lineEnds", "a\nb\rc\td", R"(a\nb\rc\td)"},
    {"nulAndDelete", std::string("\0\x7F", 2), R"(\x00\x7f)"},
    {"backslash", R"(C:\x1b)", R"(C:\\x1b)"},
    {"c1Control", "\u009b31m", R"(\u009b31m)"},
    {"invalidBytes", "a\xFF\x80z", R"(a\xff\x80z)"},
    {"cutSequence", "\xE2\x82", R"(\xe2\x82)"},
    {"bidirectional", "\u202Egnp.exe\u2066\u200F\u061C", R"(\u202egnp.exe\u2066\u200f\u061c)"},
    {"separators", "\u2028\u2029", R"(\u2028\u2029)"},
    {"invisible", "\u00AD\u200B\uFEFF", R"(\u00ad\u200b\ufeff)"},
    {"tagCharacter", "\U000E0041", R"(\U000e0041)"},
    {"shorthandFormat", "a\U0001BCA0z", R"(a\U0001bca0z)"},
    {"musicalFormat", "a\U0001D173\U0001D17Az", R"(a\U0001d173\U0001d17az)"},
    {"joinedEmoji", "\U0001F468\u200D\U0001F469\uFE0F", "\U0001F468\\u200d\U0001F469\\ufe0f"},
    {"fillers", "\u115F\u1160\u3164\uFFA0", R"(\u115f\u1160\u3164\uffa0)"},
};

class TerminalText : public testing::TestWithParam<TerminalCase> {};

TEST_P(TerminalText, ShowsNothingThatATerminalObeys) {
    EXPECT_EQ(terminalBytes(GetParam().bytes), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(All, TerminalText, testing::ValuesIn(kTerminalCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(JsonText, ControlsAloneAreEscapedForAProgram) {
    forEachCodePoint([](char32_t codePoint, const std::string& utf8) {
        const bool isControl = codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F);
        const bool isSyntax = codePoint == '"' || codePoint == '\\';
        const std::string plain = '"' + utf8 + '"';
        ASSERT_EQ(jsonBytes(utf8) != plain, isControl || isSyntax)
            << static_cast<std::uint32_t>(codePoint);
    });
}

TEST(TerminalText, WhatNobodySeesIsEscapedAndNothingElse) {
    forEachCodePoint([](char32_t codePoint, const std::string& utf8) {
        const std::string shown = terminalBytes(utf8);
        const std::string expected = codePoint == '\\' ? R"(\\)" : utf8;
        if (fixture::mustBeEscaped(codePoint)) {
            ASSERT_EQ(shown.front(), '\\') << static_cast<std::uint32_t>(codePoint);
            ASSERT_TRUE(ifdsweep::isAscii<char>(shown)) << shown;
        } else {
            ASSERT_EQ(shown, expected) << static_cast<std::uint32_t>(codePoint);
        }
    });
}

TEST(TerminalText, TagTextIsReadNaturallyAndEscaped) {
    EXPECT_EQ(terminalNatural(signExtended("Z\xFCrich\x1b[0m")), R"(Zürich\x1b[0m)");
    EXPECT_EQ(terminalNatural(signExtended("\x9D")), R"(\u009d)");
}

TEST(TerminalText, BytesOfAFileNameShowAsBytes) {
    EXPECT_EQ(terminalNatural({u"a\xDCFF\xD800", 3}, 1000, TextOrigin::fileName), R"(a\xff\ud800)");
}

TEST(TerminalText, LongTextIsCutWithItsLength) {
    EXPECT_EQ(terminalNatural(u"abcdef", 6), "abcdef");
    EXPECT_EQ(terminalNatural(u"abcdefg", 6), "abcdef … 7 characters");
    // The part that is shown alone would be no UTF-8.
    EXPECT_EQ(terminalNatural(signExtended("a\xC3\xBC"), 2), "a … 3 characters");
}

TEST(DisplayWidth, IsTwoForWideCharacters) {
    // Unicode 15.0, EastAsianWidth.txt.
    for (const char32_t narrow : {U' ', U'a', U'~', U'\u00E9', U'\u0416', U'\u05D0', U'\u2026',
                                  U'\u2190', U'\u2500', U'\uFF61', U'\uFFFD', U'\U0001D400'}) {
        EXPECT_EQ(ifdsweep::displayColumns(narrow), 1U) << static_cast<std::uint32_t>(narrow);
    }
    for (const char32_t wide : {U'\u1100', U'\u115F', U'\u2E80', U'\u3000', U'\u3042', U'\u4E00',
                                U'\uA4CF', U'\uAC00', U'\uD7A3', U'\uF900', U'\uFF01', U'\uFF60',
                                U'\uFFE6', U'\U0001F600', U'\U00020000', U'\U0003FFFD'}) {
        EXPECT_EQ(ifdsweep::displayColumns(wide), 2U) << static_cast<std::uint32_t>(wide);
    }
}

}  // namespace
