#pragma once

// Value: what the library's own host makes of the module's results, to be looked at. A value is a
// double, unsigned 8-bit or character array, a cell array or a record array, always two-dimensional
// and column-major. How it lies in memory is the library's own affair.
//
// Ownership: a `ValueHandle` owns a value with all that is in it, and must be gone before the host
// that made it is. A `ValueView` refers to a value, as do the spans and texts that it gives; all of
// them are valid as long as the value is.
//
// Threads: a value belongs to the thread that uses its host. Errors: none; what is not there is
// empty or absent. Stable: part of the API.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "ifdsweep/qx.h"

namespace ifdsweep {

/// The classes of values.
enum class ValueKind : std::uint8_t { Double, Uint8, Char, Cell, Struct };

/// Frees a value with everything in it.
struct ValueDeleter {
    void operator()(qxArray* value) const noexcept;
};

/// Owns a value. Make one of the result of any `qxCreate` function or of the entry point's output.
using ValueHandle = std::unique_ptr<qxArray, ValueDeleter>;

/// A value to be looked at.
class ValueView {
public:
    /// Looks at a value that is there.
    explicit ValueView(const qxArray& viewed) noexcept : value(&viewed) {}

    [[nodiscard]] ValueKind kind() const noexcept;
    [[nodiscard]] std::size_t rows() const noexcept;
    [[nodiscard]] std::size_t columns() const noexcept;
    [[nodiscard]] std::size_t elementCount() const noexcept;

    /// The elements of a double array; empty for every other kind.
    [[nodiscard]] std::span<const double> doubles() const noexcept;

    /// The elements of an unsigned 8-bit array; empty for every other kind.
    [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept;

    /// The UTF-16 code units of a character array; empty for every other kind. The texts of tags
    /// are bytes, each widened to a unit: `valueText` (write.h) reads them as people would.
    [[nodiscard]] std::u16string_view text() const noexcept;

    /// The value in a cell; absent when the cell is empty or there is no such cell.
    [[nodiscard]] std::optional<ValueView> cell(std::size_t index) const noexcept;

    /// The number of fields of a record array; 0 for every other kind.
    [[nodiscard]] std::size_t fieldCount() const noexcept;

    /// The name of a field; empty when there is no such field.
    [[nodiscard]] std::string_view fieldName(std::size_t fieldNumber) const noexcept;

    /// The value in a field of an element, by the field's number or name; absent when the field is
    /// empty or there is none.
    [[nodiscard]] std::optional<ValueView> field(std::size_t element,
                                                 std::size_t fieldNumber) const noexcept;
    [[nodiscard]] std::optional<ValueView> field(std::size_t element,
                                                 std::string_view name) const noexcept;

    /// The value itself, as the contract's operations take it.
    [[nodiscard]] const qxArray& get() const noexcept { return *value; }

private:
    const qxArray* value;
};

}  // namespace ifdsweep
