#pragma once

// Places: how rows of a packed file belong together: a directory and its record, its fields and its
// entries, those below it.
//
// Threads: any. Errors: none.

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "objects.h"

namespace ifdsweep::python {

/// The directories of a record array, in its order; none where it is none of directories.
[[nodiscard]] std::span<const std::uint32_t> directoriesIn(const PackedFile& file,
                                                           std::uint32_t recordsValue) noexcept;

/// The record of a directory: one of the records of an array.
struct RecordPlace {
    const PackedArrayRow* records;
    std::uint32_t element;
};

[[nodiscard]] RecordPlace recordOf(const Directory& directory) noexcept;

/// The names of its fields, as rows of the table of names.
[[nodiscard]] std::span<const std::uint32_t> fieldNamesOf(const Directory& directory) noexcept;

/// The value of a field; null where the record has no such field.
[[nodiscard]] const PackedValueRow* fieldOf(const Directory& directory,
                                            std::uint32_t name) noexcept;

/// Calls a function with each entry and default of a directory, in the order of the walk.
/// @param visit called with the entry's row number and row
template <class Visit>
void forEachEntry(const PackedFile& file, const PackedDirectoryRow& directory, Visit&& visit) {
    for (std::uint32_t row = directory.firstEntry; row != kNoRow; row = file.entries()[row].next) {
        visit(row, file.entries()[row]);
    }
}

/// Calls a function with each directory that a pointer of this one leads to and that has a record.
/// @param visit called with the directory's row number and row
template <class Visit>
void forEachChild(const Directory& directory, Visit&& visit) {
    const auto rows = directory.file->directories();
    for (std::uint32_t number = directory.number + 1; number < rows.size(); ++number) {
        const PackedDirectoryRow& row = rows[number];
        if (row.parent == kNoRow || row.parent < directory.number) {
            return;  // those below a directory follow it
        }
        if (row.parent == directory.number && row.records != kNoRow) {
            visit(number, row);
        }
    }
}

}  // namespace ifdsweep::python
