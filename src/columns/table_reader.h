#pragma once

// Table reader: the batches of a table, made of packed files as they come. Each holds at most so
// many rows and, but for its last row, so many bytes.
//
// Ownership: owns its builders and the source. Threads: one at a time. Errors: what the source
// throws, std::bad_alloc; the rows that were there are in the next batch, unless they found no
// memory.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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

class TableReader {
public:
    /// The next file; null when there is none. It may wait.
    using FileSource = std::function<std::shared_ptr<const PackedFile>()>;
    /// What makes the rows.
    using FillerMaker = decltype(&makeRowFiller);

    /// Limits that offsets of 32 bits could not keep are lowered: those of a batch to 1 GiB, those
    /// of a value to 256 MiB and as many items.
    /// @param firstFile `file_id` of the first file; each other has the one before and one more
    TableReader(TableSchema tableSchema, FileSource fileSource, BatchLimits batchLimits = {},
                FillLimits fillLimits = {}, std::int64_t firstFile = 0,
                FillerMaker makeFiller = &makeRowFiller);
    TableReader(const TableReader&) = delete;
    TableReader& operator=(const TableReader&) = delete;

    [[nodiscard]] const TableSchema& schema() const noexcept { return *tableColumns; }

    /// The next batch, of at least one row; none after the last. A source that has files again
    /// after it had none is asked again.
    [[nodiscard]] std::optional<ColumnBatch> next();

private:
    [[nodiscard]] bool isFull() const noexcept;
    [[nodiscard]] bool beginFile();
    void addRow();
    [[nodiscard]] ColumnBatch takeBatch();
    void cut(std::size_t row) noexcept;

    std::shared_ptr<const TableSchema> tableColumns;
    FileSource source;
    BatchLimits limits;
    std::size_t contentBytes = 0;  ///< of the rows so far, what is not the same for every row
    std::size_t rowBits = 0;       ///< what is
    std::vector<ColumnBuilder> builders;
    std::unique_ptr<RowFiller> filler;
    std::int64_t nextFile;
    std::size_t rows = 0;
    bool hasFile = false;
};

}  // namespace ifdsweep
