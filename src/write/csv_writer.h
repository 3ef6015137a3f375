#pragma once

// CSV writer (RFC 4180): a row per directory of the primary chain, per nested directory too, or per
// file. The first columns say where: the file and, where a row is a directory, its stream if that
// is asked for and the way to it, such as `0/SubIFDs[0]/1`. What a cell holds is told in
// csv_cell.h.
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
#include "write/outcome_streams.h"
#include "write/result_writer.h"

namespace ifdsweep {

/// The first line of a table with these columns after those that say where.
/// @param options for the columns that say where
[[nodiscard]] std::string csvHeader(const std::vector<std::string>& columns,
                                    const WriteOptions& options);

class CsvWriter final : public ResultWriter {
public:
    CsvWriter(Output& destination, const WriteOptions& options);

    [[nodiscard]] bool shows(const Outcome& outcome) const override {
        return anyStream(outcome, [](const Outcome& stream) { return stream.result != nullptr; });
    }
    void writeFile(const Outcome& outcome) override;

private:
    void writeFileRow(const Outcome& outcome);
    void writeRecords(const Value& records, const std::string& path);
    void writeNested(const Value& records, std::size_t element, const std::string& path);
    void writeColumns(const Value& records, std::size_t element);
    void writeNamedRow(const Value& records, std::size_t element);
    void writeWaitingRow(std::string_view row);

    TableRows rows;
    bool tellsStreams;
    std::vector<std::string> columns;
    std::string streamCells;  ///< those of the file and of the stream at hand, if that is told
    std::string whereCells;   ///< with that of the directory at hand
    CsvCell cell;
};

/// Makes the table of rows with names.
/// @param waiting what CsvWriter wrote without fixed columns, as a file that can be read anywhere
/// @param options by which it wrote them
void assembleCsv(int waiting, const WriteOptions& options, Output& output);

}  // namespace ifdsweep
