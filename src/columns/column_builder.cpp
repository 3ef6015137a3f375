#include "columns/column_builder.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace ifdsweep {
namespace {

using Offset = std::int32_t;

constexpr std::size_t kMostBytes = std::numeric_limits<Offset>::max();

struct Range {
    std::int64_t lowest;
    std::int64_t highest;
};

template <class Number>
constexpr Range kRangeOf{std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()};

/// The integers that a type can hold; none where it holds others.
Range rangeOf(const ColumnType& type) {
    switch (storageOf(type)) {
        case Storage::bits:
            return {0, 1};
        case Storage::integers:
            break;
        default:
            return {1, 0};
    }
    switch (rowWidth(type)) {
        case sizeof(std::int16_t):
            return kRangeOf<std::int16_t>;
        case sizeof(std::int32_t):
            return kRangeOf<std::int32_t>;
        default:
            return kRangeOf<std::int64_t>;
    }
}

Offset offsetAt(const GrowingBuffer& offsets, std::size_t number) noexcept {
    Offset offset;
    std::memcpy(&offset, offsets.data() + number * sizeof offset, sizeof offset);
    return offset;
}

void fillOffsets(std::byte* begin, std::size_t count, Offset offset) noexcept {
    for (std::size_t number = 0; number < count; ++number) {
        std::memcpy(begin + number * sizeof offset, &offset, sizeof offset);
    }
}

/// How many of the bits in [begin, end) are not set.
std::size_t clearBits(const std::byte* bits, std::size_t begin, std::size_t end) noexcept {
    std::size_t sum = 0;
    for (std::size_t bit = begin; bit < end; ++bit) {
        sum += (std::to_integer<unsigned>(bits[bit / 8]) >> bit % 8 & 1U) == 0 ? 1U : 0U;
    }
    return sum;
}

/// Appends `added` bits that are not set to `count` others. Those of the last byte that are behind
/// them are not set either.
void appendClearBits(GrowingBuffer& bits, std::size_t count, std::size_t added) {
    const std::size_t used = bitBytes(count);
    const std::size_t wanted = bitBytes(count + added);
    std::byte* const begin = bits.reserve(wanted, used);
    if (count % 8 != 0) {
        begin[used - 1] &= std::byte{0xFF} >> static_cast<int>(8 - count % 8);
    }
    std::fill(begin + used, begin + wanted, std::byte{0});
}

}  // namespace

ColumnBuilder::ColumnBuilder(ColumnType columnType, std::size_t* contentCounter)
    : ColumnBuilder(columnType, contentCounter, 0) {}

ColumnBuilder::ColumnBuilder(ColumnType columnType, std::size_t* contentCounter,
                             std::size_t bytesOfRow)
    : valueType(columnType),
      storage(storageOf(columnType)),
      width(rowWidth(columnType)),
      counter(contentCounter),
      countedRow(bytesOfRow) {
    const Range range = rangeOf(columnType);
    lowest = range.lowest;
    highest = range.highest;
    const auto nest = [this](const ColumnType& type) {
        nested.push_back(ColumnBuilder(type, counter, rowWidth(type)));
    };
    if (storage == Storage::lists) {
        nest({columnType.item});
    } else if (storage == Storage::words) {
        nest({ItemType::utf8});
    } else {
        for (const Member& member : membersOf(columnType.item)) {
            nest(member.type);
        }
    }
}

void ColumnBuilder::refuse() {
    throw std::logic_error("a column cannot have values of that kind");
}

void ColumnBuilder::setText(std::size_t row, std::string_view text) {
    require(storage == Storage::texts || storage == Storage::words);
    reach(row);
    if (storage == Storage::words) {
        putWord(text);
    } else {
        putText(text);
    }
    finishRow();
}

void ColumnBuilder::putText(std::string_view text) {
    const std::size_t begin = textEnd();
    if (text.size() > kMostBytes - begin) {
        throw std::length_error("a column of texts has more bytes than its offsets can tell");
    }
    if (!text.empty()) {
        std::memcpy(letters.reserve(begin + text.size(), begin) + begin, text.data(), text.size());
    }
    std::byte* const offsets =
        values.reserve((count + 2) * sizeof(Offset), count == 0 ? 0 : (count + 1) * sizeof(Offset));
    fillOffsets(offsets + count * sizeof(Offset), 1, static_cast<Offset>(begin));
    fillOffsets(offsets + (count + 1) * sizeof(Offset), 1,
                static_cast<Offset>(begin + text.size()));
    countContent(text.size());
}

void ColumnBuilder::putWord(std::string_view text) {
    ColumnBuilder& texts = nested[0];
    const std::uint32_t row = index.rowOf(
        text, texts.count, [&texts](std::size_t number) { return texts.textAt(number); },
        [&texts, text] { texts.appendText(text); });
    put(values, static_cast<Offset>(row));
}

std::size_t ColumnBuilder::textEnd() const noexcept {
    return count == 0 ? 0 : static_cast<std::size_t>(offsetAt(values, count));
}

