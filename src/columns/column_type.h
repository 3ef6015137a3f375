#pragma once

// Column type: what the values of a column are, whatever the files hold. All integers are signed,
// for not every reader of tables knows others. Plain values; any thread.

#include <cstdint>
#include <string_view>

namespace ifdsweep {

enum class ItemType : std::uint8_t {
    int16,
    int32,
    int64,
    float64,
    boolean,
    utf8,
    binary,
    word,      ///< utf8 of few different texts: a dictionary with indices of 32 bits
    time,      ///< microseconds since 1970-01-01 00:00:00 of a clock whose zone nobody told
    instant,   ///< microseconds since 1970-01-01 00:00:00 UTC
    rational,  ///< a pair `num`, `den` of int64
    /// An entry without a name: `tag`, `type` int32, `count`, `position` int64, `text` utf8,
    /// `numbers` list of float64.
    unknownTag,
};

struct ColumnType {
    ItemType item = ItemType::int64;
    bool isList = false;

    friend bool operator==(const ColumnType&, const ColumnType&) = default;
};

/// The type in words, as documents have it: "int64", "list<float64>", "word".
[[nodiscard]] std::string_view columnTypeWord(const ColumnType& type) noexcept;

/// The format string of an item in the Arrow C data interface: "l" for int64; of a word that of its
/// indices; of `rational` and `unknownTag` that of a struct.
[[nodiscard]] const char* arrowFormat(ItemType item) noexcept;

}  // namespace ifdsweep
