#include "columns/table_reader.h"

#include <algorithm>
#include <utility>

#include "columns/column_storage.h"

namespace ifdsweep {
namespace {

/// What lies in a batch must be within reach of offsets of 32 bits, whatever is asked for, also
/// where a character of one byte becomes three.
constexpr std::size_t kMostBatchBytes = std::size_t{1} << 30;
constexpr std::uint64_t kMostValueSize = std::uint64_t{1} << 28;

BatchLimits withinReach(BatchLimits limits) {
    limits.rows = std::max<std::size_t>(limits.rows, 1);
    limits.bytes = std::min(limits.bytes, kMostBatchBytes);
    return limits;
}

FillLimits withinReach(FillLimits limits) {
    limits.valueItems = std::min(limits.valueItems, kMostValueSize);
    limits.valueBytes = std::min(limits.valueBytes, kMostValueSize);
    return limits;
}

std::vector<ColumnBuilder> buildersOf(const TableSchema& schema, std::size_t& contentBytes) {
    std::vector<ColumnBuilder> builders;
    builders.reserve(schema.columns.size());
    for (const Column& column : schema.columns) {
        builders.emplace_back(column.type, &contentBytes);
    }
    return builders;
}

/// Bits of a row in the buffers that have as many for each.
std::size_t bitsOf(const TableSchema& schema) {
    std::size_t bits = 0;
    for (const Column& column : schema.columns) {
        const bool isBit = storageOf(column.type) == Storage::bits;
        bits += 1 + (isBit ? 1 : 8 * rowWidth(column.type));
    }
    return bits;
}

}  // namespace

TableReader::TableReader(TableSchema tableSchema, FileSource fileSource, BatchLimits batchLimits,
                         FillLimits fillLimits, std::int64_t firstFile, FillerMaker makeFiller)
    : tableColumns(std::make_shared<const TableSchema>(std::move(tableSchema))),
      source(std::move(fileSource)),
      limits(withinReach(batchLimits)),
      rowBits(bitsOf(*tableColumns)),
      builders(buildersOf(*tableColumns, contentBytes)),
      filler(makeFiller(*tableColumns, builders, withinReach(fillLimits))),
      nextFile(firstFile) {}

std::optional<ColumnBatch> TableReader::next() {
    while (!isFull() && (hasFile || beginFile())) {
        addRow();
    }
    if (rows == 0) {
        return std::nullopt;
    }
    return takeBatch();
}

bool TableReader::isFull() const noexcept {
    if (rows == 0 || rows >= limits.rows) {
        return rows > 0;
    }
    return rows * rowBits / 8 + contentBytes >= limits.bytes;
}

bool TableReader::beginFile() {
    std::shared_ptr<const PackedFile> file = source();
    if (file == nullptr) {
        return false;
    }
    filler->begin(std::move(file), nextFile++);
    hasFile = true;
    return true;
}

/// Adds the next row of the file, or ends the file. One that goes wrong has no more rows.
void TableReader::addRow() {
    try {
        hasFile = filler->fillRow(rows);
        rows += hasFile ? 1U : 0U;
    } catch (...) {
        hasFile = false;
        cut(rows);
        throw;
    }
}

ColumnBatch TableReader::takeBatch() {
    ColumnBatch batch{std::exchange(rows, 0), {}};
    contentBytes = 0;
    try {
        SharedLines small;
        batch.columns.reserve(builders.size());
        for (ColumnBuilder& builder : builders) {
            batch.columns.push_back(builder.take(batch.rows, small));
        }
    } catch (...) {
        cut(0);
        throw;
    }
    return batch;
}

void TableReader::cut(std::size_t row) noexcept {
    for (ColumnBuilder& builder : builders) {
        builder.cut(row);
    }
}

}  // namespace ifdsweep
