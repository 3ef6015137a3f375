// Tables readers: several tables of the same files in one pass, and what `tags` leaves to `images`.

#include "columns/tables_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "columns/table_cells.h"
#include "columns/table_schema.h"
#include "pack/file_packer.h"
#include "pack/packed_files.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace {

using namespace std::string_view_literals;
using fixture::ascii;
using fixture::Cells;
using fixture::Chain;
using fixture::numbers;
using fixture::shorts;
using ifdsweep::BatchLimits;
using ifdsweep::ColumnChoice;
using ifdsweep::FillLimits;
using ifdsweep::Layout;
using ifdsweep::NumberedFile;
using ifdsweep::PackedFile;
using ifdsweep::TableSchema;
using Files = std::vector<std::shared_ptr<const PackedFile>>;
using Rows = std::vector<Cells>;

TableSchema schemaOf(Layout layout, ColumnChoice::Which which = ColumnChoice::Which::all) {
    return TableSchema::of(layout, {which});
}

/// The rows of each table, and the greatest number of rows of a batch.
struct Read {
    std::vector<Rows> tables;
    std::size_t longest = 0;
};

Read readTogether(const Files& files, const std::vector<TableSchema>& schemas,
                  const BatchLimits& limits = {}, const FillLimits& fill = {}) {
    std::size_t next = 0;
    ifdsweep::TablesReader reader(
        schemas,
        [&]() -> std::optional<NumberedFile> {
            if (next == files.size()) {
                return std::nullopt;
            }
            const auto id = static_cast<std::int64_t>(10 * next);
            return NumberedFile{files[next++], id};
        },
        limits, fill);
    Read read{std::vector<Rows>(schemas.size())};
    while (const auto batch = reader.next()) {
        read.longest = std::max(read.longest, batch->rows.rows);
        EXPECT_GT(batch->rows.rows, 0U);
        fixture::appendCells(read.tables[batch->table], schemas[batch->table], batch->rows);
    }
    EXPECT_FALSE(reader.next().has_value());
    return read;
}

class TablesReaderTest : public fixture::TiffMatrix {
protected:
    /// A file of two images with Exif data, and one that cannot be read.
    [[nodiscard]] static Files files() {
        using enum fixture::FieldType;
        const Chain images = {
            {shorts(256, {7}), shorts(259, {1}), ascii(271, "Maker\0"sv),
             shorts(fixture::kUnknownTag, {1, 2}), numbers(282, kRational, {1, 0})},
            {shorts(256, {8}), ascii(257, "misfit\0"sv)},
        };
        Files made;
        for (const fixture::Bytes& bytes :
             {fileOf(images).bytes, fixture::Bytes{0x49, 0x49, 0x2A}}) {
            made.push_back(std::make_shared<const PackedFile>(fixture::packed(bytes)));
        }
        return made;
    }
};

INSTANTIATE_TEST_SUITE_P(EveryFormat, TablesReaderTest, testing::ValuesIn(fixture::kFormats),
                         fixture::formatName);

TEST_P(TablesReaderTest, TablesAreThoseThatAreReadOneByOne) {
    const std::vector<TableSchema> schemas = {schemaOf(Layout::files), schemaOf(Layout::images),
                                              schemaOf(Layout::tags), schemaOf(Layout::warnings)};
    for (const std::size_t batchRows : {1U, 2U, 1000U}) {
        const Read read = readTogether(files(), schemas, {.rows = batchRows});
        EXPECT_LE(read.longest, batchRows);
        for (std::size_t table = 0; table < schemas.size(); ++table) {
            Rows expected = fixture::cellsOf(files(), schemas[table]);
            for (Cells& row : expected) {
                row["file_id"] += row["file_id"] == "0" ? "" : "0";
            }
            EXPECT_EQ(read.tables[table], expected);
        }
    }
}

TEST_P(TablesReaderTest, ABatchIsGivenWhenItsBytesAreMany) {
    const Read read =
        readTogether(files(), {schemaOf(Layout::tags), schemaOf(Layout::files)}, {.bytes = 1});
    EXPECT_EQ(read.longest, 1U);
    EXPECT_EQ(read.tables[0].size(), fixture::cellsOf(files(), schemaOf(Layout::tags)).size());
}

TEST_P(TablesReaderTest, WithoutFilesThereIsNoBatch) {
    EXPECT_EQ(readTogether({}, {schemaOf(Layout::images)}).longest, 0U);
    EXPECT_EQ(readTogether(files(), {}).longest, 0U);
}

/// The tags of the stored entries that have rows, by their directories.
std::map<std::string, std::string> tagsLeft(const Files& files, const TableSchema& images) {
    FillLimits limits;
    limits.held = std::make_shared<std::vector<bool>>();
    const Read read = readTogether(files, {images, schemaOf(Layout::tags)}, {}, limits);
    std::map<std::string, std::string> tags;
    for (const Cells& row : read.tables[1]) {
        if (row.at("stored") == "1") {
            tags[row.at("dir_path")] += row.at("tag") + " ";
        }
    }
    return tags;
}

