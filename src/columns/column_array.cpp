#include "columns/column_array.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "columns/column_storage.h"
#include "columns/growing_buffer.h"

namespace ifdsweep {
namespace {

template <class Number>
Number at(const ColumnBuffer& buffer, std::size_t row) noexcept {
    Number number;
    std::memcpy(&number, buffer.bytes.get() + row * sizeof number, sizeof number);
    return number;
}

bool bitAt(const ColumnBuffer& buffer, std::size_t row) noexcept {
    return (std::to_integer<unsigned>(buffer.bytes.get()[row / 8]) >> row % 8 & 1U) != 0;
}

/// Where a value begins and where it ends.
std::pair<std::size_t, std::size_t> runAt(const ColumnArray& array, std::size_t row) noexcept {
    const auto offset = [&array](std::size_t number) {
        return static_cast<std::size_t>(at<std::int32_t>(array.buffers[1], number));
    };
    return {offset(row), offset(row + 1)};
}

ColumnBuffer makeZeros(std::size_t size) {
    GrowingBuffer zeros;
    std::memset(zeros.reserve(size, 0), 0, size);
    SharedLines lines;
    return zeros.release(size, lines);
}

/// Bytes that are zero, at least one of them.
ColumnBuffer zerosOf(std::size_t size) {
    constexpr std::size_t kSharedRows = 65'536;
    constexpr std::size_t kSharedSize = (kSharedRows + 1) * sizeof(double);
    if (size > kSharedSize) {
        return makeZeros(size);
    }
    static const ColumnBuffer kShared = makeZeros(kSharedSize);
    return {kShared.bytes, size};
}

}  // namespace

bool ColumnArray::isNull(std::size_t row) const noexcept {
    return nullCount != 0 && !bitAt(buffers[0], row);
}

std::int64_t ColumnArray::integer(std::size_t row) const noexcept {
    if (type.item == ItemType::boolean) {
        return bitAt(buffers[1], row) ? 1 : 0;
    }
    switch (rowWidth(type)) {
        case sizeof(std::int16_t):
            return at<std::int16_t>(buffers[1], row);
        case sizeof(std::int32_t):
            return at<std::int32_t>(buffers[1], row);
        default:
            return at<std::int64_t>(buffers[1], row);
    }
}

double ColumnArray::number(std::size_t row) const noexcept {
    return at<double>(buffers[1], row);
}

std::string_view ColumnArray::text(std::size_t row) const noexcept {
    if (type.item == ItemType::word) {
        return dictionary[0].text(static_cast<std::size_t>(at<std::int32_t>(buffers[1], row)));
    }
    const auto [begin, end] = runAt(*this, row);
    const void* const bytes = buffers[2].bytes.get();
    return {static_cast<const char*>(bytes) + begin, end - begin};
}

std::pair<std::size_t, std::size_t> ColumnArray::items(std::size_t row) const noexcept {
    return runAt(*this, row);
}

std::size_t ColumnArray::byteCount() const noexcept {
    std::size_t sum = 0;
    for (const ColumnBuffer& buffer : buffers) {
        sum += buffer.size;
    }
    for (const ColumnArray& child : children) {
        sum += child.byteCount();
    }
    for (const ColumnArray& texts : dictionary) {
        sum += texts.byteCount();
    }
    return sum;
}

ColumnArray nullColumn(ColumnType type, std::size_t rows) {
    ColumnArray array{type, rows, rows};
    const Storage storage = storageOf(type);
    array.buffers[0] = rows == 0 ? ColumnBuffer{} : zerosOf(bitBytes(rows));
    switch (storage) {
        case Storage::structs:
            for (const Member& member : membersOf(type.item)) {
                array.children.push_back(nullColumn(member.type, rows));
            }
            break;
        case Storage::bits:
            array.buffers[1] = zerosOf(bitBytes(rows));
            break;
        case Storage::texts:
        case Storage::lists:
            array.buffers[1] = zerosOf((rows + 1) * rowWidth(type));
            if (storage == Storage::texts) {
                array.buffers[2] = zerosOf(0);
            } else {
                array.children.push_back(nullColumn({type.item}, 0));
            }
            break;
        case Storage::words:
            array.dictionary.push_back(nullColumn({ItemType::utf8}, 0));
            [[fallthrough]];
        case Storage::integers:
        case Storage::reals:
            array.buffers[1] = zerosOf(rows * rowWidth(type));
    }
    return array;
}

std::size_t ColumnBatch::byteCount() const noexcept {
    std::size_t sum = 0;
    for (const ColumnArray& column : columns) {
        sum += column.byteCount();
    }
    return sum;
}

}  // namespace ifdsweep