std::string_view ColumnBuilder::textAt(std::size_t row) const noexcept {
    const auto begin = static_cast<std::size_t>(offsetAt(values, row));
    const auto end = static_cast<std::size_t>(offsetAt(values, row + 1));
    if (begin == end) {
        return {};
    }
    const void* const bytes = letters.data() + begin;
    return {static_cast<const char*>(bytes), end - begin};
}

std::int32_t ColumnBuilder::itemsEnd() const {
    if (nested[0].count > kMostBytes) {
        throw std::length_error("a column of lists has more items than its offsets can tell");
    }
    return static_cast<Offset>(nested[0].count);
}

void ColumnBuilder::beginList(std::size_t row) {
    require(storage == Storage::lists);
    reach(row);
    put(values, itemsEnd());
    finishRow();
}

void ColumnBuilder::setStruct(std::size_t row) {
    require(storage == Storage::structs);
    reach(row);
    finishRow();
}

/// Tells of all rows so far, none of which is null, that they are not.
void ColumnBuilder::showNulls() {
    const std::size_t size = bitBytes(count);
    std::byte* const bits = validity.reserve(size, 0);
    std::fill(bits, bits + size, std::byte{0xFF});
}

/// Makes the rows from the last one up to this one null, or takes back what is there of them.
void ColumnBuilder::skipTo(std::size_t row) {
    if (row <= count) {
        cut(row);
        return;
    }
    const std::size_t added = row - count;
    if (nullCount == 0) {
        showNulls();
    }
    appendClearBits(validity, count, added);
    switch (storage) {
        case Storage::structs:
            break;
        case Storage::bits:
            appendClearBits(values, count, added);
            break;
        case Storage::lists: {
            const Offset end = itemsEnd();
            std::byte* const offsets = values.reserve(row * width, count * width);
            fillOffsets(offsets + count * width, added, end);
            break;
        }
        case Storage::texts: {
            const auto end = static_cast<Offset>(textEnd());
            std::byte* const offsets =
                values.reserve((row + 1) * width, count == 0 ? 0 : (count + 1) * width);
            fillOffsets(offsets + count * width, added + 1, end);
            break;
        }
        case Storage::words:
        case Storage::integers:
        case Storage::reals:
            std::byte* const begin = values.reserve(row * width, count * width) + count * width;
            std::fill(begin, begin + added * width, std::byte{0});
    }
    nullCount += added;
    count = row;
    countContent(added * countedRow);
}

void ColumnBuilder::cut(std::size_t row) noexcept {
    if (row >= count) {
        return;
    }
    if (nullCount != 0) {
        nullCount -= clearBits(validity.data(), row, count);
    }
    if (storage == Storage::lists) {
        nested[0].cut(static_cast<std::size_t>(offsetAt(values, row)));
    } else if (storage == Storage::structs) {
        for (ColumnBuilder& member : nested) {
            member.cut(row);
        }
    }
    count = row;
}

std::size_t ColumnBuilder::byteCount() const noexcept {
    const std::size_t bits = storage == Storage::bits ? bitBytes(count) : 0;
    std::size_t sum = bits + (nullCount != 0 ? bitBytes(count) : 0) + count * width;
    sum += storage == Storage::texts ? textEnd() : 0;
    for (const ColumnBuilder& inner : nested) {
        sum += inner.byteCount();
    }
    return sum;
}

void ColumnBuilder::clear() noexcept {
    count = 0;
    nullCount = 0;
    index.clear();
    for (ColumnBuilder& inner : nested) {
        inner.clear();
    }
}

ColumnArray ColumnBuilder::take(std::size_t rows) {
    SharedLines small;
    return take(rows, small);
}

ColumnArray ColumnBuilder::take(std::size_t rows, SharedLines& small) {
    struct Clearing {
        ColumnBuilder& builder;
        ~Clearing() { builder.clear(); }
    };
    const Clearing clearing{*this};
    if (count == 0) {
        return nullColumn(valueType, rows);
    }
    skipTo(rows);
    return takeBuffers(rows, small);
}

ColumnArray ColumnBuilder::takeBuffers(std::size_t rows, SharedLines& small) {
    ColumnArray array{valueType, rows, nullCount};
    array.buffers[0] = nullCount == 0 ? ColumnBuffer{} : validity.release(bitBytes(rows), small);
    switch (storage) {
        case Storage::bits:
            array.buffers[1] = values.release(bitBytes(rows), small);
            break;
        case Storage::integers:
        case Storage::reals:
            array.buffers[1] = values.release(rows * width, small);
            break;
        case Storage::texts: {
            const std::size_t end = textEnd();
            array.buffers[1] = values.release((rows + 1) * width, small);
            array.buffers[2] = letters.release(end, small);
            break;
        }
        case Storage::words:
            array.buffers[1] = values.release(rows * width, small);
            array.dictionary.push_back(nested[0].take(nested[0].count, small));
            break;
        case Storage::lists:
            put(values, itemsEnd());
            array.buffers[1] = values.release((rows + 1) * width, small);
            array.children.push_back(nested[0].take(nested[0].count, small));
            break;
        case Storage::structs:
            for (ColumnBuilder& member : nested) {
                array.children.push_back(member.take(rows, small));
            }
    }
    return array;
}

}  // namespace ifdsweep
