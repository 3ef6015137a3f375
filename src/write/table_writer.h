#pragma once

// Table writer: the rows of a table of typed columns (columns/table_schema.h) as CSV (RFC 4180).
// Numbers stand as they are, those of a list between spaces; dates as in ISO 8601, in UTC with a Z
// and without a zone where none is known; several texts, rationals and tags without names as JSON;
// bytes in base64. What is null is an empty cell. It hears of the entries while the file is read.
//
// Ownership: borrows its output. Threads: one at a time. Errors: OutputError, std::bad_alloc.

#include <memory>
#include <string>

#include "columns/table_reader.h"
#include "pack/file_packer.h"
#include "write/csv_cell.h"
#include "write/result_writer.h"

namespace ifdsweep {

/// The columns of a table in CSV: those that a table has unless others are asked for, but for the
/// numbers of files, which only a table that is made in one place can have.
[[nodiscard]] TableSchema csvSchema(Layout layout);

/// The first line.
[[nodiscard]] std::string tableHeader(Layout layout);

class TableWriter final : public ResultWriter {
public:
    /// @param options with a `table`
    TableWriter(Output& destination, const WriteOptions& options);

    [[nodiscard]] EntrySink* listenerFor(std::string_view file) override;
    void writeFile(const Outcome& outcome) override;

private:
    void writeRows(const ColumnBatch& batch);

    FilePacker packer;
    bool hasListened = false;  ///< to the file that is written next
    std::shared_ptr<const PackedFile> current;
    TableReader table;
    CsvCell cell;
};

}  // namespace ifdsweep
