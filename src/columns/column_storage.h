#pragma once

// Column storage: in which buffers the values of an item type lie. Pure functions; any thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "columns/column_type.h"

namespace ifdsweep {

enum class Storage : std::uint8_t {
    bits,      ///< a bit each
    integers,  ///< 2, 4 or 8 bytes each
    reals,     ///< 8 bytes each
    texts,     ///< offsets and bytes
    words,     ///< the rows, of 4 bytes, of texts in a dictionary
    lists,     ///< offsets and items
    structs,   ///< members
};

[[nodiscard]] constexpr Storage storageOf(const ColumnType& type) noexcept {
    if (type.isList) {
        return Storage::lists;
    }
    switch (type.item) {
        case ItemType::boolean:
            return Storage::bits;
        case ItemType::float64:
            return Storage::reals;
        case ItemType::utf8:
        case ItemType::binary:
            return Storage::texts;
        case ItemType::word:
            return Storage::words;
        case ItemType::rational:
        case ItemType::unknownTag:
            return Storage::structs;
        case ItemType::int16:
        case ItemType::int32:
        case ItemType::int64:
        case ItemType::time:
        case ItemType::instant:
            break;
    }
    return Storage::integers;
}

/// Bytes that a row takes in the values, or in the offsets where it has some; 0 of bits and
/// structs.
[[nodiscard]] constexpr std::size_t rowWidth(const ColumnType& type) noexcept {
    constexpr std::size_t kOffset = sizeof(std::int32_t);
    switch (storageOf(type)) {
        case Storage::bits:
        case Storage::structs:
            return 0;
        case Storage::texts:
        case Storage::words:
        case Storage::lists:
            return kOffset;
        case Storage::integers:
            if (type.item == ItemType::int16) {
                return sizeof(std::int16_t);
            }
            return type.item == ItemType::int32 ? sizeof(std::int32_t) : sizeof(std::int64_t);
        case Storage::reals:
            break;
    }
    return sizeof(double);
}

/// How many buffers an array has.
[[nodiscard]] constexpr std::size_t bufferCount(const ColumnType& type) noexcept {
    switch (storageOf(type)) {
        case Storage::structs:
            return 1;
        case Storage::texts:
            return 3;
        default:
            return 2;
    }
}

/// Bytes that so many bits take.
[[nodiscard]] constexpr std::size_t bitBytes(std::size_t bits) noexcept {
    return bits / 8 + (bits % 8 != 0 ? 1 : 0);
}

/// A member of the structs.
struct Member {
    const char* name;
    ColumnType type;
};

/// The members of `rational` and `unknownTag`; none of other items.
[[nodiscard]] std::span<const Member> membersOf(ItemType item) noexcept;

}  // namespace ifdsweep
