#include "columns/table_reader.h"

#include <utility>

namespace ifdsweep {

TableReader::TableReader(TableSchema tableSchema, FileSource fileSource, BatchLimits batchLimits,
                         const FillLimits& fillLimits, std::int64_t firstFile,
                         BatchBuilder::FillerMaker makeFiller)
    : rows(std::move(tableSchema), batchLimits, fillLimits, makeFiller),
      source(std::move(fileSource)),
      nextFile(firstFile) {}

std::optional<ColumnBatch> TableReader::next() {
    while (!rows.isFull() && (rows.hasFile() || beginFile())) {
        rows.addRow();
    }
    if (rows.isEmpty()) {
        return std::nullopt;
    }
    return rows.take();
}

bool TableReader::beginFile() {
    std::shared_ptr<const PackedFile> file = source();
    if (file == nullptr) {
        return false;
    }
    rows.begin(std::move(file), nextFile++);
    return true;
}

}  // namespace ifdsweep
