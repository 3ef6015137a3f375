// The values of entries as typed items; what the bytes of texts, dates and zones come to.

#include "columns/entry_items.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "pack/packed_files.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace {

using fixture::Entry;
using ifdsweep::characterText;
using ifdsweep::clockTime;
using ifdsweep::codedText;
using ifdsweep::EntryItems;
using ifdsweep::fieldTypeName;
using ifdsweep::isOpenClock;
using ifdsweep::ItemKind;
using ifdsweep::wideText;
using ifdsweep::zoneMinutes;

using namespace std::string_view_literals;

TEST(EntryItemsTest, FieldTypesHaveTheNamesOfTheStandards) {
    EXPECT_EQ(fieldTypeName(1), "BYTE");
    EXPECT_EQ(fieldTypeName(10), "SRATIONAL");
    EXPECT_EQ(fieldTypeName(18), "IFD8");
    for (const std::uint16_t unknown : std::initializer_list<std::uint16_t>{0, 14, 15, 19, 129}) {
        EXPECT_EQ(fieldTypeName(unknown), "") << unknown;
    }
}

TEST(EntryItemsTest, CharactersAreUtf8OrElseWindows1252) {
    struct Row {
        std::string_view bytes;
        std::string_view text;
        bool wasUtf8;
    };
    const Row kRows[] = {
        {""sv, "", true},
        {"Canon\0"sv, "Canon", true},
        {"one\0two\0\0"sv, "one\0two"sv, true},
        {"\xC3\xA9\0"sv, "\xC3\xA9", true},
        {"\xE9t\xE9"sv, "\xC3\xA9t\xC3\xA9", false},
        {"\xC3\xA9 \xE9"sv, "\xC3\x83\xC2\xA9 \xC3\xA9", false},
        {"\x80"sv, "\xE2\x82\xAC", false},
        {"\xED\xA0\x80"sv, "\xC3\xAD\xC2\xA0\xE2\x82\xAC", false},
    };
    for (const Row& row : kRows) {
        const auto [text, wasUtf8] = characterText(row.bytes);
        EXPECT_EQ(text, row.text);
        EXPECT_EQ(wasUtf8, row.wasUtf8) << row.text;
    }
}

TEST(EntryItemsTest, TextsInUtf16BecomeUtf8) {
    EXPECT_EQ(wideText("a\0\xE9\0\0\0"sv), "a\xC3\xA9");
    EXPECT_EQ(wideText("\x3D\xD8\x00\xDE"sv), "\xF0\x9F\x98\x80");
    EXPECT_EQ(wideText("\x3D\xD8"sv), "\xEF\xBF\xBD");
    EXPECT_EQ(wideText("a\0b"sv), std::nullopt);
    EXPECT_EQ(wideText(""sv), "");
}

TEST(EntryItemsTest, CommentsAreReadByTheirCharacterCode) {
    EXPECT_EQ(codedText("ASCII\0\0\0hello\0"sv), "hello");
    EXPECT_EQ(codedText("UNICODE\0h\0i\0"sv), "hi");
    EXPECT_EQ(codedText("UNICODE\0\0h\0i"sv), "hi");
    EXPECT_EQ(codedText("\0\0\0\0\0\0\0\0plain"sv), "plain");
    EXPECT_EQ(codedText("no code at all"sv), "no code at all");
    EXPECT_EQ(codedText("JIS\0\0\0\0\0\x30\x21"sv), std::nullopt);
    EXPECT_EQ(codedText("\x01\x02\x03\x04\x05\x06\x07\x08"sv), std::nullopt);
}

