#include "write/csv_writer.h"

#include <algorithm>

#include "read/directory_path.h"
#include "write/column_names.h"
#include "write/csv_rows.h"
#include "write/file_row.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

}  // namespace

std::string csvHeader(const std::vector<std::string>& columns, const WriteOptions& options) {
    std::string line("File");
    if (options.rows != TableRows::file) {
        line.append(options.tellStreams ? ",Stream,Directory" : ",Directory");
    }
    for (const std::string& column : columns) {
        line.push_back(',');
        appendQuoted(line, column);
    }
    return line.append(kLineEnd);
}

CsvWriter::CsvWriter(Output& destination, const WriteOptions& options)
    : ResultWriter(destination),
      rows(options.rows),
      tellsStreams(options.tellStreams),
      columns(options.columns),
      cell(cellTextOf(options)) {}

void CsvWriter::writeFile(const Outcome& outcome) {
    if (rows == TableRows::file) {
        writeFileRow(outcome);
        return;
    }
    forEachStream(outcome, [this](const Outcome& stream) {
        if (stream.result == nullptr) {
            return;
        }
        streamCells = cell.ofText(stream.file);
        if (tellsStreams) {
            streamCells.append(",").append(cell.ofText(stream.stream.name));
        }
        writeRecords(*stream.result, "");
    });
}

void CsvWriter::writeFileRow(const Outcome& outcome) {
    FileRow row(columns, cell);
    forEachStream(outcome, [&row](const Outcome& stream) {
        if (stream.result != nullptr) {
            row.fill(*stream.result);
        }
    });
    whereCells = cell.ofText(outcome.file);
    if (!columns.empty()) {
        output.append(whereCells);
        for (const std::string& column : columns) {
            output.append(',');
            output.append(row.cellOf(column));
        }
        output.append(kLineEnd);
        return;
    }
    std::string named;
    packed::putText(named, whereCells);
    row.forEachColumn([&named](std::string_view name, std::string_view text) {
        packed::putText(named, name);
        packed::putText(named, text);
    });
    writeWaitingRow(named);
}

void CsvWriter::writeRecords(const Value& records, const std::string& path) {
    if (records.kind() != ValueKind::Struct) {
        return;
    }
    for (std::size_t element = 0; element < records.elementCount(); ++element) {
        const std::string directory = childPath(path, std::to_string(element));
        whereCells = streamCells;
        whereCells.append(",").append(cell.ofText(directory));
        if (columns.empty()) {
            writeNamedRow(records, element);
        } else {
            output.append(whereCells);
            writeColumns(records, element);
            output.append(kLineEnd);
        }
        if (rows == TableRows::nested) {
            writeNested(records, element, directory);
        }
    }
}

void CsvWriter::writeNested(const Value& records, std::size_t element, const std::string& path) {
    forEachNestedRecords(records, element, path,
                         [this](const Value& nested, const std::string& nestedPath) {
                             writeRecords(nested, nestedPath);
                         });
}

void CsvWriter::writeColumns(const Value& records, std::size_t element) {
    for (const std::string& column : columns) {
        output.append(',');
        const auto field = records.fieldIndex(column);
        const Value* value = field ? records.field(element, *field) : nullptr;
        if (value != nullptr && !isNested(*value)) {
            output.append(cell.ofValue(column, *value));
        }
    }
}

void CsvWriter::writeNamedRow(const Value& records, std::size_t element) {
    std::string row;
    packed::putText(row, whereCells);
    forEachField(records, element, [&](std::string_view name, const Value& value) {
        if (!isNested(value)) {
            packed::putText(row, name);
            packed::putText(row, cell.ofValue(name, value));
        }
    });
    writeWaitingRow(row);
}

void CsvWriter::writeWaitingRow(std::string_view row) {
    std::string length;
    packed::putNumber(length, row.size());
    output.append(length);
    output.append(row);
}

void assembleCsv(int waiting, const WriteOptions& options, Output& output) {
    ColumnNames columns;
    forEachRow(waiting, [&](const std::vector<std::string_view>& texts) {
        for (std::size_t index = 1; index < texts.size(); index += 2) {
            columns.placeOf(texts[index]);
        }
    });
    output.append(csvHeader(columns.all(), options));
    std::vector<std::string_view> cells(columns.all().size());
    forEachRow(waiting, [&](const std::vector<std::string_view>& texts) {
        std::fill(cells.begin(), cells.end(), std::string_view());
        for (std::size_t index = 1; index < texts.size(); index += 2) {
            cells[columns.placeOf(texts[index])] = texts[index + 1];
        }
        output.append(texts[0]);
        for (const std::string_view text : cells) {
            output.append(',');
            output.append(text);
        }
        output.append(kLineEnd);
    });
}

}  // namespace ifdsweep
