#pragma once

// Optional column: the builder of a column that a table may lack. Whatever is set then goes
// nowhere, so that whoever fills rows need not ask.
//
// Ownership: borrows the builder. Threads: one at a time. Errors: those of the builder.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "columns/column_builder.h"

namespace ifdsweep {

class OptionalColumn {
public:
    /// @param columnBuilder null: the table lacks it
    explicit OptionalColumn(ColumnBuilder* columnBuilder) noexcept : builder(columnBuilder) {}

    [[nodiscard]] explicit operator bool() const noexcept { return builder != nullptr; }

    void setInteger(std::size_t row, std::int64_t value) const {
        if (builder != nullptr) {
            builder->setInteger(row, value);
        }
    }

    /// Null for what no signed number is.
    void setUnsigned(std::size_t row, std::uint64_t value) const {
        if (std::in_range<std::int64_t>(value)) {
            setInteger(row, static_cast<std::int64_t>(value));
        }
    }

    void setNumber(std::size_t row, double value) const {
        if (builder != nullptr) {
            builder->setNumber(row, value);
        }
    }

    /// A text in valid UTF-8, or bytes of a binary column.
    void setText(std::size_t row, std::string_view text) const {
        if (builder != nullptr) {
            builder->setText(row, text);
        }
    }

    /// Null for an empty text.
    void setUnlessEmpty(std::size_t row, std::string_view text) const {
        if (!text.empty()) {
            setText(row, text);
        }
    }

    /// Begins a list.
    /// @return the builder of its items; null where the table lacks the column
    [[nodiscard]] ColumnBuilder* beginList(std::size_t row) const {
        if (builder == nullptr) {
            return nullptr;
        }
        builder->beginList(row);
        return &builder->items();
    }

private:
    ColumnBuilder* builder;
};

}  // namespace ifdsweep