TEST(EntryItemsTest, DatesAreMicrosecondsOfAClockWithoutAZone) {
    constexpr std::int64_t kSecond = 1'000'000;
    EXPECT_EQ(clockTime("1970:01:01 00:00:00"), 0);
    EXPECT_EQ(clockTime("1970:01:02 00:00:01"), 86'401 * kSecond);
    EXPECT_EQ(clockTime("2000-02-29T12:30:15"), 951'827'415 * kSecond);
    EXPECT_EQ(clockTime("2024:05:17 09:30:00 "), 1'715'938'200 * kSecond);
    EXPECT_EQ(clockTime("1969:12:31 23:59:59"), -kSecond);
    EXPECT_EQ(clockTime("2016:12:31 23:59:60"), 1'483'228'800 * kSecond);
    for (const char* text : {"", "2024", "2024:05:17", "2024:05:17 09:30", "2023:02:29 00:00:00",
                             "2024:13:01 00:00:00", "2024:00:01 00:00:00", "0000:00:00 00:00:00",
                             "2024:05:17 24:00:00", "2024:05:17 00:60:00", "2024:05:17 00:00:61",
                             "2024:05:17 09:30:00Z", "-024:05:17 09:30:00", "2024:5:17 09:30:00",
                             "    :  :     :  :  ", "+123:01:01 00:00:00"}) {
        EXPECT_EQ(clockTime(text), std::nullopt) << text;
    }
    EXPECT_TRUE(isOpenClock("0000:00:00 00:00:00"));
    EXPECT_TRUE(isOpenClock("    :  :     :  :  "));
    EXPECT_TRUE(isOpenClock(""));
    EXPECT_FALSE(isOpenClock("2024:00:00 00:00:00"));
}

TEST(EntryItemsTest, ZonesAreMinutes) {
    EXPECT_EQ(zoneMinutes("+01:00"), 60);
    EXPECT_EQ(zoneMinutes("-03:30"), -210);
    EXPECT_EQ(zoneMinutes("+0545"), 345);
    EXPECT_EQ(zoneMinutes("Z"), 0);
    EXPECT_EQ(zoneMinutes(" +14:00 "), 840);
    for (const char* text : {"", "01:00", "+15:00", "+01:60", "+1:00", "+01:00x", "+", "+ab:cd"}) {
        EXPECT_EQ(zoneMinutes(text), std::nullopt) << text;
    }
}

class EntryItemsOfFilesTest : public fixture::TiffMatrix {
protected:
    /// The items of the first entry with the tag of a file with these entries.
    template <class Look>
    static void look(const fixture::Directory& directory, std::uint16_t tag, Look&& look,
                     const ifdsweep::ReadOptions& options = {}) {
        const ifdsweep::PackedFile file = fixture::packed(fileOf({directory}).bytes, options);
        for (const ifdsweep::PackedEntryRow& entry : file.entries()) {
            if (entry.tag == tag) {
                look(EntryItems(file, entry));
                return;
            }
        }
        FAIL() << "no entry of tag " << tag;
    }
};

IFDSWEEP_TIFF_MATRIX(EntryItemsOfFilesTest);

TEST_P(EntryItemsOfFilesTest, ItemsAreTheNumbersOfTheFile) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    constexpr double kBound = 9223372036854775808.0;  // 2^63
    using Integers = std::vector<std::optional<std::int64_t>>;
    using Numbers = std::vector<std::optional<double>>;
    struct Row {
        Entry entry;
        ItemKind kind;
        Integers integers;
        Numbers numbers;
        bool isOfBigTiff = false;
    };
    const auto entry = [](std::uint16_t type, const std::vector<std::int64_t>& values) {
        return fixture::numbers(fixture::kUnknownTag, type, values);
    };
    const Row kRows[] = {
        {entry(fixture::kByte, {0, 255}), ItemKind::integers, {0, 255}, {0, 255}},
        {entry(fixture::kSByte, {-128, 127}), ItemKind::integers, {-128, 127}, {-128, 127}},
        {entry(fixture::kShort, {65535}), ItemKind::integers, {65535}, {65535}},
        {entry(fixture::kSShort, {-32768}), ItemKind::integers, {-32768}, {-32768}},
        {entry(fixture::kLong, {4294967295}), ItemKind::integers, {4294967295}, {4294967295}},
        {entry(fixture::kSLong, {-2147483648}), ItemKind::integers, {-2147483648}, {-2147483648}},
        {entry(fixture::kIfd, {8}), ItemKind::integers, {8}, {8}},
        {entry(fixture::kRational, {1, 2, 4294967295, 1, 3, 0}),
         ItemKind::rationals,
         {std::nullopt, std::nullopt, std::nullopt},
         {0.5, 4294967295, std::nullopt}},
        {entry(fixture::kSRational, {-1, 2, -2147483648, -1, 0, 0}),
         ItemKind::rationals,
         {std::nullopt, std::nullopt, std::nullopt},
         {-0.5, 2147483648, std::nullopt}},
        {fixture::floats(fixture::kUnknownTag, {1.5F, -2}),
         ItemKind::reals,
         {std::nullopt, -2},
         {1.5, -2}},
        {fixture::doubles(fixture::kUnknownTag, {kInfinity, kNan, 1e300, kBound, -kBound}),
         ItemKind::reals,
         {std::nullopt, std::nullopt, std::nullopt, std::nullopt, kLeast},
         {kInfinity, kNan, 1e300, kBound, -kBound}},
        {fixture::ascii(fixture::kUnknownTag, "ab"),
         ItemKind::characters,
         {std::nullopt, std::nullopt},
         {std::nullopt, std::nullopt}},
        {entry(fixture::kUndefined, {0, 255}), ItemKind::bytes, {0, 255}, {0, 255}},
        {entry(fixture::kSLong8, {kLeast}), ItemKind::integers, {kLeast}, {-kBound}, true},
        {entry(fixture::kLong8, {kLeast, 7}),
         ItemKind::integers,
         {std::nullopt, 7},
         {kBound, 7},
         true},
        {entry(fixture::kIfd8, {-1}), ItemKind::integers, {std::nullopt}, {2 * kBound}, true},
        {entry(fixture::kShort, {1}).withType(99), ItemKind::none, {}, {}},
        {entry(fixture::kShort, {1}).withType(0), ItemKind::none, {}, {}},
    };
    for (const Row& row : kRows) {
        if (row.isOfBigTiff && !format().isBig()) {
            continue;
        }
        SCOPED_TRACE("type " + std::to_string(row.entry.type));
        look({row.entry}, fixture::kUnknownTag, [&row](const EntryItems& items) {
            EXPECT_EQ(items.kind(), row.kind);
            ASSERT_EQ(items.size(), row.integers.size());
            for (std::size_t index = 0; index < items.size(); ++index) {
                EXPECT_EQ(items.integer(index), row.integers[index]);
                const auto number = items.number(index);
                const bool areNone = number && row.numbers[index] && std::isnan(*number) &&
                                     std::isnan(*row.numbers[index]);
                EXPECT_TRUE(areNone || number == row.numbers[index]) << index;
            }
            EXPECT_EQ(items.integer(items.size()), std::nullopt);
            EXPECT_EQ(items.number(items.size()), std::nullopt);
            EXPECT_EQ(items.digits(items.size()), "");
        });
    }
}

TEST_P(EntryItemsOfFilesTest, RationalsAreExact) {
    look({fixture::numbers(fixture::kUnknownTag, fixture::kSRational, {-3, 6, 1, 0})},
         fixture::kUnknownTag, [](const EntryItems& items) {
             EXPECT_EQ(items.rational(0).numerator, -3);
             EXPECT_EQ(items.rational(0).denominator, 6);
             EXPECT_EQ(items.rational(1).numerator, 1);
             EXPECT_EQ(items.rational(1).denominator, 0);
             EXPECT_EQ(items.rational(2).denominator, 0);
         });
}

TEST_P(EntryItemsOfFilesTest, DigitsTellNumbersThatNoSignedOneHolds) {
    look({fixture::numbers(fixture::kUnknownTag, fixture::kSLong, {-5})}, fixture::kUnknownTag,
         [](const EntryItems& items) { EXPECT_EQ(items.digits(0), "-5"); });
    if (format().isBig()) {
        look({fixture::numbers(fixture::kUnknownTag, fixture::kLong8, {-1})}, fixture::kUnknownTag,
             [](const EntryItems& items) { EXPECT_EQ(items.digits(0), "18446744073709551615"); });
    }
}

TEST_P(EntryItemsOfFilesTest, DefaultsAreReals) {
    constexpr std::uint16_t kCompression = 259;
    look({fixture::shorts(256, {1})}, kCompression, [](const EntryItems& items) {
        EXPECT_EQ(items.kind(), ItemKind::reals);
        ASSERT_EQ(items.size(), 1U);
        EXPECT_EQ(items.integer(0), 1);
        EXPECT_EQ(items.number(0), 1.0);
    });
}

TEST_P(EntryItemsOfFilesTest, AValueThatWasNotLoadedHasNoItems) {
    const auto isEmpty = [](const EntryItems& items) {
        EXPECT_EQ(items.kind(), ItemKind::none);
        EXPECT_EQ(items.size(), 0U);
        EXPECT_EQ(items.bytes(), "");
        EXPECT_EQ(items.integer(0), std::nullopt);
    };
    const Entry entry = fixture::longs(fixture::kUnknownTag, {1, 2, 3, 4, 5});
    look({entry}, fixture::kUnknownTag, isEmpty, {.longestValue = 8});
    look({entry.withCount(1U << 30U)}, fixture::kUnknownTag, isEmpty);
}

}  // namespace
