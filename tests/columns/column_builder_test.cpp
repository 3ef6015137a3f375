// Column builders: what was set row by row, as it lies in the buffers of a column.

#include "columns/column_builder.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "columns/column_text.h"

namespace {

using fixture::columnText;
using ifdsweep::ColumnArray;
using ifdsweep::ColumnBuilder;
using ifdsweep::ColumnType;
using ifdsweep::ItemType;

/// What the format asks of every array, its children and dictionaries included.
void expectWellFormed(const ColumnArray& array) {
    for (const ifdsweep::ColumnBuffer& buffer : array.buffers) {
        EXPECT_EQ(std::bit_cast<std::uintptr_t>(buffer.bytes.get()) % 64, 0U);
        EXPECT_TRUE(buffer.bytes != nullptr || buffer.size == 0);
    }
    std::size_t nulls = 0;
    for (std::size_t row = 0; row < array.length; ++row) {
        nulls += array.isNull(row) ? 1U : 0U;
    }
    EXPECT_EQ(nulls, array.nullCount);
    EXPECT_TRUE(array.buffers[0].bytes != nullptr || array.nullCount == 0);
    EXPECT_EQ(array.buffers[0].size, array.nullCount == 0 ? 0 : (array.length + 7) / 8);
    for (const ColumnArray& child : array.children) {
        expectWellFormed(child);
    }
    for (const ColumnArray& texts : array.dictionary) {
        expectWellFormed(texts);
        EXPECT_EQ(texts.nullCount, 0U);
    }
}

std::string taken(ColumnBuilder& builder, std::size_t rows) {
    const ColumnArray array = builder.take(rows);
    EXPECT_EQ(array.length, rows);
    expectWellFormed(array);
    return columnText(array);
}

struct IntegerCase {
    const char* name;
    ItemType item;
    std::int64_t lowest;
    std::int64_t highest;
};

class IntegerColumns : public testing::TestWithParam<IntegerCase> {};

TEST_P(IntegerColumns, HoldWhatFitsTheirWidthAndNothingElse) {
    const auto& [name, item, lowest, highest] = GetParam();
    ColumnBuilder builder({item});
    builder.setInteger(0, lowest);
    builder.setInteger(2, highest);
    std::size_t rows = 3;
    if (highest != std::numeric_limits<std::int64_t>::max()) {
        builder.setInteger(rows++, lowest - 1);
        builder.setInteger(rows++, highest + 1);
        builder.setInteger(rows++, std::numeric_limits<std::int64_t>::min());
    }
    builder.setInteger(rows++, 1);
    const std::string misfits = rows == 4 ? "" : "null null null ";
    EXPECT_EQ(taken(builder, rows),
              std::to_string(lowest) + " null " + std::to_string(highest) + ' ' + misfits + '1');
}

INSTANTIATE_TEST_SUITE_P(
    Types, IntegerColumns,
    testing::Values(IntegerCase{"int16", ItemType::int16, -32768, 32767},
                    IntegerCase{"int32", ItemType::int32, -2147483648LL, 2147483647LL},
                    IntegerCase{"int64", ItemType::int64, std::numeric_limits<std::int64_t>::min(),
                                std::numeric_limits<std::int64_t>::max()},
                    IntegerCase{"time", ItemType::time, std::numeric_limits<std::int64_t>::min(),
                                std::numeric_limits<std::int64_t>::max()},
                    IntegerCase{"instant", ItemType::instant,
                                std::numeric_limits<std::int64_t>::min(),
                                std::numeric_limits<std::int64_t>::max()},
                    IntegerCase{"boolean", ItemType::boolean, 0, 1}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(ColumnBuilder, HasNoValidityWhereNothingIsNull) {
    ColumnBuilder builder({ItemType::int32});
    builder.setInteger(0, 7);
    builder.setInteger(1, 8);
    const ColumnArray array = builder.take(2);
    EXPECT_EQ(array.buffers[0].bytes, nullptr);
    EXPECT_EQ(array.nullCount, 0U);
    EXPECT_EQ(array.buffers[1].size, 8U);
    EXPECT_EQ(columnText(array), "7 8");
}

TEST(ColumnBuilder, TakesRowsThatWereNotSetAsNull) {
    for (const std::size_t row : {0U, 1U, 7U, 8U, 9U, 63U, 64U, 1000U}) {
        ColumnBuilder builder({ItemType::float64});
        builder.setNumber(row, 0.5);
        std::string expected;
        for (std::size_t before = 0; before < row; ++before) {
            expected += "null ";
        }
        EXPECT_EQ(taken(builder, row + 2), expected + "0.5 null") << row;
    }
}

TEST(ColumnBuilder, KeepsNotANumberApartFromNull) {
    ColumnBuilder builder({ItemType::float64});
    builder.setNumber(0, std::numeric_limits<double>::quiet_NaN());
    const ColumnArray array = builder.take(2);
    EXPECT_TRUE(std::isnan(array.number(0)));
    EXPECT_FALSE(array.isNull(0));
    EXPECT_TRUE(array.isNull(1));
}

TEST(ColumnBuilder, HoldsTextsOfAllSizes) {
    ColumnBuilder builder({ItemType::utf8});
    std::string expected;
    for (std::size_t row = 0; row < 300; ++row) {
        const std::string text(row * row % 97, static_cast<char>('a' + row % 26));
        if (row % 3 == 1) {
            expected += "null ";
        } else {
            builder.setText(row, text);
            expected += '"' + text + "\" ";
        }
    }
    EXPECT_EQ(taken(builder, 300) + ' ', expected);
}

TEST(ColumnBuilder, KeepsAnEmptyTextApartFromNull) {
    ColumnBuilder builder({ItemType::utf8});
    builder.setText(1, "");
    EXPECT_EQ(taken(builder, 3), "null \"\" null");
}

TEST(ColumnBuilder, HoldsBytesWithTheirZeros) {
    ColumnBuilder builder({ItemType::binary});
    builder.setBytes(0, std::array<std::uint8_t, 3>{0, 255, 0});
    builder.setBytes(1, {});
    const ColumnArray array = builder.take(2);
    EXPECT_EQ(array.text(0), std::string_view("\0\xFF\0", 3));
    EXPECT_EQ(array.text(1), "");
}

TEST(ColumnBuilder, TellsEachWordOnceInTheOrderInWhichTheyCame) {
    ColumnBuilder builder({ItemType::word});
    const std::array<const char*, 6> words{"LZW", "none", "none", "LZW", "", "none"};
    for (std::size_t row = 0; row < words.size(); ++row) {
        builder.setText(row + 1, words[row]);
    }
    const ColumnArray array = builder.take(7);
    expectWellFormed(array);
    EXPECT_EQ(columnText(array), R"(null "LZW" "none" "none" "LZW" "" "none")");
    EXPECT_EQ(columnText(array.dictionary[0]), R"("LZW" "none" "")");
}

TEST(ColumnBuilder, FindsEachOfManyWordsAgain) {
    constexpr std::size_t kWords = 5000;
    ColumnBuilder builder({ItemType::word});
    for (std::size_t row = 0; row < 3 * kWords; ++row) {
        builder.setText(row, "word " + std::to_string(row * 7 % kWords));
    }
    const ColumnArray array = builder.take(3 * kWords);
    EXPECT_EQ(array.dictionary[0].length, kWords);
    for (std::size_t row = 0; row < 3 * kWords; ++row) {
        ASSERT_EQ(array.text(row), "word " + std::to_string(row * 7 % kWords));
    }
}

TEST(ColumnBuilder, BeginsEachBatchWithoutWords) {
    ColumnBuilder builder({ItemType::word});
    builder.setText(0, "a");
    EXPECT_EQ(builder.take(1).dictionary[0].length, 1U);
    builder.setText(0, "b");
    const ColumnArray array = builder.take(1);
    EXPECT_EQ(columnText(array), "\"b\"");
    EXPECT_EQ(columnText(array.dictionary[0]), "\"b\"");
}

TEST(ColumnBuilder, HoldsListsEmptyOnesAndNulls) {
    ColumnBuilder builder({ItemType::int32, true});
    builder.beginList(1);
    builder.items().appendInteger(1);
    builder.items().appendNull();
    builder.items().appendInteger(3);
    builder.beginList(2);
    builder.beginList(4);
    builder.items().appendInteger(std::int64_t{1} << 40);
    EXPECT_EQ(taken(builder, 6), "null [1 null 3] [] null [null] null");
}

TEST(ColumnBuilder, HoldsListsOfTextsAndOfWords) {
    for (const ItemType item : {ItemType::utf8, ItemType::word}) {
        ColumnBuilder builder({item, true});
        builder.beginList(0);
        builder.items().appendText("a");
        builder.items().appendText("b");
        builder.beginList(1);
        builder.items().appendText("a");
        EXPECT_EQ(taken(builder, 2), R"(["a" "b"] ["a"])");
    }
}

TEST(ColumnBuilder, HoldsListsOfRationals) {
    ColumnBuilder builder({ItemType::rational, true});
    builder.beginList(1);
    for (const std::int64_t number : {1, 2}) {
        const std::size_t row = builder.items().size();
        builder.items().setStruct(row);
        builder.items().member(0).setInteger(row, number);
        builder.items().member(1).setInteger(row, 0);
    }
    EXPECT_EQ(taken(builder, 2), "null [{1 0} {2 0}]");
}

TEST(ColumnBuilder, HoldsTagsWithoutNamesWhoseMembersMayBeNull) {
    ColumnBuilder builder({ItemType::unknownTag, true});
    builder.beginList(0);
    ColumnBuilder& tags = builder.items();
    tags.setStruct(0);
    tags.member(0).setInteger(0, 65000);
    tags.member(2).setInteger(0, 2);
    tags.member(5).beginList(0);
    tags.member(5).items().appendNumber(0.5);
    tags.member(5).items().appendNumber(-1);
    tags.setStruct(1);
    tags.member(0).setInteger(1, 65001);
    tags.member(4).setText(1, "text");
    EXPECT_EQ(taken(builder, 1),
              R"([{65000 null 2 null null [0.5 -1]} {65001 null null null "text" null}])");
}

TEST(ColumnBuilder, SetsARowAnewAndTakesBackThoseBehindIt) {
    ColumnBuilder numbers({ItemType::int32});
    numbers.setInteger(0, 1);
    numbers.setInteger(3, 2);
    numbers.setInteger(3, 3);
    EXPECT_EQ(taken(numbers, 4), "1 null null 3");
    numbers.setInteger(0, 1);
    numbers.setInteger(3, 2);
    numbers.setInteger(1, 4);
    EXPECT_EQ(taken(numbers, 2), "1 4");

    ColumnBuilder flags({ItemType::boolean});
    flags.setInteger(0, 1);
    flags.setInteger(9, 1);
    flags.setInteger(9, 0);
    EXPECT_EQ(taken(flags, 11), "1 null null null null null null null null 0 null");

    ColumnBuilder texts({ItemType::utf8});
    texts.setText(0, "long");
    texts.setText(1, "longer");
    texts.setText(1, "no");
    EXPECT_EQ(taken(texts, 3), R"("long" "no" null)");

    ColumnBuilder lists({ItemType::utf8, true});
    lists.beginList(0);
    lists.items().appendText("a");
    lists.beginList(1);
    lists.items().appendText("b");
    lists.items().appendText("c");
    lists.beginList(1);
    lists.items().appendText("d");
    EXPECT_EQ(taken(lists, 2), R"(["a"] ["d"])");

    ColumnBuilder pairs({ItemType::rational});
    pairs.setStruct(0);
    pairs.member(0).setInteger(0, 5);
    pairs.setStruct(0);
    pairs.member(1).setInteger(0, 6);
    EXPECT_EQ(taken(pairs, 1), "{null 6}");
}

TEST(ColumnBuilder, TakesOnlySoManyRows) {
    ColumnBuilder builder({ItemType::int16});
    for (std::size_t row = 0; row < 20; ++row) {
        builder.setInteger(row, static_cast<std::int64_t>(row));
    }
    EXPECT_EQ(taken(builder, 3), "0 1 2");
}

class EveryType : public testing::TestWithParam<ItemType> {};

/// Sets a row to a value that is there for every type.
void setSomething(ColumnBuilder& builder, std::size_t row, std::int64_t number) {
    if (builder.type().isList) {
        builder.beginList(row);
        for (std::int64_t item = 0; item < number % 3; ++item) {
            setSomething(builder.items(), builder.items().size(), number + item);
        }
        return;
    }
    switch (builder.type().item) {
        case ItemType::float64:
            builder.setNumber(row, static_cast<double>(number));
            break;
        case ItemType::utf8:
        case ItemType::binary:
        case ItemType::word:
            builder.setText(row, std::to_string(number));
            break;
        case ItemType::rational:
            builder.setStruct(row);
            builder.member(0).setInteger(row, number);
            builder.member(1).setInteger(row, -number);
            break;
        case ItemType::unknownTag:
            builder.setStruct(row);
            builder.member(0).setInteger(row, number);
            break;
        default:
            builder.setInteger(row, number % 2);
    }
}

TEST_P(EveryType, IsAColumnOfNullsWhereNothingWasSet) {
    for (const bool isList : {false, true}) {
        for (const std::size_t rows : {0U, 1U, 8U, 65536U, 70000U}) {
            ColumnBuilder builder({GetParam(), isList});
            const ColumnArray array = builder.take(rows);
            EXPECT_EQ(array.type, (ColumnType{GetParam(), isList}));
            EXPECT_EQ(array.length, rows);
            EXPECT_EQ(array.nullCount, rows);
            expectWellFormed(array);
            for (const std::size_t row : {std::size_t{0}, rows / 2, rows - 1}) {
                EXPECT_TRUE(rows == 0 || array.isNull(row));
            }
        }
    }
}

TEST_P(EveryType, HasTheSameBatchAgainOfABuilderThatWasUsed) {
    for (const bool isList : {false, true}) {
        ColumnBuilder builder({GetParam(), isList});
        std::vector<std::string> texts;
        for (int turn = 0; turn < 3; ++turn) {
            for (std::size_t row = 0; row < 500; ++row) {
                if (row % 7 != 3) {
                    setSomething(builder, row, static_cast<std::int64_t>(row));
                }
            }
            EXPECT_GT(builder.byteCount(), 0U);
            texts.push_back(taken(builder, 500));
            EXPECT_EQ(builder.size(), 0U);
            EXPECT_EQ(builder.byteCount(), 0U);
        }
        EXPECT_EQ(texts[0], texts[1]);
        EXPECT_EQ(texts[0], texts[2]);
    }
}

TEST_P(EveryType, RefusesValuesOfAnotherKind) {
    const ItemType item = GetParam();
    ColumnBuilder builder({item});
    const bool isText =
        item == ItemType::utf8 || item == ItemType::binary || item == ItemType::word;
    const bool isStruct = item == ItemType::rational || item == ItemType::unknownTag;
    const bool isReal = item == ItemType::float64;
    if (isText || isStruct || isReal) {
        EXPECT_THROW(builder.setInteger(0, 1), std::logic_error);
    }
    if (!isReal) {
        EXPECT_THROW(builder.setNumber(0, 1), std::logic_error);
    }
    if (!isText) {
        EXPECT_THROW(builder.setText(0, "1"), std::logic_error);
    }
    if (!isStruct) {
        EXPECT_THROW(builder.setStruct(0), std::logic_error);
    }
    EXPECT_THROW(builder.beginList(0), std::logic_error);
    ColumnBuilder list({item, true});
    EXPECT_THROW(list.setInteger(0, 1), std::logic_error);
    EXPECT_EQ(taken(builder, 2), "null null");
    EXPECT_EQ(taken(list, 2), "null null");
}

INSTANTIATE_TEST_SUITE_P(Types, EveryType,
                         testing::Values(ItemType::int16, ItemType::int32, ItemType::int64,
                                         ItemType::float64, ItemType::boolean, ItemType::utf8,
                                         ItemType::binary, ItemType::word, ItemType::time,
                                         ItemType::instant, ItemType::rational,
                                         ItemType::unknownTag));

TEST(ColumnBuilder, CountsTheBytesThatItsArrayHas) {
    ColumnBuilder builder({ItemType::utf8, true});
    for (std::size_t row = 0; row < 1000; ++row) {
        builder.beginList(2 * row);
        builder.items().appendText("0123456789");
    }
    const std::size_t counted = builder.byteCount();
    const std::size_t had = builder.take(2000).byteCount();
    EXPECT_NEAR(static_cast<double>(counted), static_cast<double>(had), 64);
}

TEST(ColumnBuilder, RefusesMoreTextThanOffsetsCanTell) {
    ColumnBuilder builder({ItemType::utf8});
    builder.setText(0, "kept");
    const std::string_view tooLong("", std::size_t{1} << 31);
    EXPECT_THROW(builder.setText(1, tooLong), std::length_error);
    builder.setText(2, "too");
    EXPECT_EQ(taken(builder, 3), R"("kept" null "too")");
}

TEST(ColumnBuilder, GivesBuffersAwayThatOutliveIt) {
    std::vector<ColumnArray> arrays;
    {
        ColumnBuilder builder({ItemType::utf8});
        for (const char* const text : {"first", "second"}) {
            builder.setText(0, text);
            arrays.push_back(builder.take(1));
        }
    }
    EXPECT_EQ(columnText(arrays[0]), "\"first\"");
    EXPECT_EQ(columnText(arrays[1]), "\"second\"");
}

}  // namespace
