#include "tag/numeric_values.h"

#include <bit>
#include <cstring>

namespace {

/// The quiet NaN that stands for a division by zero.
constexpr double kNotANumber = std::bit_cast<double>(std::uint64_t{0xFFF8000000000000});

template <class Item>
Item itemAt(const std::uint8_t* bytes, std::size_t index) {
    Item item;
    std::memcpy(&item, bytes + index * sizeof item, sizeof item);
    return item;
}

template <class Item>
void widen(const std::uint8_t* bytes, std::size_t first, std::size_t number, double* out) {
    for (std::size_t i = 0; i < number; ++i) {
        out[i] = static_cast<double>(itemAt<Item>(bytes, first + i));
    }
}

template <class Item>
void divide(const std::uint8_t* bytes, std::size_t first, std::size_t number, double* out) {
    for (std::size_t i = 0; i < number; ++i) {
        const auto numerator = itemAt<Item>(bytes, 2 * (first + i));
        const auto denominator = itemAt<Item>(bytes, 2 * (first + i) + 1);
        out[i] = denominator == 0
                     ? kNotANumber
                     : static_cast<double>(numerator) / static_cast<double>(denominator);
    }
}

}  // namespace

NumericValues::NumericValues(std::span<const double> numbers)
    : bytes(static_cast<const std::uint8_t*>(static_cast<const void*>(numbers.data()))),
      count(numbers.size()) {}

void NumericValues::copyTo(double* out, std::size_t first, std::size_t number) const {
    switch (type) {
        case TIFF_BYTE:
        case TIFF_UNDEFINED:
            return widen<std::uint8_t>(bytes, first, number, out);
        case TIFF_SHORT:
            return widen<std::uint16_t>(bytes, first, number, out);
        case TIFF_LONG:
            return widen<std::uint32_t>(bytes, first, number, out);
        case TIFF_LONG8:
            return widen<std::uint64_t>(bytes, first, number, out);
        case TIFF_SBYTE:
            return widen<std::int8_t>(bytes, first, number, out);
        case TIFF_SSHORT:
            return widen<std::int16_t>(bytes, first, number, out);
        case TIFF_SLONG:
            return widen<std::int32_t>(bytes, first, number, out);
        case TIFF_FLOAT:
            return widen<float>(bytes, first, number, out);
        case TIFF_RATIONAL:
            return divide<std::uint32_t>(bytes, first, number, out);
        case TIFF_SRATIONAL:
            return divide<std::int32_t>(bytes, first, number, out);
        default:
            return widen<double>(bytes, first, number, out);
    }
}

std::span<const std::uint8_t> NumericValues::asBytes() const {
    return type == TIFF_BYTE || type == TIFF_UNDEFINED ? std::span(bytes, count)
                                                       : std::span<const std::uint8_t>();
}

std::size_t NumericValues::zeroDenominators() const {
    std::size_t zeros = 0;
    if (type == TIFF_RATIONAL || type == TIFF_SRATIONAL) {
        for (std::size_t i = 0; i < count; ++i) {
            zeros += itemAt<std::uint32_t>(bytes, 2 * i + 1) == 0 ? 1U : 0U;
        }
    }
    return zeros;
}
