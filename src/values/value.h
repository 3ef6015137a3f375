#pragma once

// A host value: a double, unsigned 8-bit or character array, a cell array or a record array, always
// two-dimensional and column-major.
//
// Ownership: a value is created by the `ValueStore` of a `Host` and must be freed (by
// `qxDestroyArray` or a `ValueHandle`) while that host lives; no host needs to be current for it.
// A cell or record array owns the values in it.
//
// Threads: a value belongs to the thread that uses its host.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "ifdsweep/qx.h"
#include "ifdsweep/value.h"

namespace ifdsweep {

class FieldList;
class ValueStore;

}  // namespace ifdsweep

/// The value class behind the contract's opaque handle. 16 bytes; small contents lie inside it.
struct qxArray {
public:
    qxArray(const qxArray&) = delete;
    qxArray& operator=(const qxArray&) = delete;

    [[nodiscard]] ifdsweep::ValueKind kind() const noexcept { return valueKind; }
    [[nodiscard]] std::size_t rows() const noexcept {
        return shape == Shape::row ? 1 : shape == Shape::matrix ? dimensions().rows : length;
    }
    [[nodiscard]] std::size_t columns() const noexcept {
        return shape == Shape::column ? 1 : shape == Shape::matrix ? dimensions().columns : length;
    }
    [[nodiscard]] std::size_t elementCount() const noexcept { return length; }

    /// The elements of a double array; empty for every other kind.
    [[nodiscard]] std::span<const double> doubles() const noexcept {
        return {static_cast<const double*>(dataOf(ifdsweep::ValueKind::Double)),
                countOf(ifdsweep::ValueKind::Double)};
    }

    /// The elements of an unsigned 8-bit array; empty for every other kind.
    [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept {
        return {static_cast<const std::uint8_t*>(dataOf(ifdsweep::ValueKind::Uint8)),
                countOf(ifdsweep::ValueKind::Uint8)};
    }

    /// The UTF-16 code units of a character array; empty for every other kind.
    [[nodiscard]] std::u16string_view text() const noexcept {
        return {static_cast<const char16_t*>(dataOf(ifdsweep::ValueKind::Char)),
                countOf(ifdsweep::ValueKind::Char)};
    }

    /// The value in a cell; null when the cell is empty or there is no such cell.
    [[nodiscard]] const qxArray* cell(std::size_t index) const noexcept;

    /// The number of fields of a record array; 0 for every other kind.
    [[nodiscard]] std::size_t fieldCount() const noexcept;

    /// The name of a field, in the order of the field list; empty when there is no such field.
    [[nodiscard]] std::string_view fieldName(std::size_t fieldNumber) const noexcept;

    /// Whether the field names consist of letters, digits and underscores of ASCII, at most 63.
    [[nodiscard]] bool fieldNamesAreIdentifiers() const noexcept;

    /// The value in a field of an element; null when the field is empty or there is none.
    [[nodiscard]] const qxArray* field(std::size_t element, std::size_t fieldNumber) const noexcept;

    /// The number of the first field of that name.
    [[nodiscard]] std::optional<std::size_t> fieldIndex(std::string_view name) const noexcept;

    /// The values in a cell or record array, those of records element by element, null where there
    /// is none; empty for every other kind.
    [[nodiscard]] std::span<const qxArray* const> parts() const noexcept {
        return hasSlots() ? std::span<const qxArray* const>(slots())
                          : std::span<const qxArray* const>();
    }

    /// The field list of a record array, which other record arrays may share.
    [[nodiscard]] const std::shared_ptr<const ifdsweep::FieldList>& fieldList() const noexcept {
        return slotBlock().fields;
    }

private:
    friend class ifdsweep::ValueStore;

    /// How the dimensions follow from the number of elements.
    enum class Shape : std::uint8_t {
        row,     ///< 1-by-N
        column,  ///< N-by-1
        empty,   ///< 0-by-0
        matrix,  ///< any other; they stand in front of the contents, which are a block
    };

    struct Dimensions {
        std::size_t rows;
        std::size_t columns;
    };

    /// Head of the contents of a cell or record array; the slots, element by element, follow it.
    struct SlotBlock {
        std::shared_ptr<const ifdsweep::FieldList> fields;  ///< null in a cell array
        std::size_t slotCount = 0;
        std::size_t lastField = 0;      ///< the field set last; the field count before the first
        qxArray* nextToFree = nullptr;  ///< the array that is freed after this one
    };

    union Content {
        std::byte bytes[8];  ///< the elements themselves, when they fit
        void* block;         ///< otherwise where they lie, after the dimensions of a matrix
    };

    qxArray(ifdsweep::ValueKind kind, Shape valueShape, std::size_t elementCount) noexcept
        : content{}, length(elementCount & kLengthMask), valueKind(kind), shape(valueShape) {}
    ~qxArray() = default;

    [[nodiscard]] static Shape shapeOf(std::size_t rows, std::size_t columns) noexcept {
        return rows == 1                   ? Shape::row
               : columns == 1              ? Shape::column
               : rows == 0 && columns == 0 ? Shape::empty
                                           : Shape::matrix;
    }

    /// What the dimensions take in front of the contents.
    [[nodiscard]] static std::size_t headSizeOf(Shape valueShape) noexcept {
        return valueShape == Shape::matrix ? sizeof(Dimensions) : 0;
    }

    /// The dimensions of a matrix.
    [[nodiscard]] Dimensions& dimensions() const noexcept {
        return static_cast<Dimensions*>(content.block)[-1];
    }

    [[nodiscard]] const void* data() const noexcept {
        return inPlace ? static_cast<const void*>(content.bytes) : content.block;
    }
    [[nodiscard]] const void* dataOf(ifdsweep::ValueKind kind) const noexcept {
        return valueKind == kind ? data() : nullptr;
    }
    [[nodiscard]] std::size_t countOf(ifdsweep::ValueKind kind) const noexcept {
        return valueKind == kind ? elementCount() : 0;
    }
    [[nodiscard]] SlotBlock& slotBlock() const noexcept {
        return *static_cast<SlotBlock*>(content.block);
    }
    [[nodiscard]] std::span<qxArray*> slots() const noexcept {
        return {static_cast<qxArray**>(static_cast<void*>(&slotBlock() + 1)),
                slotBlock().slotCount};
    }
    [[nodiscard]] bool hasSlots() const noexcept {
        return valueKind == ifdsweep::ValueKind::Cell || valueKind == ifdsweep::ValueKind::Struct;
    }

    static constexpr unsigned kLengthBits = 48;  ///< as many as an address has
    static constexpr std::uint64_t kLengthMask = (std::uint64_t{1} << kLengthBits) - 1;

    Content content;
    std::uint64_t length : kLengthBits;  ///< number of elements
    ifdsweep::ValueKind valueKind;
    Shape shape : 2;
    bool inPlace : 1 = true;
    bool isShared : 1 = false;  ///< a text whose block other values have too
    bool isCut : 1 = false;     ///< a record or cell array with fewer elements than asked for
};

namespace ifdsweep {

using Value = qxArray;

}  // namespace ifdsweep
