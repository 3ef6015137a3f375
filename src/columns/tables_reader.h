#pragma once

// Tables reader: the batches of several tables of the same files, in one pass over them.
//
// Ownership: owns its builders and the source. Threads: one at a time. Errors: what the source
// throws, std::bad_alloc.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "columns/batch_builder.h"
#include "columns/column_array.h"
#include "pack/packed_file.h"

namespace ifdsweep {

/// A file, and what its rows have as `file_id`.
struct NumberedFile {
    std::shared_ptr<const PackedFile> file;
    std::int64_t id;
};

/// Some rows of one of several tables.
struct TableBatch {
    std::size_t table;  ///< its place among them
    ColumnBatch rows;
};

class TablesReader {
public:
    /// The next file; none when there is none. It may wait.
    using FileSource = std::function<std::optional<NumberedFile>()>;

    /// The rows of a file are made table by table, in the order of the schemas.
    TablesReader(const std::vector<TableSchema>& schemas, FileSource fileSource,
                 BatchLimits batchLimits, const FillLimits& fillLimits);

    /// The next batch of any table, of at least one row; none after the last of all.
    [[nodiscard]] std::optional<TableBatch> next();

private:
    [[nodiscard]] bool beginFile();
    [[nodiscard]] TableBatch taken(std::size_t table);

    std::vector<std::unique_ptr<BatchBuilder>> tables;
    FileSource source;
    std::size_t at = 0;  ///< the table whose rows of the file are made
};

}  // namespace ifdsweep
