#pragma once

// Row filler: makes the rows of one layout of one packed file after another. A file with more rows
// than fit a batch goes on in the next one: rows are made one at a time.
//
// Ownership: borrows the columns; keeps the file at hand. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "columns/column_builder.h"
#include "columns/table_schema.h"
#include "pack/packed_file.h"

namespace ifdsweep {

/// What a table is filled with beside files.
struct FillLimits {
    /// Longest value that a table holds; of a longer one it has type, count and position.
    std::uint64_t valueItems = 1024;
    std::uint64_t valueBytes = std::uint64_t{64} << 10;
    /// Warnings of one id of a file that have rows of their own; one more row counts the others.
    std::uint64_t warningsOfId = 100;
    /// By the numbers of a file's entries, which of them columns of `images` hold whole: told by
    /// its filler. That of `tags`, behind it, makes no rows of these. Null: nothing is told, all
    /// have rows.
    std::shared_ptr<std::vector<bool>> held{};
    /// Bytes at the front of all paths, such as those of a folder, that rows leave out.
    std::size_t pathBegin = 0;
};

class RowFiller {
public:
    RowFiller() = default;
    RowFiller(const RowFiller&) = delete;
    RowFiller& operator=(const RowFiller&) = delete;
    virtual ~RowFiller() = default;

    /// The file whose rows come next.
    /// @param id `file_id` of its rows
    virtual void begin(std::shared_ptr<const PackedFile> file, std::int64_t id) = 0;

    /// Sets what the next row of the file has; false, with nothing set, when there is none.
    [[nodiscard]] virtual bool fillRow(std::size_t row) = 0;
};

/// The filler of a schema's layout.
/// @param columns one for each column of the schema, which outlive the filler
[[nodiscard]] std::unique_ptr<RowFiller> makeRowFiller(const TableSchema& schema,
                                                       std::vector<ColumnBuilder>& columns,
                                                       const FillLimits& limits);

}  // namespace ifdsweep
