#include "column_values.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <nanobind/ndarray.h>

#include "columns/column_storage.h"
#include "texts.h"
#include "values.h"

namespace ifdsweep::python {
namespace {

/// A read-only array of bytes that an owner keeps.
template <class Number, class Owner>
nb::object arrayOver(const Number* numbers, std::size_t count, Owner owner) {
    auto kept = std::make_unique<Owner>(std::move(owner));
    const nb::capsule holder(kept.get(), [](void* pointer) noexcept {
        const std::unique_ptr<Owner> held(static_cast<Owner*>(pointer));
    });
    static_cast<void>(kept.release());
    return nb::cast(nb::ndarray<nb::numpy, const Number, nb::ndim<1>>(numbers, {count}, holder));
}

template <class Number>
nb::object arrayOf(const ColumnArray& column) {
    const ColumnBuffer& values = column.buffers[1];
    return arrayOver(static_cast<const Number*>(static_cast<const void*>(values.bytes.get())),
                     column.length, values.bytes);
}

/// One truth value for each row.
template <class IsTrue>
nb::object truthArray(std::size_t rows, IsTrue&& isTrue) {
    auto bytes = std::make_unique<bool[]>(rows);
    for (std::size_t row = 0; row < rows; ++row) {
        bytes[row] = isTrue(row);
    }
    const bool* const first = bytes.get();
    return arrayOver(first, rows, std::move(bytes));
}

nb::object numberArray(const ColumnArray& column) {
    switch (column.type.item) {
        case ItemType::int16:
            return arrayOf<std::int16_t>(column);
        case ItemType::int32:
            return arrayOf<std::int32_t>(column);
        case ItemType::float64:
            return arrayOf<double>(column);
        case ItemType::boolean:
            return truthArray(column.length, [&column](std::size_t row) {
                return !column.isNull(row) && column.integer(row) != 0;
            });
        default:
            return arrayOf<std::int64_t>(column);
    }
}

/// Makes values of a column, and each word once.
class ValueMaker {
public:
    explicit ValueMaker(const ColumnArray& columnArray) : column(columnArray) {
        for (const ColumnArray& child : column.children) {
            children.emplace_back(child);
        }
        if (!column.type.isList && column.type.item == ItemType::word) {
            const ColumnArray& texts = column.dictionary[0];
            for (std::size_t row = 0; row < texts.length; ++row) {
                words.push_back(strOf(texts.text(row)));
            }
        }
    }

    [[nodiscard]] nb::object value(std::size_t row) const {
        if (column.isNull(row)) {
            return nb::none();
        }
        return column.type.isList ? items(row) : item(row);
    }

private:
    [[nodiscard]] nb::object items(std::size_t row) const {
        const auto [begin, end] = column.items(row);
        return tupleOf(end - begin, [this, first = begin](std::size_t i) {
            return children[0].value(first + i);
        });
    }

    [[nodiscard]] nb::object item(std::size_t row) const {
        switch (column.type.item) {
            case ItemType::float64:
                return nb::float_(column.number(row));
            case ItemType::boolean:
                return nb::bool_(column.integer(row) != 0);
            case ItemType::utf8:
                return strOf(column.text(row));
            case ItemType::binary: {
                const std::string_view bytes = column.text(row);
                return nb::bytes(bytes.data(), bytes.size());
            }
            case ItemType::word:
                return words[static_cast<std::size_t>(wordOf(row))];
            case ItemType::rational:
                return nb::make_tuple(children[0].value(row), children[1].value(row));
            case ItemType::unknownTag:
                return members(row);
            default:
                return nb::int_(column.integer(row));
        }
    }

    [[nodiscard]] std::int32_t wordOf(std::size_t row) const noexcept {
        const void* const indices = column.buffers[1].bytes.get();
        return static_cast<const std::int32_t*>(indices)[row];
    }

    [[nodiscard]] nb::object members(std::size_t row) const {
        nb::dict tag;
        std::size_t number = 0;
        for (const Member& member : membersOf(ItemType::unknownTag)) {
            tag[strOf(member.name)] = children[number++].value(row);
        }
        return tag;
    }

    const ColumnArray& column;
    std::vector<ValueMaker> children;
    std::vector<nb::object> words;
};

}  // namespace

bool areNumbers(const ColumnType& type) noexcept {
    using enum ItemType;
    constexpr std::array kNumbers{int16, int32, int64, float64, boolean, time, instant};
    return !type.isList && std::find(kNumbers.begin(), kNumbers.end(), type.item) != kNumbers.end();
}

nb::object numberArrays(const ColumnArray& column) {
    nb::object nulls = nb::none();
    if (column.nullCount > 0) {
        nulls =
            truthArray(column.length, [&column](std::size_t row) { return column.isNull(row); });
    }
    return nb::make_tuple(numberArray(column), nulls);
}

nb::object valueList(const ColumnArray& column) {
    const ValueMaker maker(column);
    return listOf(column.length, [&maker](std::size_t row) { return maker.value(row); });
}

}  // namespace ifdsweep::python
