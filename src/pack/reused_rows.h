#pragma once

// Reused rows: vectors that serve one file after another. Plain functions; any thread.

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "pack/packed_rows.h"

namespace ifdsweep {

/// Empties a vector. What a large file needed is given back.
template <class Row, class Memory>
void emptyForReuse(std::vector<Row, Memory>& rows) {
    constexpr std::size_t kMostKept = std::size_t{1} << 20;  // bytes
    if (rows.capacity() * sizeof(Row) > kMostKept) {
        rows = std::vector<Row, Memory>();
    } else {
        rows.clear();
    }
}

/// The number of the row that is added next. Throws std::bad_alloc where there is none.
template <class Row, class Memory>
[[nodiscard]] std::uint32_t nextRow(const std::vector<Row, Memory>& rows) {
    if (rows.size() >= kNoRow) {
        throw std::bad_alloc();
    }
    return static_cast<std::uint32_t>(rows.size());
}

}  // namespace ifdsweep