TEST_P(TablesReaderTest, TagsHaveWhatImagesDoNotHold) {
    using Left = std::map<std::string, std::string>;
    const std::string unknown = std::to_string(fixture::kUnknownTag) + " ";
    // A tag without a name, a zero denominator, and a length that is a text.
    EXPECT_EQ(tagsLeft(files(), schemaOf(Layout::images)),
              (Left{{"0", unknown + "282 "}, {"1", "257 "}}));
    const TableSchema few =
        TableSchema::of(Layout::images, {ColumnChoice::Which::named, {"Make", "Width"}});
    EXPECT_EQ(tagsLeft(files(), few), (Left{{"0", "259 " + unknown + "282 "}, {"1", "257 "}}));
}

TEST_P(TablesReaderTest, TagsHaveValuesThatTheirColumnsDoNotTellApart) {
    using enum fixture::FieldType;
    struct Row {
        fixture::Entry entry;
        std::vector<std::string> columns;
        bool isLeft;
    };
    const fixture::Entry time = ascii(306, "2026:11:23 10:00:00\0"sv);
    const fixture::Entry large = numbers(282, kSLong8, {(std::int64_t{1} << 53) + 1});
    const Row kRows[] = {
        {time, {"DateTime"}, false},
        {time, {"DateTime_parsed"}, true},
        {time, {"DateTime", "DateTime_parsed"}, false},
        {ascii(271, "Maker\0"sv), {"Make"}, false},
        {ascii(271, "M\xC3\xA4ker\0"sv), {"Make"}, false},
        {ascii(271, "M\xE4ker\0"sv), {"Make"}, true},
        {shorts(259, {1}), {"Compression_code"}, false},
        {shorts(259, {1}), {"Compression"}, true},
        {numbers(282, kRational, {1, 3}), {"XResolution"}, false},
        {shorts(282, {72}), {"XResolution"}, false},
        {large, {"XResolution"}, true},
        {ascii(40091, "t\0i\0\0\0"sv).withType(kByte), {"XPTitle"}, true},
    };
    for (const Row& row : kRows) {
        const Files files{
            std::make_shared<const PackedFile>(fixture::packed(fileOf({{row.entry}}).bytes))};
        const TableSchema schema =
            TableSchema::of(Layout::images, {ColumnChoice::Which::named, row.columns});
        EXPECT_EQ(tagsLeft(files, schema).size(), row.isLeft ? 1U : 0U)
            << testing::PrintToString(row.columns) << row.entry.type;
    }
}

TEST(TablesReading, PathsBeginBehindTheirFolder) {
    struct Row {
        std::size_t leftOut;
        Cells cells;
    };
    const Row kRows[] = {
        {0, {{"file_path", "/root/\xEF\xBF\xBD.tif"}, {"path_bytes", "/root/\xE9.tif"}}},
        {6, {{"file_path", "\xEF\xBF\xBD.tif"}, {"path_bytes", "\xE9.tif"}}},
        {7, {{"file_path", ".tif"}}},
        {100, {{"file_path", ""}}},
    };
    ifdsweep::FilePacker packer;
    packer.begin();
    ifdsweep::Outcome outcome;
    outcome.file = "/root/\xE9.tif";
    const auto file = std::make_shared<const PackedFile>(packer.pack(outcome));
    for (const Row& row : kRows) {
        FillLimits limits;
        limits.pathBegin = row.leftOut;
        const Read read = readTogether({file}, {schemaOf(Layout::files)}, {}, limits);
        ASSERT_EQ(read.tables[0].size(), 1U);
        EXPECT_EQ(fixture::only(read.tables[0][0], {"file_path", "path_bytes"}), row.cells);
    }
}

TEST_P(TablesReaderTest, PlainWordsAreTheSameTexts) {
    for (const Layout layout : {Layout::files, Layout::images, Layout::tags, Layout::warnings}) {
        const TableSchema schema = schemaOf(layout);
        const TableSchema plain = schema.withPlainWords();
        for (std::size_t column = 0; column < schema.columns.size(); ++column) {
            const ifdsweep::ColumnType type = schema.columns[column].type;
            EXPECT_EQ(plain.columns[column].type.item,
                      type.item == ifdsweep::ItemType::word ? ifdsweep::ItemType::utf8 : type.item);
        }
        EXPECT_EQ(fixture::cellsOf(files(), plain), fixture::cellsOf(files(), schema));
    }
}

TEST_P(TablesReaderTest, WhatIsHeldOfOneFileIsNotOfTheNext) {
    const Chain one = {{shorts(256, {7})}};
    const Chain other = {{shorts(fixture::kUnknownTag, {7})}};
    Files made;
    for (const Chain& chain : {one, other, one}) {
        made.push_back(std::make_shared<const PackedFile>(fixture::packed(fileOf(chain).bytes)));
    }
    EXPECT_EQ(
        tagsLeft(made, schemaOf(Layout::images)),
        (std::map<std::string, std::string>{{"0", std::to_string(fixture::kUnknownTag) + " "}}));
}

}  // namespace
