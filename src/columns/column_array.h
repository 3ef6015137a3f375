#pragma once

// Column array: the values of one column of a batch, in the buffers of the Arrow columnar format
// (validity, offsets, values). A batch is made once and never changed.
//
// Ownership: owns its buffers, aligned to 64 bytes. Threads: any.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "columns/column_type.h"

namespace ifdsweep {

/// Bytes that several may keep.
struct ColumnBuffer {
    std::shared_ptr<const std::byte> bytes;  ///< null: the format allows its absence
    std::size_t size = 0;
};

struct ColumnArray {
    ColumnType type;
    std::size_t length = 0;
    std::size_t nullCount = 0;
    /// Validity (none where no value is null); of utf8, binary and lists offsets of 32 bits;
    /// values. The first `bufferCount` are there.
    std::array<ColumnBuffer, 3> buffers{};
    std::vector<ColumnArray> children{};    ///< a list's items; the members of a struct
    std::vector<ColumnArray> dictionary{};  ///< of words: one array, the texts

    // For those who look at values in place; `row` is below `length`.
    [[nodiscard]] bool isNull(std::size_t row) const noexcept;
    [[nodiscard]] std::int64_t integer(std::size_t row) const noexcept;   ///< of every integer type
    [[nodiscard]] double number(std::size_t row) const noexcept;          ///< float64
    [[nodiscard]] std::string_view text(std::size_t row) const noexcept;  ///< utf8, binary, word
    /// The rows of `children[0]` that are the items of a list: the first, and behind the last.
    [[nodiscard]] std::pair<std::size_t, std::size_t> items(std::size_t row) const noexcept;

    /// Of its buffers, those of its children and of its dictionary.
    [[nodiscard]] std::size_t byteCount() const noexcept;
};

/// An array of nulls alone. Such arrays share their memory, unless they are very long.
[[nodiscard]] ColumnArray nullColumn(ColumnType type, std::size_t rows);

/// Some rows of a table: an array for each column of its schema.
struct ColumnBatch {
    std::size_t rows = 0;
    std::vector<ColumnArray> columns;

    [[nodiscard]] std::size_t byteCount() const noexcept;
};

}  // namespace ifdsweep
