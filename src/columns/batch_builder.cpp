#include "columns/batch_builder.h"

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

BatchBuilder::BatchBuilder(TableSchema tableSchema, BatchLimits batchLimits,
                           const FillLimits& fillLimits, FillerMaker makeFiller)
    : tableColumns(std::make_shared<const TableSchema>(std::move(tableSchema))),
      limits(withinReach(batchLimits)),
      rowBits(bitsOf(*tableColumns)),
      builders(buildersOf(*tableColumns, contentBytes)),
      filler(makeFiller(*tableColumns, builders, withinReach(fillLimits))) {}

bool BatchBuilder::isFull() const noexcept {
    if (rows == 0 || rows >= limits.rows) {
        return rows > 0;
    }
    return rows * rowBits / 8 + contentBytes >= limits.bytes;
}

void BatchBuilder::begin(std::shared_ptr<const PackedFile> file, std::int64_t id) {
    filler->begin(std::move(file), id);
    isFileOpen = true;
}

void BatchBuilder::addRow() {
    try {
        isFileOpen = filler->fillRow(rows);
        rows += isFileOpen ? 1U : 0U;
    } catch (...) {
        isFileOpen = false;
        cut(rows);
        throw;
    }
}

ColumnBatch BatchBuilder::take() {
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

void BatchBuilder::cut(std::size_t row) noexcept {
    for (ColumnBuilder& builder : builders) {
        builder.cut(row);
    }
}

}  // namespace ifdsweep
