#include "places.h"

#include <cstddef>

namespace ifdsweep::python {

std::span<const std::uint32_t> directoriesIn(const PackedFile& file,
                                             std::uint32_t recordsValue) noexcept {
    if (recordsValue == kNoRow || file.values()[recordsValue].kind != PackedKind::records) {
        return {};
    }
    const PackedArrayRow& records = file.arrays()[file.values()[recordsValue].content];
    if (records.elements == kNoRow) {
        return {};
    }
    return file.elements().subspan(records.elements, std::size_t{records.rows} * records.columns);
}

RecordPlace recordOf(const Directory& directory) noexcept {
    const PackedFile& file = *directory.file;
    const PackedDirectoryRow& row = directory.row();
    if (row.records == kNoRow) {
        return {nullptr, 0};
    }
    return {&file.arrays()[file.values()[row.records].content], row.element};
}

std::span<const std::uint32_t> fieldNamesOf(const Directory& directory) noexcept {
    const RecordPlace record = recordOf(directory);
    if (record.records == nullptr || record.records->fields == kNoRow) {
        return {};
    }
    const PackedFieldsRow& list = directory.file->fieldLists()[record.records->fields];
    return directory.file->fieldNames().subspan(list.first, list.count);
}

const PackedValueRow* fieldOf(const Directory& directory, std::uint32_t name) noexcept {
    const RecordPlace record = recordOf(directory);
    if (record.records == nullptr || record.records->fields == kNoRow || name == kNoRow) {
        return nullptr;
    }
    const auto field = directory.file->findField(record.records->fields, name);
    return field ? &directory.file->fieldOf(*record.records, record.element, *field) : nullptr;
}

}  // namespace ifdsweep::python
