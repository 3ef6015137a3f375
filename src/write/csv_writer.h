#pragma once

// CSV writer (RFC 4180): one row per directory, and with nested rows one for each nested directory
// after it. The first two columns are the file and the way to the directory, such as
// `0/SubIFDs[0]/1`.
//
// With fixed columns, the rows are written as they come. Without, the columns are all fields that
// occur, which nobody knows before the last file: the writer then writes each row with the names
// of its fields, and `assembleCsv` makes the table of them in two passes.
//
// Ownership: borrows its output. Threads: one at a time.

#include <string>
#include <string_view>
#include <vector>

#include "values/value.h"
#include "write/csv_cell.h"
#include "write/result_writer.h"

namespace ifdsweep {

/// The first line of a table with these columns after "File" and "Directory".
[[nodiscard]] std::string csvHeader(const std::vector<std::string>& columns);

class CsvWriter final : public ResultWriter {
public:
    CsvWriter(Output& destination, const WriteOptions& options)
        : ResultWriter(destination),
          nestedRows(options.nestedRows),
          columns(options.columns),
          cell(cellTextOf(options)) {}

    [[nodiscard]] bool shows(const Outcome& outcome) const override {
        return outcome.result != nullptr;
    }
    void writeFile(const Outcome& outcome) override;

private:
    void writeRecords(const Value& records, const std::string& path);
    void writeNested(const Value& records, std::size_t element, const std::string& path);
    void writeColumns(const Value& records, std::size_t element);
    void writeNamedRow(const Value& records, std::size_t element);

    [[nodiscard]] static CellText cellTextOf(const WriteOptions& options);

    bool nestedRows;
    std::vector<std::string> columns;
    std::string fileCell;
    std::string directoryCell;
    CsvCell cell;
};

/// Makes the table of rows with names.
/// @param rows what CsvWriter wrote without fixed columns, as a file that can be read anywhere
void assembleCsv(int rows, Output& output);

}  // namespace ifdsweep
