#pragma once

// Table cells: the rows of a table as texts, for tests. What is null is not there.

#include <cmath>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "columns/row_filler.h"
#include "columns/table_reader.h"
#include "columns/table_schema.h"
#include "pack/packed_file.h"
#include "text/number_text.h"

namespace fixture {

using Cells = std::map<std::string, std::string>;

/// A value: numbers in digits, texts as they are, the items of a list between brackets.
[[nodiscard]] inline std::string cellText(const ifdsweep::ColumnArray& column, std::size_t row) {
    using ifdsweep::ItemType;
    const auto between = [](const char* begin, const char* end, std::size_t count, auto&& item) {
        std::string text(begin);
        for (std::size_t index = 0; index < count; ++index) {
            text.append(index > 0 ? " " : "").append(item(index));
        }
        return text.append(end);
    };
    if (column.isNull(row)) {
        return "null";
    }
    if (column.type.isList) {
        const auto [begin, end] = column.items(row);
        return between("[", "]", end - begin, [&, first = begin](std::size_t item) {
            return cellText(column.children[0], first + item);
        });
    }
    switch (column.type.item) {
        case ItemType::float64: {
            const double number = column.number(row);
            if (!std::isfinite(number)) {
                return ifdsweep::nonFiniteName(number);
            }
            std::string text(ifdsweep::kNumberRoom, '\0');
            const char* const end = ifdsweep::formatFinite(text.data(), number);
            text.resize(static_cast<std::size_t>(end - text.data()));
            return text;
        }
        case ItemType::utf8:
        case ItemType::word:
        case ItemType::binary:
            return std::string(column.text(row));
        case ItemType::rational:
        case ItemType::unknownTag:
            return between("{", "}", column.children.size(), [&](std::size_t member) {
                return cellText(column.children[member], row);
            });
        default:
            return std::to_string(column.integer(row));
    }
}

/// Appends the rows of a batch.
inline void appendCells(std::vector<Cells>& rows, const ifdsweep::TableSchema& schema,
                        const ifdsweep::ColumnBatch& batch) {
    for (std::size_t row = 0; row < batch.rows; ++row) {
        Cells& cells = rows.emplace_back();
        for (std::size_t number = 0; number < schema.columns.size(); ++number) {
            if (!batch.columns[number].isNull(row)) {
                cells[schema.columns[number].name] = cellText(batch.columns[number], row);
            }
        }
    }
}

/// The rows of packed files, in batches of so many rows.
[[nodiscard]] inline std::vector<Cells> cellsOf(
    std::vector<std::shared_ptr<const ifdsweep::PackedFile>> files,
    const ifdsweep::TableSchema& schema, const ifdsweep::FillLimits& limits = {},
    std::size_t batchRows = 3) {
    std::size_t next = 0;
    ifdsweep::TableReader table(
        schema,
        [&]() -> std::shared_ptr<const ifdsweep::PackedFile> {
            return next < files.size() ? files[next++] : nullptr;
        },
        {.rows = batchRows}, limits);
    std::vector<Cells> rows;
    while (const std::optional<ifdsweep::ColumnBatch> batch = table.next()) {
        appendCells(rows, schema, *batch);
    }
    return rows;
}

/// The same of one file, with all columns of a layout.
[[nodiscard]] inline std::vector<Cells> cellsOf(ifdsweep::PackedFile file, ifdsweep::Layout layout,
                                                const ifdsweep::FillLimits& limits = {}) {
    return cellsOf({std::make_shared<const ifdsweep::PackedFile>(std::move(file))},
                   ifdsweep::TableSchema::of(layout, {ifdsweep::ColumnChoice::Which::all}), limits);
}

/// Some of the cells of a row.
[[nodiscard]] inline Cells only(const Cells& cells, const std::vector<std::string>& names) {
    Cells some;
    for (const std::string& name : names) {
        if (const auto cell = cells.find(name); cell != cells.end()) {
            some.insert(*cell);
        }
    }
    return some;
}

}  // namespace fixture
