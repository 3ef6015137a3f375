#pragma once

// Packed layout: how the tables of a packed file follow each other in its block. The head tells
// where each lies; the heap is the last, and what it ends with are the texts of the names. Each
// table begins at a multiple of 8, and what lies between two is zero.
//
// Pure functions and plain values; any thread.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "pack/packed_rows.h"

namespace ifdsweep {

enum class PackedTable : std::uint8_t {
    streams,
    directories,
    entries,
    values,
    arrays,
    fieldLists,
    fieldNames,
    elements,
    names,
    nameIndex,  ///< name rows by the hash of their text, `kNoRow` where there is none
    messages,
    arguments,
    heap,
};

/// Bytes of a row, by the numbers of the tables.
inline constexpr std::array<std::uint64_t, 13> kPackedRowSizes{
    sizeof(PackedStreamRow), sizeof(PackedDirectoryRow), sizeof(PackedEntryRow),
    sizeof(PackedValueRow),  sizeof(PackedArrayRow),     sizeof(PackedFieldsRow),
    sizeof(std::uint32_t),   sizeof(std::uint32_t),      sizeof(PackedNameRow),
    sizeof(std::uint32_t),   sizeof(PackedMessageRow),   sizeof(PackedArgumentRow),
    sizeof(std::uint8_t),
};

[[nodiscard]] constexpr std::uint64_t packedRowSize(PackedTable table) noexcept {
    return kPackedRowSizes[static_cast<std::size_t>(table)];
}

struct PackedPlace {
    std::uint64_t begin = 0;  ///< in the block
    std::uint64_t count = 0;  ///< of rows
};

using PackedPlaces = std::array<PackedPlace, kPackedRowSizes.size()>;

/// What a block begins with.
struct PackedHead {
    /// "ifdspack" as the machine stores it: in another byte order it is another number.
    static constexpr std::uint64_t kMagic = 0x6B63617073646669;
    static constexpr std::uint64_t kVersion = 1;

    std::uint64_t magic = kMagic;
    std::uint64_t version = kVersion;
    std::uint64_t size = 0;  ///< of the block
    PackedFileRow file{};
    PackedPlaces tables{};

    [[nodiscard]] PackedPlace& operator[](PackedTable table) noexcept {
        return tables[static_cast<std::size_t>(table)];
    }
    [[nodiscard]] const PackedPlace& operator[](PackedTable table) const noexcept {
        return tables[static_cast<std::size_t>(table)];
    }
};

[[nodiscard]] constexpr std::uint64_t roundedUp(std::uint64_t size,
                                                std::uint64_t alignment) noexcept {
    return (size + alignment - 1) & ~(alignment - 1);
}

/// Puts the tables, whose counts are set, one after the other.
constexpr void layOut(PackedHead& head) noexcept {
    constexpr std::uint64_t kAlignment = 8;
    head.size = sizeof(PackedHead);
    for (std::size_t table = 0; table < head.tables.size(); ++table) {
        head.tables[table].begin = roundedUp(head.size, kAlignment);
        head.size = head.tables[table].begin + head.tables[table].count * kPackedRowSizes[table];
    }
}

/// Texts that values may share are as long as the name of a file can be, which all records have.
inline constexpr std::uint64_t kLongestSharedText = 4096;  ///< in code units

/// How many cells the index of so many names has: at most half of them are taken.
[[nodiscard]] constexpr std::uint64_t nameCells(std::uint64_t names) noexcept {
    constexpr std::uint64_t kFewest = 256;
    return names < kFewest / 2 ? kFewest : std::bit_ceil(2 * names + 1);
}

/// Whether bytes are the same, for short texts: by words whose ends may overlap, without a call.
[[nodiscard]] inline bool areSameBytes(const void* left, const void* right,
                                       std::size_t size) noexcept {
    const auto* const first = static_cast<const unsigned char*>(left);
    const auto* const second = static_cast<const unsigned char*>(right);
    const auto differ = [&]<class Word>(std::size_t position, Word one) {
        Word other;
        std::memcpy(&one, first + position, sizeof one);
        std::memcpy(&other, second + position, sizeof other);
        return one != other;
    };
    constexpr std::size_t kLongest = 32;
    constexpr std::uint64_t kEight = 0;
    constexpr std::uint32_t kFour = 0;
    if (size > kLongest) {
        return std::memcmp(left, right, size) == 0;
    }
    if (size >= sizeof kEight) {
        for (std::size_t position = 0; position + sizeof kEight < size; position += sizeof kEight) {
            if (differ(position, kEight)) {
                return false;
            }
        }
        return !differ(size - sizeof kEight, kEight);
    }
    if (size >= sizeof kFour) {
        return !differ(0, kFour) && !differ(size - sizeof kFour, kFour);
    }
    for (std::size_t position = 0; position < size; ++position) {
        if (first[position] != second[position]) {
            return false;
        }
    }
    return true;
}

/// The number whose low bits are the cell at which the search for a name begins; it goes on cell by
/// cell, and from the last one to the first.
[[nodiscard]] inline std::uint64_t hashOfName(std::string_view text) noexcept {
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
    constexpr std::size_t kWord = 8;
    const auto mixed = [](std::uint64_t hash, std::uint64_t word) {
        const std::uint64_t product = (hash ^ word) * kFactor;
        return product ^ product >> 32U;
    };
    std::uint64_t hash = text.size();
    std::uint64_t word = 0;
    if (text.size() < kWord) {
        // The ends, which overlap: every byte takes part in any case.
        const std::size_t half = text.size() < kWord / 2 ? (text.size() + 1) / 2 : kWord / 2;
        for (std::size_t i = 0; i < half; ++i) {
            const auto first = static_cast<unsigned char>(text[i]);
            const auto last = static_cast<unsigned char>(text[text.size() - half + i]);
            word |= std::uint64_t{first} << 8 * i | std::uint64_t{last} << 8 * (i + kWord / 2);
        }
        return mixed(hash, word);
    }
    for (std::size_t i = 0; i + kWord < text.size(); i += kWord) {
        std::memcpy(&word, text.data() + i, kWord);
        hash = mixed(hash, word);
    }
    std::memcpy(&word, text.data() + text.size() - kWord, kWord);
    return mixed(hash, word);
}

}  // namespace ifdsweep
