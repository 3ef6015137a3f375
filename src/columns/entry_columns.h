#pragma once

// Entry columns: the value of an entry on its way into a column of `images`. Plain functions over
// builders of the caller; any thread.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "columns/column_builder.h"
#include "columns/entry_items.h"
#include "columns/row_filler.h"
#include "columns/table_schema.h"
#include "pack/packed_file.h"

namespace ifdsweep {

/// What became of a value on its way to a column.
enum class Taken : std::uint8_t {
    whole,
    partly,     ///< what it stands for or comes to; the value cannot be told from that
    nothing,    ///< the value is empty, or has no name
    misfit,     ///< of another type or count
    invalid,    ///< a denominator is 0, or a date is none
    described,  ///< too long, or not loaded
};

/// A value of an entry, which is not empty, and where it goes.
struct EntryValue {
    const EntryItems& items;
    const PackedEntryRow& entry;
    std::string_view name;  ///< readable name of an enumerated value; empty for none
    ColumnBuilder& column;
    std::size_t row;
};

/// Whether each item is one byte.
[[nodiscard]] bool isOneByteWide(const EntryItems& items) noexcept;

/// Whether a value is longer than those that a table holds. Items of one byte count as bytes alone.
[[nodiscard]] bool isTooLong(const EntryItems& items, const FillLimits& limits) noexcept;

/// Sets what the column takes of the value; nothing of a misfit.
[[nodiscard]] Taken takeValue(TagValue takes, const EntryValue& value);

}  // namespace ifdsweep
