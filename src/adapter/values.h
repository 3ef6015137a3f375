#pragma once

// Host values as the module holds them until they are handed over: an owning handle, and makers
// for the shapes that the module uses. The handle frees a value that an exception leaves behind.
// Stateless; a value belongs to the thread of its call.

#include <array>
#include <cstddef>
#include <memory>

#include "ifdsweep/qx.h"

namespace ifdsweep::module {

struct QxArrayDeleter {
    void operator()(qxArray* value) const noexcept { qxDestroyArray(value); }
};

/// A host value that the module still owns; null when there is none.
using OwnedValue = std::unique_ptr<qxArray, QxArrayDeleter>;

/// Hands a value over to a field of one element (zero-based); null leaves the field empty.
inline void setField(qxArray* records, std::size_t index, const char* name, OwnedValue value) {
    qxSetField(records, index, name, value.get());
    static_cast<void>(value.release());  // only now is it the record array's
}

/// Hands a value over to a cell (zero-based); null leaves the cell empty.
inline void setCell(qxArray* cells, std::size_t index, OwnedValue value) {
    qxSetCell(cells, index, value.get());
    static_cast<void>(value.release());
}

/// An unfilled rows-by-columns numeric array.
inline OwnedValue makeNumericArray(std::size_t rows, std::size_t columns, qxClassID classId) {
    const std::array<std::size_t, 2> dimensions{rows, columns};
    return OwnedValue(qxCreateNumericArray(dimensions.size(), dimensions.data(), classId, qxREAL));
}

/// An unfilled rows-by-columns character array.
inline OwnedValue makeCharArray(std::size_t rows, std::size_t columns) {
    const std::array<std::size_t, 2> dimensions{rows, columns};
    return OwnedValue(qxCreateCharArray(dimensions.size(), dimensions.data()));
}

/// A 1-by-`columns` cell array of empty cells.
inline OwnedValue makeCellRow(std::size_t columns) {
    const std::array<std::size_t, 2> dimensions{1, columns};
    return OwnedValue(qxCreateCellArray(dimensions.size(), dimensions.data()));
}

/// A column of `rows` records with the given fields, all empty.
inline OwnedValue makeRecords(std::size_t rows, std::size_t fieldCount,
                              const char* const* fieldNames) {
    const std::array<std::size_t, 2> dimensions{rows, 1};
    return OwnedValue(
        qxCreateStructArray(dimensions.size(), dimensions.data(), fieldCount, fieldNames));
}

/// The empty 0-by-0 double array.
inline OwnedValue makeEmptyDouble() {
    return OwnedValue(qxCreateNumericArray(0, nullptr, qxDOUBLE_CLASS, qxREAL));
}

inline OwnedValue makeDoubleScalar(double value) {
    return OwnedValue(qxCreateDoubleScalar(value));
}

/// A character row of a NUL-terminated text, one character a byte.
inline OwnedValue makeString(const char* text) {
    return OwnedValue(qxCreateString(text));
}

}  // namespace ifdsweep::module
