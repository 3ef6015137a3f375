#include "write/file_row.h"

#include "read/directory_path.h"

namespace ifdsweep {

FileRow::FileRow(const std::vector<std::string>& fixedColumns, CsvCell& cellMaker)
    : isOpen(fixedColumns.empty()), cell(cellMaker) {
    for (const std::string& name : fixedColumns) {
        columns.placeOf(name);
    }
    row.resize(columns.all().size());
}

std::string_view FileRow::cellOf(std::string_view column) const {
    const auto place = columns.find(column);
    return place ? std::string_view(row[*place].cell) : std::string_view();
}

void FileRow::fill(const Value& records) {
    if (records.kind() != ValueKind::Struct) {
        return;
    }
    const std::vector<Source> sources = sourcesIn(records);
    for (std::size_t element = 0; element < records.elementCount(); ++element) {
        for (const Source& source : sources) {
            Column& column = row[source.column];
            const Value* value =
                column.cell.empty() ? records.field(element, source.field) : nullptr;
            if (value != nullptr && !isNested(*value)) {
                column.occurs = true;
                column.cell = cell.ofValue(columns.all()[source.column], *value);
            }
        }
        forEachNestedRecords(records, element, "",
                             [this](const Value& nested, const std::string&) { fill(nested); });
    }
}

std::vector<FileRow::Source> FileRow::sourcesIn(const Value& records) {
    std::vector<Source> sources;
    for (std::size_t field = 0; field < records.fieldCount(); ++field) {
        const std::string_view name = records.fieldName(field);
        if (isOpen) {
            sources.push_back({field, columns.placeOf(name)});
        } else if (const auto column = columns.find(name)) {
            sources.push_back({field, *column});
        }
    }
    row.resize(columns.all().size());
    return sources;
}

}  // namespace ifdsweep
