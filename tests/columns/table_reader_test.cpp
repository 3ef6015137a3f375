// Table readers: batches of the rows of files, each with no more rows and bytes than asked for.

#include "columns/table_reader.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "columns/column_text.h"
#include "ifdsweep/read.h"
#include "pack/file_packer.h"

namespace {

using fixture::columnText;
using ifdsweep::BatchLimits;
using ifdsweep::ColumnBatch;
using ifdsweep::ColumnBuilder;
using ifdsweep::FillLimits;
using ifdsweep::ItemType;
using ifdsweep::PackedFile;
using ifdsweep::RowFiller;
using ifdsweep::TableReader;
using ifdsweep::TableSchema;

/// As many files as rows are told, each with so many rows: the file's number, a text of as many
/// letters as `valueBytes`, which is null in every third row, and a list of the row's number. One
/// with 99 rows goes wrong at its third row when the text was set.
class CountedRows final : public RowFiller {
public:
    CountedRows(std::vector<ColumnBuilder>& builders, const FillLimits& limits)
        : columns(builders), text(static_cast<std::size_t>(limits.valueBytes), 'x') {}

    void begin(std::shared_ptr<const PackedFile> file, std::int64_t id) override {
        number = id;
        rows = file->file().size;
        next = 0;
    }

    bool fillRow(std::size_t row) override {
        if (next == rows) {
            return false;
        }
        if (next % 3 != 2) {
            columns[1].setText(row, text);
        }
        if (rows == 99 && next == 1) {
            throw std::runtime_error("went wrong");
        }
        columns[0].setInteger(row, number);
        columns[2].beginList(row);
        columns[2].items().appendInteger(static_cast<std::int64_t>(next));
        ++next;
        return true;
    }

private:
    std::vector<ColumnBuilder>& columns;
    std::string text;
    std::int64_t number = 0;
    std::uint64_t rows = 0;
    std::uint64_t next = 0;
};

std::unique_ptr<RowFiller> makeCountedRows(const TableSchema& /*schema*/,
                                           std::vector<ColumnBuilder>& columns,
                                           const FillLimits& limits) {
    return std::make_unique<CountedRows>(columns, limits);
}

TableSchema countedSchema() {
    TableSchema schema;
    for (const ifdsweep::ColumnType type :
         {ifdsweep::ColumnType{ItemType::int64}, ifdsweep::ColumnType{ItemType::utf8},
          ifdsweep::ColumnType{ItemType::int32, true}}) {
        ifdsweep::Column column;
        column.name = std::to_string(schema.columns.size());
        column.type = type;
        schema.columns.push_back(column);
    }
    return schema;
}

/// A file without anything, which counts as one of so many rows.
std::shared_ptr<const PackedFile> fileOf(std::uint64_t rows) {
    ifdsweep::FilePacker packer;
    packer.begin();
    ifdsweep::Outcome outcome;
    outcome.stamp = ifdsweep::FileStamp{};
    outcome.stamp->size = rows;
    return std::make_shared<const PackedFile>(packer.pack(outcome));
}

class Files {
public:
    explicit Files(std::vector<std::uint64_t> rowCounts) : counts(std::move(rowCounts)) {}

