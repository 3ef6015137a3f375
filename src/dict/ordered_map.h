#pragma once

// Constant ordered maps from 16-bit keys, made at compile time from literal rows. Where a list
// holds a key twice, the first row wins. Nothing is built when the module is loaded or called.
//
// `kOrdered` is the constant that owns the rows; `OrderedMap` is the view of them that the readers
// use. A key is found through the page of keys in which it lies, by two table accesses. A view owns
// nothing; any thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace ifdsweep::module {

/// One literal row.
template <class Value>
struct Row {
    std::uint16_t key;
    Value value;
};

/// The keys of a page share what is left of them when divided by so many.
inline constexpr std::size_t kPageKeys = 128;
inline constexpr std::size_t kPages = 65536 / kPageKeys;

/// For each key of a page its row's number plus 1; 0 for none.
using RowPage = std::array<std::uint16_t, kPageKeys>;

/// The number of pages in which keys of the rows lie.
template <class Value, std::size_t count>
consteval std::size_t usedPages(const Row<Value> (&rows)[count]) {
    std::array<bool, kPages> used{};
    std::size_t number = 0;
    for (const Row<Value>& row : rows) {
        bool& isUsed = used[row.key / kPageKeys];
        number += isUsed ? 0 : 1;
        isUsed = true;
    }
    return number;
}

/// The rows of a map in ascending order of their keys, each key once.
template <class Value, std::size_t capacity, std::size_t pageCount>
struct OrderedRows {
    static_assert(pageCount < 256, "a page's number is a byte");

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
        std::uint8_t lastPage = 0;
        for (std::size_t i = 0; i < size; ++i) {
            std::uint8_t& page = pageOf[keys[i] / kPageKeys];
            if (page == 0) {
                page = ++lastPage;
            }
            pages[page][keys[i] % kPageKeys] = static_cast<std::uint16_t>(i + 1);
        }
    }

    std::array<std::uint16_t, capacity> keys{};
    std::array<Value, capacity> values{};
    std::size_t size = 0;
    std::array<std::uint8_t, kPages> pageOf{};
    std::array<RowPage, pageCount + 1> pages{};  ///< the first is empty
};

/// The ordered rows of a list, which is a constant of static storage.
template <const auto& rows>
inline constexpr OrderedRows<decltype(rows[0].value), std::size(rows), usedPages(rows)> kOrdered(
    rows);

/// View of constant rows.
template <class Value>
class OrderedMap {
public:
    static constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

    /// A map without rows.
    constexpr OrderedMap() = default;

    template <std::size_t capacity, std::size_t pageCount>
    constexpr explicit(false) OrderedMap(const OrderedRows<Value, capacity, pageCount>& rows)
        : keys(rows.keys.data()),
          values(rows.values.data()),
          rowCount(rows.size),
          pageOf(rows.pageOf.data()),
          pages(rows.pages.data()) {}

    [[nodiscard]] constexpr std::size_t size() const { return rowCount; }
    [[nodiscard]] constexpr std::uint16_t keyAt(std::size_t row) const { return keys[row]; }
    [[nodiscard]] constexpr const Value& valueAt(std::size_t row) const { return values[row]; }

    /// The row of a key in ascending order, or `kNotFound`.
    [[nodiscard]] constexpr std::size_t rowOf(std::uint16_t key) const {
        static_assert(kNotFound + 1 == 0, "no row is row number 0, less 1");
        return std::size_t{pages[pageOf[key / kPageKeys]][key % kPageKeys]} - 1;
    }

    /// The value of a key, or null.
    [[nodiscard]] constexpr const Value* find(std::uint16_t key) const {
        const std::size_t row = rowOf(key);
        return row == kNotFound ? nullptr : values + row;
    }

private:
    static constexpr std::array<std::uint8_t, kPages> kNoPages{};
    static constexpr RowPage kEmptyPage{};

    const std::uint16_t* keys = nullptr;
    const Value* values = nullptr;
    std::size_t rowCount = 0;
    const std::uint8_t* pageOf = kNoPages.data();
    const RowPage* pages = &kEmptyPage;
};

/// Map to NUL-terminated texts of static storage.
using TextMap = OrderedMap<const char*>;

/// The text of an id, or "unknown".
[[nodiscard]] constexpr const char* search_map(const TextMap* map, std::uint16_t id) {
    const char* const* text = map->find(id);
    return text == nullptr ? "unknown" : *text;
}

}  // namespace ifdsweep::module
