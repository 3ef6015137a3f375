#pragma once

// Batch builder: the rows of one layout, made of packed files one after the other, until they are a
// batch. Each holds at most so many rows and, but for its last row, so many bytes.
//
// Ownership: owns the columns, keeps the file at hand. Threads: one at a time. Errors:
// std::bad_alloc; the rows that were there stay, unless a batch was being taken.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "columns/column_array.h"
#include "columns/row_filler.h"
#include "columns/table_schema.h"
#include "pack/packed_file.h"

namespace ifdsweep {

struct BatchLimits {
    std::size_t rows = 65'536;
    std::size_t bytes = std::size_t{64} << 20;  ///< a batch has one row at least
};

class BatchBuilder {
public:
    /// What makes the rows.
    using FillerMaker = decltype(&makeRowFiller);

    /// Limits that offsets of 32 bits could not keep are lowered: those of a batch to 1 GiB, those
    /// of a value to 256 MiB and as many items.
    BatchBuilder(TableSchema tableSchema, BatchLimits batchLimits, const FillLimits& fillLimits,
                 FillerMaker makeFiller = &makeRowFiller);
    BatchBuilder(const BatchBuilder&) = delete;
    BatchBuilder& operator=(const BatchBuilder&) = delete;

    [[nodiscard]] const TableSchema& schema() const noexcept { return *tableColumns; }
    [[nodiscard]] bool isEmpty() const noexcept { return rows == 0; }
    [[nodiscard]] bool isFull() const noexcept;

    /// Whether the file at hand may have more rows.
    [[nodiscard]] bool hasFile() const noexcept { return isFileOpen; }

    /// The file whose rows come next.
    /// @param id `file_id` of its rows
    void begin(std::shared_ptr<const PackedFile> file, std::int64_t id);

    /// Adds the next row of the file, or ends the file. One that goes wrong has no more rows.
    void addRow();

    /// The rows so far; there are none left then.
    [[nodiscard]] ColumnBatch take();

private:
    void cut(std::size_t row) noexcept;

    std::shared_ptr<const TableSchema> tableColumns;
    BatchLimits limits;
    std::size_t contentBytes = 0;  ///< of the rows so far, what is not the same for every row
    std::size_t rowBits = 0;       ///< what is
    std::vector<ColumnBuilder> builders;
    std::unique_ptr<RowFiller> filler;
    std::size_t rows = 0;
    bool isFileOpen = false;
};

}  // namespace ifdsweep
