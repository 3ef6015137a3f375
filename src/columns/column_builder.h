#pragma once

// Column builder: one column of a table that grows row by row. Values are set by the number of
// their row; rows in between that were not set are null, so a row costs the columns that it fills
// and no others. A row that is there already is set anew, and those behind it are taken back.
//
// Ownership: owns its buffers. Threads: one at a time. Errors: std::bad_alloc; std::length_error
// where offsets of 32 bits would not do (whoever fills keeps batches far below that); a row that
// could not be set is null. std::logic_error for a value that the type cannot have.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "columns/column_array.h"
#include "columns/column_storage.h"
#include "columns/column_type.h"
#include "columns/growing_buffer.h"
#include "columns/word_index.h"

namespace ifdsweep {

class ColumnBuilder {
public:
    /// @param contentCounter outlives the builder; raised by the bytes of texts, items and members,
    /// which are not the same for every row, as they are set
    explicit ColumnBuilder(ColumnType columnType, std::size_t* contentCounter = nullptr);

    [[nodiscard]] ColumnType type() const noexcept { return valueType; }

    /// int16, int32, int64, boolean, time, instant. What does not fit the width is null.
    void setInteger(std::size_t row, std::int64_t value);
    void setNumber(std::size_t row, double value);         ///< float64
    void setText(std::size_t row, std::string_view text);  ///< utf8 (valid), binary, word
    void setBytes(std::size_t row, std::span<const std::uint8_t> bytes) {  ///< binary
        const void* const begin = bytes.data();
        setText(row, {static_cast<const char*>(begin), bytes.size()});
    }

    /// Begins a list, empty so far; its items are appended to `items()`.
    void beginList(std::size_t row);
    /// The builder of a list's items: what is appended belongs to the list begun last.
    [[nodiscard]] ColumnBuilder& items() noexcept { return nested[0]; }

    /// The next row: of items, the next one.
    void appendInteger(std::int64_t value) { setInteger(size(), value); }
    void appendNumber(double value) { setNumber(size(), value); }
    void appendText(std::string_view text) { setText(size(), text); }
    void appendNull() { skipTo(size() + 1); }
    /// Items of `rational` and `unknownTag`: a struct, whose members are set at `row`.
    void setStruct(std::size_t row);
    [[nodiscard]] ColumnBuilder& member(std::size_t number) noexcept { return nested[number]; }

    /// Rows so far, set or null before one that is set.
    [[nodiscard]] std::size_t size() const noexcept { return count; }
    /// About the memory of all rows so far.
    [[nodiscard]] std::size_t byteCount() const noexcept;

    /// Takes back the rows from this one on.
    void cut(std::size_t row) noexcept;

    /// Takes the rows as an array of so many, the last of them null where they were not set. The
    /// builder is empty afterwards, also when this throws. Rows beyond so many are lost.
    /// @param small what the small buffers of several columns may lie in
    [[nodiscard]] ColumnArray take(std::size_t rows, SharedLines& small);
    [[nodiscard]] ColumnArray take(std::size_t rows);

private:
    ColumnBuilder(ColumnType columnType, std::size_t* contentCounter, std::size_t bytesOfRow);

    void reach(std::size_t row) {
        if (row != count) {
            skipTo(row);
        }
    }
    void skipTo(std::size_t row);
    void require(bool isOfType) const {
        if (!isOfType) {
            refuse();
        }
    }
    [[noreturn]] static void refuse();

    template <class Number>
    void put(GrowingBuffer& buffer, Number number) {
        std::byte* const begin = buffer.reserve((count + 1) * sizeof number, count * sizeof number);
        std::memcpy(begin + count * sizeof number, &number, sizeof number);
    }
    /// The row whose value was put is there.
    void finishRow() {
        if (nullCount != 0) {
            putBit(validity, true);
        }
        ++count;
        countContent(countedRow);
    }
    void countContent(std::size_t bytes) noexcept {
        if (counter != nullptr) {
            *counter += bytes;
        }
    }
    /// Puts a bit behind those of the rows that are there; those behind it are not set.
    void putBit(GrowingBuffer& bits, bool isSet) {
        std::byte& last = bits.reserve(count / 8 + 1, bitBytes(count))[count / 8];
        const unsigned before = std::to_integer<unsigned>(last) & ((1U << count % 8) - 1);
        last = static_cast<std::byte>(before | (isSet ? 1U : 0U) << count % 8);
    }
    void showNulls();

    void putText(std::string_view text);
    void putWord(std::string_view text);
    [[nodiscard]] std::size_t textEnd() const noexcept;
    [[nodiscard]] std::string_view textAt(std::size_t row) const noexcept;
    [[nodiscard]] std::int32_t itemsEnd() const;
    [[nodiscard]] ColumnArray takeBuffers(std::size_t rows, SharedLines& small);
    void clear() noexcept;

    ColumnType valueType;
    Storage storage;
    std::size_t width;
    std::size_t* counter;
    std::size_t countedRow;   ///< bytes of a row for the counter: of what is nested in a column
    std::int64_t lowest = 0;  ///< of integers
    std::int64_t highest = 0;

    std::size_t count = 0;
    std::size_t nullCount = 0;
    GrowingBuffer validity;  ///< means something where there are nulls
    GrowingBuffer values;    ///< of texts and lists the offsets; of lists without the last
    GrowingBuffer letters;   ///< of texts
    /// The items of a list, the members of a struct, the texts of words.
    std::vector<ColumnBuilder> nested;
    WordIndex index;
};

inline void ColumnBuilder::setInteger(std::size_t row, std::int64_t value) {
    if (value < lowest || value > highest) {
        require(storage == Storage::integers || storage == Storage::bits);
        skipTo(row + 1);
        return;
    }
    reach(row);
    switch (width) {
        case sizeof(std::int64_t):
            put(values, value);
            break;
        case sizeof(std::int32_t):
            put(values, static_cast<std::int32_t>(value));
            break;
        case sizeof(std::int16_t):
            put(values, static_cast<std::int16_t>(value));
            break;
        default:
            putBit(values, value != 0);
    }
    finishRow();
}

inline void ColumnBuilder::setNumber(std::size_t row, double value) {
    require(storage == Storage::reals);
    reach(row);
    put(values, value);
    finishRow();
}

}  // namespace ifdsweep
