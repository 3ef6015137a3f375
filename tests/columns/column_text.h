#pragma once

// Column text: the values of a column in one line, for comparisons in tests. Pure functions; any
// thread.

#include <cstddef>
#include <sstream>
#include <string>

#include "columns/column_array.h"

namespace fixture {

inline std::string columnText(const ifdsweep::ColumnArray& array, std::size_t begin,
                              std::size_t end);

/// A value: a number, a text between quotation marks, "[1 null 3]", of a struct "{1 2}".
inline std::string valueText(const ifdsweep::ColumnArray& array, std::size_t row) {
    using ifdsweep::ItemType;
    if (array.isNull(row)) {
        return "null";
    }
    if (array.type.isList) {
        const auto [begin, end] = array.items(row);
        return '[' + columnText(array.children[0], begin, end) + ']';
    }
    switch (array.type.item) {
        case ItemType::float64: {
            std::ostringstream text;
            text << array.number(row);
            return text.str();
        }
        case ItemType::utf8:
        case ItemType::binary:
        case ItemType::word:
            return '"' + std::string(array.text(row)) + '"';
        case ItemType::rational:
        case ItemType::unknownTag: {
            std::string text = "{";
            for (const ifdsweep::ColumnArray& member : array.children) {
                text += (text.size() > 1 ? " " : "") + valueText(member, row);
            }
            return text + '}';
        }
        default:
            return std::to_string(array.integer(row));
    }
}

/// The values of the rows in [begin, end), between spaces.
inline std::string columnText(const ifdsweep::ColumnArray& array, std::size_t begin,
                              std::size_t end) {
    std::string text;
    for (std::size_t row = begin; row < end; ++row) {
        text += (row > begin ? " " : "") + valueText(array, row);
    }
    return text;
}

inline std::string columnText(const ifdsweep::ColumnArray& array) {
    return columnText(array, 0, array.length);
}

}  // namespace fixture