    std::shared_ptr<const PackedFile> operator()() {
        return next < counts.size() ? fileOf(counts[next++]) : nullptr;
    }

private:
    std::vector<std::uint64_t> counts;
    std::size_t next = 0;
};

FillLimits lettersOf(std::uint64_t count) {
    FillLimits limits;
    limits.valueBytes = count;
    return limits;
}

std::string batchText(const ColumnBatch& batch) {
    std::string text;
    for (std::size_t row = 0; row < batch.rows; ++row) {
        text += (row > 0 ? ", " : "") + fixture::valueText(batch.columns[0], row);
        text += fixture::valueText(batch.columns[2], row);
    }
    return text;
}

std::vector<std::string> batchesOf(TableReader& reader) {
    std::vector<std::string> texts;
    while (const std::optional<ColumnBatch> batch = reader.next()) {
        texts.push_back(batchText(*batch));
    }
    return texts;
}

struct RowCase {
    const char* name;
    std::vector<std::uint64_t> files;
    std::size_t rows;
    std::vector<std::string> batches;
};

class BatchesOfRows : public testing::TestWithParam<RowCase> {};

TEST_P(BatchesOfRows, HoldAsManyAsAskedForInTheOrderOfTheFiles) {
    const RowCase& tested = GetParam();
    TableReader reader(countedSchema(), Files(tested.files), {.rows = tested.rows}, lettersOf(1), 5,
                       &makeCountedRows);
    EXPECT_EQ(batchesOf(reader), tested.batches);
    EXPECT_FALSE(reader.next().has_value());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BatchesOfRows,
    testing::Values(RowCase{"noFiles", {}, 3, {}},                             //
                    RowCase{"noRows", {0, 0}, 3, {}},                          //
                    RowCase{"oneBatch", {1, 0, 2}, 4, {"5[0], 7[0], 7[1]"}},   //
                    RowCase{"exactly", {1, 0, 2}, 3, {"5[0], 7[0], 7[1]"}},    //
                    RowCase{"oneMore", {1, 0, 2}, 2, {"5[0], 7[0]", "7[1]"}},  //
                    RowCase{"oneFile", {4}, 2, {"5[0], 5[1]", "5[2], 5[3]"}},  //
                    RowCase{"single", {1, 2}, 1, {"5[0]", "6[0]", "6[1]"}},    //
                    RowCase{"zero", {1, 2}, 0, {"5[0]", "6[0]", "6[1]"}}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(TableReader, HasColumnsOfOneLengthInEveryBatch) {
    TableReader reader(countedSchema(), Files({7, 1, 9}), {.rows = 3}, lettersOf(2), 0,
                       &makeCountedRows);
    std::size_t rows = 0;
    while (const std::optional<ColumnBatch> batch = reader.next()) {
        ASSERT_EQ(batch->columns.size(), 3U);
        for (const ifdsweep::ColumnArray& column : batch->columns) {
            EXPECT_EQ(column.length, batch->rows);
        }
        rows += batch->rows;
    }
    EXPECT_EQ(rows, 17U);
}

TEST(TableReader, HoldsNoMoreBytesInABatchThanAskedForBeforeItsLastRow) {
    constexpr std::size_t kLetters = 1000;
    for (const std::size_t bytes : {0U, 1U, 1000U, 10'000U, 100'000U}) {
        TableReader reader(countedSchema(), Files({500, 500}), {.bytes = bytes},
                           lettersOf(kLetters), 0, &makeCountedRows);
        std::size_t rows = 0;
        while (const std::optional<ColumnBatch> batch = reader.next()) {
            EXPECT_LE(batch->byteCount(), bytes + kLetters + 64);
            EXPECT_TRUE(rows + batch->rows == 1000 || batch->byteCount() + 64 >= bytes);
            rows += batch->rows;
        }
        EXPECT_EQ(rows, 1000U);
    }
}

TEST(TableReader, CountsColumnsOfNullsAmongTheBytes) {
    TableSchema schema = countedSchema();
    for (int number = 0; number < 100; ++number) {
        schema.columns.push_back(schema.columns[0]);
    }
    TableReader reader(schema, Files({1000}), {.bytes = 100'000}, lettersOf(1), 0,
                       &makeCountedRows);
    const std::optional<ColumnBatch> batch = reader.next();
    ASSERT_TRUE(batch.has_value());
    EXPECT_NEAR(static_cast<double>(batch->byteCount()), 100'000, 1000);
}

TEST(TableReader, AsksASourceAgainThatHasFilesLater) {
    std::shared_ptr<const PackedFile> file;
    TableReader reader(
        countedSchema(), [&file] { return std::exchange(file, nullptr); }, {}, lettersOf(1), 0,
        &makeCountedRows);
    EXPECT_FALSE(reader.next().has_value());
    for (int number = 0; number < 3; ++number) {
        file = fileOf(1);
        const std::optional<ColumnBatch> batch = reader.next();
        ASSERT_TRUE(batch.has_value());
        EXPECT_EQ(batchText(*batch), std::to_string(number) + "[0]");
        EXPECT_FALSE(reader.next().has_value());
    }
}

TEST(TableReader, KeepsTheRowsThatWereThereWhenTheSourceThrew) {
    int asked = 0;
    TableReader reader(
        countedSchema(),
        [&asked]() -> std::shared_ptr<const PackedFile> {
            if (++asked == 2) {
                throw std::runtime_error("lost");
            }
            return asked < 4 ? fileOf(1) : nullptr;
        },
        {}, lettersOf(1), 0, &makeCountedRows);
    EXPECT_THROW(static_cast<void>(reader.next()), std::runtime_error);
    EXPECT_EQ(batchesOf(reader), (std::vector<std::string>{"0[0], 1[0]"}));
}

TEST(TableReader, HasNothingOfARowThatWentWrong) {
    TableReader reader(countedSchema(), Files({2, 99, 3}), {}, lettersOf(4), 0, &makeCountedRows);
    EXPECT_THROW(static_cast<void>(reader.next()), std::runtime_error);
    const std::optional<ColumnBatch> batch = reader.next();
    ASSERT_TRUE(batch.has_value());
    EXPECT_EQ(batchText(*batch), "0[0], 0[1], 1[0], 2[0], 2[1], 2[2]");
    EXPECT_EQ(columnText(batch->columns[1]), R"("xxxx" "xxxx" "xxxx" "xxxx" "xxxx" null)");
}

TEST(TableReader, LowersLimitsThatOffsetsCouldNotKeep) {
    static FillLimits seen;
    TableReader reader(countedSchema(), Files({}), {},
                       {.valueItems = std::numeric_limits<std::uint64_t>::max(),
                        .valueBytes = std::numeric_limits<std::uint64_t>::max()},
                       0,
                       [](const TableSchema& /*schema*/, std::vector<ColumnBuilder>& columns,
                          const FillLimits& limits) -> std::unique_ptr<RowFiller> {
                           seen = limits;
                           return std::make_unique<CountedRows>(columns, lettersOf(1));
                       });
    EXPECT_EQ(seen.valueItems, std::uint64_t{1} << 28);
    EXPECT_EQ(seen.valueBytes, std::uint64_t{1} << 28);
}

}  // namespace
