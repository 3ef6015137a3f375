#pragma once

// Constant ordered maps from 16-bit keys, made at compile time from literal rows. Where a list
// holds a key twice, the first row wins. Nothing is built when the module is loaded or called.
//
// `OrderedRows` owns the rows (a constant of static storage); `OrderedMap` is the view of them
// that the readers use.

#include <array>
#include <cstddef>
#include <cstdint>

/// One literal row.
template <class Value>
struct Row {
    std::uint16_t key;
    Value value;
};

/// The rows of a map in ascending order of their keys, each key once.
template <class Value, std::size_t capacity>
struct OrderedRows {
    /// Keys below this bound are found by one table access: it covers the tags of TIFF 6.0, which
    /// are nearly all that files hold.
    static constexpr std::size_t kDirectKeys = 704;

    consteval explicit OrderedRows(const Row<Value> (&rows)[capacity]) {
        for (const Row<Value>& row : rows) {
            std::size_t at = 0;
            while (at < size && keys[at] < row.key) {
                ++at;
            }
            if (at < size && keys[at] == row.key) {
                continue;
            }
            for (std::size_t i = size; i > at; --i) {
                keys[i] = keys[i - 1];
                values[i] = values[i - 1];
            }
            keys[at] = row.key;
            values[at] = row.value;
            ++size;
        }
        for (std::size_t i = 0; i < size; ++i) {
            if (keys[i] < kDirectKeys) {
                direct[keys[i]] = static_cast<std::uint16_t>(i + 1);
                firstIndirect = i + 1;
            }
        }
    }

    std::array<std::uint16_t, capacity> keys{};
    std::array<Value, capacity> values{};
    std::size_t size = 0;
    std::size_t firstIndirect = 0;                    ///< first row with a key past the bound
    std::array<std::uint16_t, kDirectKeys> direct{};  ///< row number plus 1; 0: no such key
};

/// View of constant rows.
template <class Value>
class OrderedMap {
public:
    static constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

    /// A map without rows.
    constexpr OrderedMap() = default;

    template <std::size_t capacity>
    constexpr explicit(false) OrderedMap(const OrderedRows<Value, capacity>& rows)
        : keys(rows.keys.data()),
          values(rows.values.data()),
          rowCount(rows.size),
          firstIndirect(rows.firstIndirect),
          direct(rows.direct.data()),
          directKeys(rows.kDirectKeys) {}

    [[nodiscard]] constexpr std::size_t size() const { return rowCount; }
    [[nodiscard]] constexpr std::uint16_t keyAt(std::size_t row) const { return keys[row]; }
    [[nodiscard]] constexpr const Value& valueAt(std::size_t row) const { return values[row]; }

    /// The row of a key in ascending order, or `kNotFound`.
    [[nodiscard]] constexpr std::size_t rowOf(std::uint16_t key) const {
        if (key < directKeys) {
            return direct[key] == 0 ? kNotFound : std::size_t{direct[key]} - 1;
        }
        // Binary search of a fixed number of steps without a branch that could be guessed wrong.
        const std::uint16_t* first = keys + firstIndirect;
        for (std::size_t rows = rowCount - firstIndirect; rows > 1;) {
            const std::size_t half = rows / 2;
            first += first[half - 1] < key ? half : 0;
            rows -= half;
        }
        return firstIndirect < rowCount && *first == key ? static_cast<std::size_t>(first - keys)
                                                         : kNotFound;
    }

    /// The value of a key, or null.
    [[nodiscard]] constexpr const Value* find(std::uint16_t key) const {
        const std::size_t row = rowOf(key);
        return row == kNotFound ? nullptr : values + row;
    }

private:
    const std::uint16_t* keys = nullptr;
    const Value* values = nullptr;
    std::size_t rowCount = 0;
    std::size_t firstIndirect = 0;
    const std::uint16_t* direct = nullptr;
    std::size_t directKeys = 0;
};

/// Map to NUL-terminated texts of static storage.
using TextMap = OrderedMap<const char*>;

/// The text of an id, or "unknown".
[[nodiscard]] constexpr const char* search_map(const TextMap* map, std::uint16_t id) {
    const char* const* text = map->find(id);
    return text == nullptr ? "unknown" : *text;
}
