#pragma once

// File row: the one row of a file. Of each column it has the first value that is not empty, in the
// order in which rows of nested directories would stand: a directory, what is nested in it, the
// next.
//
// Ownership: plain value; borrows a maker of cells. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "values/value.h"
#include "write/column_names.h"
#include "write/csv_cell.h"

namespace ifdsweep {

class FileRow {
public:
    /// @param fixedColumns names of the columns; empty: those of all fields
    FileRow(const std::vector<std::string>& fixedColumns, CsvCell& cellMaker);

    /// Takes from the records of a file, and of what is nested in them, what the columns lack.
    void fill(const Value& records);

    /// The cell of a column; empty where no directory fills it.
    [[nodiscard]] std::string_view cellOf(std::string_view column) const;

    /// Visits the columns that occur: a directory has their field, be it empty.
    /// @param visit called with name and cell
    template <class Visit>
    void forEachColumn(Visit&& visit) const {
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (row[column].occurs) {
                visit(columns.all()[column], row[column].cell);
            }
        }
    }

private:
    struct Column {
        bool occurs = false;
        std::string cell;
    };

    /// A field of records and the column that it fills.
    struct Source {
        std::size_t field;
        std::size_t column;
    };

    [[nodiscard]] std::vector<Source> sourcesIn(const Value& records);

    bool isOpen;
    ColumnNames columns;
    std::vector<Column> row;
    CsvCell& cell;
};

}  // namespace ifdsweep
