#pragma once

// Table reader: the batches of a table, made of packed files as they come.
//
// Ownership: owns its builder and the source. Threads: one at a time. Errors: what the source
// throws, std::bad_alloc; the rows that were there are in the next batch, unless they found no
// memory.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "columns/batch_builder.h"
#include "columns/column_array.h"
#include "pack/packed_file.h"

namespace ifdsweep {

class TableReader {
public:
    /// The next file; null when there is none. It may wait.
    using FileSource = std::function<std::shared_ptr<const PackedFile>()>;

    /// @param firstFile `file_id` of the first file; each other has the one before and one more
    TableReader(TableSchema tableSchema, FileSource fileSource, BatchLimits batchLimits = {},
                const FillLimits& fillLimits = {}, std::int64_t firstFile = 0,
                BatchBuilder::FillerMaker makeFiller = &makeRowFiller);

    [[nodiscard]] const TableSchema& schema() const noexcept { return rows.schema(); }

    /// The next batch, of at least one row; none after the last. A source that has files again
    /// after it had none is asked again.
    [[nodiscard]] std::optional<ColumnBatch> next();

private:
    [[nodiscard]] bool beginFile();

    BatchBuilder rows;
    FileSource source;
    std::int64_t nextFile;
};

}  // namespace ifdsweep
