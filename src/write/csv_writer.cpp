#include "write/csv_writer.h"

#include <algorithm>
#include <functional>
#include <map>

#include "read/directory_path.h"
#include "write/csv_rows.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

bool hasCell(const Value& value) {
    return !isNested(value);
}

}  // namespace

std::string csvHeader(const std::vector<std::string>& columns) {
    std::string line = "File,Directory";
    for (const std::string& column : columns) {
        line.push_back(',');
        appendQuoted(line, column);
    }
    return line.append(kLineEnd);
}

CellText CsvWriter::cellTextOf(const WriteOptions& options) {
    return !options.rawCells     ? CellText::safe
           : options.forTerminal ? CellText::escaped
                                 : CellText::asItIs;
}

void CsvWriter::writeFile(const Outcome& outcome) {
    fileCell = cell.ofText(outcome.file);
    writeRecords(*outcome.result, "");
}

void CsvWriter::writeRecords(const Value& records, const std::string& path) {
    if (records.kind() != ValueKind::Struct) {
        return;
    }
    for (std::size_t element = 0; element < records.elementCount(); ++element) {
        const std::string directory = childPath(path, std::to_string(element));
        directoryCell = cell.ofText(directory);
        if (columns.empty()) {
            writeNamedRow(records, element);
        } else {
            output.append(fileCell);
            output.append(',');
            output.append(directoryCell);
            writeColumns(records, element);
            output.append(kLineEnd);
        }
        if (nestedRows) {
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
        if (value != nullptr && hasCell(*value)) {
            output.append(cell.ofValue(column, *value));
        }
    }
}

void CsvWriter::writeNamedRow(const Value& records, std::size_t element) {
    std::string row;
    packed::putText(row, fileCell);
    packed::putText(row, directoryCell);
    forEachField(records, element, [&](std::string_view name, const Value& value) {
        if (hasCell(value)) {
            packed::putText(row, name);
            packed::putText(row, cell.ofValue(name, value));
        }
    });
    std::string length;
    packed::putNumber(length, row.size());
    output.append(length);
    output.append(row);
}

void assembleCsv(int rows, Output& output) {
    std::vector<std::string> columns;
    std::map<std::string, std::size_t, std::less<>> placeOf;
    const auto place = [&](std::string_view name) {
        auto known = placeOf.find(name);
        if (known == placeOf.end()) {
            known = placeOf.emplace(name, columns.size()).first;
            columns.emplace_back(name);
        }
        return known->second;
    };
    forEachRow(rows, [&](const std::vector<std::string_view>& texts) {
        for (std::size_t index = 2; index + 1 < texts.size(); index += 2) {
            static_cast<void>(place(texts[index]));
        }
    });
    output.append(csvHeader(columns));
    std::vector<std::string_view> cells(columns.size());
    forEachRow(rows, [&](const std::vector<std::string_view>& texts) {
        std::fill(cells.begin(), cells.end(), std::string_view());
        for (std::size_t index = 2; index + 1 < texts.size(); index += 2) {
            cells[place(texts[index])] = texts[index + 1];
        }
        output.append(texts[0]);
        output.append(',');
        output.append(texts[1]);
        for (const std::string_view text : cells) {
            output.append(',');
            output.append(text);
        }
        output.append(kLineEnd);
    });
}

}  // namespace ifdsweep
