// The columns of tables: unique names and numbers, one for each tag that has a name, words
// where the module has names of values; and what is asked for.

#include "columns/table_schema.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <tiff.h>

#include "dict/tag_rules.h"
#include "dict/value_names.h"
#include "names/known_names.h"
#include "support/whole_file.h"

namespace {

using ifdsweep::allColumns;
using ifdsweep::Column;
using ifdsweep::ColumnChoice;
using ifdsweep::columnTypeWord;
using ifdsweep::DirectoryKind;
using ifdsweep::ItemType;
using ifdsweep::Layout;
using ifdsweep::TableSchema;
using ifdsweep::TagValue;
using ifdsweep::UnknownColumn;

constexpr Layout kLayouts[] = {Layout::files, Layout::images, Layout::tags, Layout::warnings};

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

TEST(TableSchemaTest, ColumnsHaveNamesAndNumbersOfTheirOwnAndSayWhatTheyHold) {
    for (const Layout layout : kLayouts) {
        std::set<std::string> names;
        std::set<std::int32_t> numbers;
        for (const Column& column : allColumns(layout)) {
            SCOPED_TRACE(column.name);
            EXPECT_TRUE(names.insert(lowerCase(column.name)).second);
            EXPECT_TRUE(numbers.insert(column.id).second);
            EXPECT_GE(column.id, 1);
            EXPECT_TRUE(column.meaning.ends_with('.'));
            EXPECT_FALSE(column.source.empty());
        }
    }
}

/// Each column in a line: layout, number, name, type, and whether it is there unless others are
/// asked for.
std::string everyColumn() {
    std::string text;
    for (const Layout layout : kLayouts) {
        for (const Column& column : allColumns(layout)) {
            text.append(layoutWord(layout)).append("\t").append(std::to_string(column.id));
            text.append("\t").append(column.name).append("\t").append(columnTypeWord(column.type));
            text.append(column.isCore ? "\tcore\n" : "\tall\n");
        }
    }
    return text;
}

// Tables that were written before have these numbers, names and types. A column that is new gets a
// line of its own in the list; no line of it changes.
TEST(TableSchemaTest, TheNumbersNamesAndTypesOfColumnsStayAsTheyAre) {
    EXPECT_EQ(everyColumn(), fixture::readFile(IFDSWEEP_COLUMNS_LIST));
}

TEST(TableSchemaTest, ColumnsHoldEveryFieldTypeThatTheirTagsMayHave) {
    using Types = std::set<std::uint32_t>;
    const Types kSmall{TIFF_BYTE, TIFF_SHORT};
    const Types kIntegers{TIFF_BYTE, TIFF_SHORT, TIFF_LONG, TIFF_LONG8, TIFF_IFD, TIFF_IFD8};
    const Types kNumbers{TIFF_BYTE, TIFF_SHORT, TIFF_LONG, TIFF_RATIONAL};
    const std::map<ItemType, Types> kHeld{{ItemType::int32, kSmall},
                                          {ItemType::word, kSmall},
                                          {ItemType::int64, kIntegers},
                                          {ItemType::float64, kNumbers},
                                          {ItemType::utf8, {TIFF_ASCII}},
                                          {ItemType::time, {TIFF_ASCII}},
                                          {ItemType::binary, {TIFF_BYTE, TIFF_UNDEFINED}}};
    constexpr std::uint32_t kTypeCodes = 32;
    std::set<std::uint16_t> tags;
    for (const Column& column : allColumns(Layout::images)) {
        const auto* const rule = ifdsweep::module::fieldTypeRule(column.tag);
        if (column.takes == TagValue::none || column.kind != DirectoryKind::primary ||
            rule == nullptr) {
            continue;
        }
        SCOPED_TRACE(column.name);
        tags.insert(column.tag);
        for (std::uint32_t type = 0; type < kTypeCodes; ++type) {
            EXPECT_TRUE(!rule->accepts(type) || kHeld.at(column.type.item).count(type) == 1)
                << "type " << type;
        }
        EXPECT_TRUE(ifdsweep::module::requiredComponentCount(column.tag) == nullptr ||
                    !column.type.isList);
    }
    EXPECT_GT(tags.size(), 60U);
}

TEST(TableSchemaTest, EachTagThatHasANameIsAColumnOfImages) {
    std::map<std::pair<std::string_view, std::uint16_t>, std::string> columns;
    const std::map<DirectoryKind, std::string_view> kDictionaries{
        {DirectoryKind::primary, "TIFF"},
        {DirectoryKind::exif, "TIFF"},
        {DirectoryKind::gps, "GPS"},
        {DirectoryKind::interoperability, "Interoperability"}};
    for (const Column& column : allColumns(Layout::images)) {
        if (column.takes != TagValue::none) {
            columns.try_emplace({kDictionaries.at(column.kind), column.tag}, column.name);
        }
    }
    std::size_t tags = 0;
    for (const ifdsweep::KnownName& tag : ifdsweep::listKnownNames()) {
        if (tag.number) {
            ++tags;
            const auto column = columns.find({tag.dictionary, *tag.number});
            ASSERT_NE(column, columns.end()) << tag.name;
            EXPECT_TRUE(column->second == tag.name ||
                        column->second == "Exif_" + std::string(tag.name) ||
                        column->second == "Interop_" + std::string(tag.name))
                << column->second;
        }
    }
    EXPECT_EQ(columns.size(), tags);
}

TEST(TableSchemaTest, ValuesThatHaveNamesAreWordsAndNumbers) {
    std::map<std::string, const Column*> byName;
    for (const Column& column : allColumns(Layout::images)) {
        byName[column.name] = &column;
    }
    constexpr std::uint16_t kResolutionUnit = 296;
    for (const auto& [name, column] : byName) {
        if (column->takes == TagValue::none || name.ends_with("_code")) {
            continue;
        }
        const bool isTagOfDictionary =
            column->kind == DirectoryKind::primary || column->kind == DirectoryKind::exif;
        const bool hasNames =
            isTagOfDictionary && (ifdsweep::module::valueNames(column->tag) != nullptr ||
                                  column->tag == kResolutionUnit);
        EXPECT_EQ(column->type.item == ItemType::word, hasNames) << name;
        EXPECT_EQ(byName.count(name + "_code") == 1, hasNames) << name;
    }
}

TEST(TableSchemaTest, ATableHasTheColumnsThatAreAskedFor) {
    const auto namesOf = [](const TableSchema& schema) {
        std::vector<std::string> names;
        for (const Column& column : schema.columns) {
            names.push_back(column.name);
        }
        return names;
    };
    const TableSchema core = TableSchema::of(Layout::images);
    const TableSchema all = TableSchema::of(Layout::images, {ColumnChoice::Which::all});
    EXPECT_EQ(all.columns.size(), allColumns(Layout::images).size());
    EXPECT_LT(core.columns.size(), all.columns.size());
    EXPECT_TRUE(
        std::all_of(core.columns.begin(), core.columns.end(), std::mem_fn(&Column::isCore)));
    EXPECT_EQ(namesOf(TableSchema::of(Layout::images,
                                      {ColumnChoice::Which::named, {"Make", "XMP", "file_path"}})),
              (std::vector<std::string>{"Make", "XMP", "file_path"}));
    EXPECT_EQ(core.identity(), TableSchema::of(Layout::images).identity());
    EXPECT_NE(core.identity(), all.identity());
}

TEST(TableSchemaTest, AColumnThatIsNotThereIsNamedWithOthersLikeIt) {
    const auto complaintOf = [](std::vector<std::string> names) {
        try {
            static_cast<void>(
                TableSchema::of(Layout::images, {ColumnChoice::Which::named, std::move(names)}));
        } catch (const UnknownColumn& unknown) {
            return std::string(unknown.what());
        }
        return std::string();
    };
    EXPECT_EQ(complaintOf({"Maker"}), "no column Maker in images: Make, MakerNoteSafety?");
    EXPECT_EQ(complaintOf({"qqqqqqqqqqqq"}), "no column qqqqqqqqqqqq in images");
    EXPECT_EQ(complaintOf({"Make", "Make"}), "the column Make is asked for twice");
    EXPECT_EQ(complaintOf({}), "a table needs at least one column");
}

TEST(TableSchemaTest, LayoutsAndTypesHaveWords) {
    for (const Layout layout : kLayouts) {
        EXPECT_EQ(ifdsweep::layoutOfWord(ifdsweep::layoutWord(layout)), layout);
    }
    EXPECT_EQ(ifdsweep::layoutWord(Layout::warnings), "warnings");
    EXPECT_EQ(ifdsweep::layoutOfWord("pages"), std::nullopt);
    EXPECT_EQ(columnTypeWord({ItemType::float64, true}), "list<float64>");
    EXPECT_EQ(columnTypeWord({ItemType::unknownTag}), "unknownTag");
    EXPECT_STREQ(ifdsweep::arrowFormat(ItemType::instant), "tsu:UTC");
}

}  // namespace
