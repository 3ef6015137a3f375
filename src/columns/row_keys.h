#pragma once

// Row keys: the columns that say which file, stream and directory a row is of, the same in every
// layout; and where a schema has a column.
//
// Ownership: borrows the columns. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "columns/column_builder.h"
#include "columns/optional_column.h"
#include "columns/table_schema.h"
#include "pack/packed_file.h"

namespace ifdsweep {

/// The column of a name; null where a schema does not have it.
[[nodiscard]] ColumnBuilder* columnNamed(const TableSchema& schema,
                                         std::vector<ColumnBuilder>& columns,
                                         std::string_view name);

class RowKeys {
public:
    /// @param leftOut bytes at the front of all paths
    RowKeys(const TableSchema& schema, std::vector<ColumnBuilder>& columns, std::size_t leftOut);

    /// The file of the rows that follow.
    void begin(const PackedFile& file, std::int64_t id);

    /// The path of the file as rows have it, in system bytes.
    [[nodiscard]] std::string_view path() const noexcept { return systemPath; }

    /// Sets what says the file.
    void setFile(std::size_t row);

    /// Sets what says the file and the stream.
    void setStream(std::size_t row, const PackedFile& file, const PackedStreamRow& stream);

    /// Sets what says the directory, too.
    void setDirectory(std::size_t row, const PackedFile& file, const PackedDirectoryRow& directory);

private:
    OptionalColumn id;
    OptionalColumn shownPath;
    OptionalColumn container;
    OptionalColumn stream;
    OptionalColumn streamOffset;
    OptionalColumn directoryPath;
    std::size_t pathBegin;
    std::int64_t fileId = 0;
    std::string_view systemPath;  ///< in the file
    std::string filePath;
    const PackedDirectoryRow* shown = nullptr;  ///< whose path `shownDirectory` is
    std::string shownDirectory;
};

}  // namespace ifdsweep
