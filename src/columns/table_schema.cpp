#include "columns/table_schema.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <set>

#include "columns/layout_tables.h"
#include "text/nearest_names.h"

namespace ifdsweep {
namespace {

struct LayoutRow {
    std::string_view word;
    std::span<const Column> (*columns)();
};

/// In the order of `Layout`.
constexpr std::array<LayoutRow, 4> kLayouts{{
    {"files", filesTable},
    {"images", imagesTable},
    {"tags", tagsTable},
    {"warnings", warningsTable},
}};

const LayoutRow& rowOf(Layout layout) noexcept {
    return kLayouts[static_cast<std::size_t>(layout)];
}

[[noreturn]] void refuseName(Layout layout, const std::string& name) {
    std::vector<std::string_view> names;
    for (const Column& column : allColumns(layout)) {
        names.push_back(column.name);
    }
    const std::string near = nearestNames(name, names);
    throw UnknownColumn("no column " + name + " in " + std::string(layoutWord(layout)) +
                        (near.empty() ? "" : ": " + near + "?"));
}

std::vector<Column> namedColumns(Layout layout, const std::vector<std::string>& names) {
    const std::span<const Column> all = allColumns(layout);
    std::vector<Column> columns;
    std::set<std::string_view> taken;
    for (const std::string& name : names) {
        const auto column = std::find_if(
            all.begin(), all.end(), [&name](const Column& known) { return known.name == name; });
        if (column == all.end()) {
            refuseName(layout, name);
        }
        if (!taken.insert(name).second) {
            throw UnknownColumn("the column " + name + " is asked for twice");
        }
        columns.push_back(*column);
    }
    if (columns.empty()) {
        throw UnknownColumn("a table needs at least one column");
    }
    return columns;
}

}  // namespace

std::optional<Layout> layoutOfWord(std::string_view word) noexcept {
    const auto* const row =
        std::find_if(kLayouts.begin(), kLayouts.end(),
                     [word](const LayoutRow& layout) { return layout.word == word; });
    if (row == kLayouts.end()) {
        return std::nullopt;
    }
    return static_cast<Layout>(row - kLayouts.begin());
}

std::string_view layoutWord(Layout layout) noexcept {
    return rowOf(layout).word;
}

std::span<const Column> allColumns(Layout layout) {
    return rowOf(layout).columns();
}

TableSchema TableSchema::of(Layout layout, const ColumnChoice& choice) {
    TableSchema schema{layout, {}};
    if (choice.which == ColumnChoice::Which::named) {
        schema.columns = namedColumns(layout, choice.names);
        return schema;
    }
    const std::span<const Column> all = allColumns(layout);
    std::copy_if(all.begin(), all.end(), std::back_inserter(schema.columns),
                 [&choice](const Column& column) {
                     return choice.which == ColumnChoice::Which::all || column.isCore;
                 });
    return schema;
}

TableSchema TableSchema::withPlainWords() const {
    TableSchema plain = *this;
    for (Column& column : plain.columns) {
        if (column.type.item == ItemType::word) {
            column.type.item = ItemType::utf8;
        }
    }
    return plain;
}

std::string TableSchema::identity() const {
    std::string text(layoutWord(layout));
    for (const Column& column : columns) {
        text.append(" ").append(std::to_string(column.id)).append(":").append(column.name);
        text.append(":").append(columnTypeWord(column.type));
    }
    return text;
}

}  // namespace ifdsweep
