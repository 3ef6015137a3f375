#include "columns/tables_reader.h"

#include <utility>

namespace ifdsweep {

TablesReader::TablesReader(const std::vector<TableSchema>& schemas, FileSource fileSource,
                           BatchLimits batchLimits, const FillLimits& fillLimits)
    : source(std::move(fileSource)) {
    for (const TableSchema& schema : schemas) {
        tables.push_back(std::make_unique<BatchBuilder>(schema, batchLimits, fillLimits));
    }
    at = tables.size();
}

std::optional<TableBatch> TablesReader::next() {
    do {
        for (; at < tables.size(); ++at) {
            BatchBuilder& rows = *tables[at];
            while (rows.hasFile() && !rows.isFull()) {
                rows.addRow();
            }
            if (rows.isFull()) {
                return taken(at);
            }
        }
    } while (beginFile());
    for (std::size_t table = 0; table < tables.size(); ++table) {
        if (!tables[table]->isEmpty()) {
            return taken(table);
        }
    }
    return std::nullopt;
}

bool TablesReader::beginFile() {
    std::optional<NumberedFile> next = source();
    if (!next) {
        return false;
    }
    for (const std::unique_ptr<BatchBuilder>& rows : tables) {
        rows->begin(next->file, next->id);
    }
    at = 0;
    return true;
}

TableBatch TablesReader::taken(std::size_t table) {
    return {table, tables[table]->take()};
}

}  // namespace ifdsweep
