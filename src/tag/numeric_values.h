#pragma once

// The numbers of one tag, read as doubles from the packed items of its field type. A view: the
// items, in host byte order, belong to the reader's buffer and are converted when asked for, so
// that a long value exists as doubles only once, in the host's array. One thread.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>

#include <tiff.h>

namespace ifdsweep::module {

class NumericValues {
public:
    /// No values.
    NumericValues() = default;

    /// @param items     packed items in host byte order, `itemCount` of the given type
    /// @param itemCount number of values; a rational's numerator and denominator are one value
    /// @param itemType  any numeric field type; SLONG takes 4-byte slots
    NumericValues(const std::uint8_t* items, std::size_t itemCount, TIFFDataType itemType)
        : bytes(items), count(itemCount), type(itemType) {}

    /// Views doubles that the caller keeps.
    explicit NumericValues(std::span<const double> numbers);

    [[nodiscard]] std::size_t size() const { return count; }
    [[nodiscard]] bool empty() const { return count == 0; }

    /// Value `index`, which must be below `size()`. A rational with denominator 0 is NaN.
    [[nodiscard]] double operator[](std::size_t index) const;

    /// Writes all values in order to `out`, which has room for `size()` of them.
    void copyTo(double* out) const;

    /// The first `number` values; there are at least so many.
    [[nodiscard]] NumericValues first(std::size_t number) const {
        assert(number <= count);
        return NumericValues(bytes, number, type);
    }

    /// The values as bytes, when their type is one byte wide and unsigned; empty otherwise.
    [[nodiscard]] std::span<const std::uint8_t> asBytes() const;

    /// How many rationals have the denominator 0; 0 for every other type.
    [[nodiscard]] std::size_t zeroDenominators() const;

private:
    const std::uint8_t* bytes = nullptr;
    std::size_t count = 0;
    TIFFDataType type = TIFF_DOUBLE;
};

}  // namespace ifdsweep::module
