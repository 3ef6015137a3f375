#include "tag/numeric_values.h"

#include <bit>
#include <cassert>
#include <cstring>

namespace ifdsweep::module {

namespace {

/// The quiet NaN that stands for a division by zero.
constexpr double kNotANumber = std::bit_cast<double>(std::uint64_t{0xFFF8000000000000});

template <class Item>
Item itemAt(const std::uint8_t* bytes, std::size_t index) {
    Item item;
    std::memcpy(&item, bytes + index * sizeof item, sizeof item);
    return item;
}

/// Reads values that are one item each.
template <class Item>
struct Plain {
    static double at(const std::uint8_t* bytes, std::size_t index) {
        return static_cast<double>(itemAt<Item>(bytes, index));
    }
};

/// Reads values that are a numerator and a denominator.
template <class Item>
struct Quotient {
    static double at(const std::uint8_t* bytes, std::size_t index) {
        const auto numerator = itemAt<Item>(bytes, 2 * index);
        const auto denominator = itemAt<Item>(bytes, 2 * index + 1);
        return denominator == 0 ? kNotANumber
                                : static_cast<double>(numerator) / static_cast<double>(denominator);
    }
};

/// Calls `use` with the reader of a type's values.
template <class Use>
auto withReader(TIFFDataType type, Use use) {
    switch (type) {
        case TIFF_BYTE:
        case TIFF_UNDEFINED:
            return use(Plain<std::uint8_t>());
        case TIFF_SHORT:
            return use(Plain<std::uint16_t>());
        case TIFF_LONG:
            return use(Plain<std::uint32_t>());
        case TIFF_LONG8:
            return use(Plain<std::uint64_t>());
        case TIFF_SLONG8:
            return use(Plain<std::int64_t>());
        case TIFF_SBYTE:
            return use(Plain<std::int8_t>());
        case TIFF_SSHORT:
            return use(Plain<std::int16_t>());
        case TIFF_SLONG:
            return use(Plain<std::int32_t>());
        case TIFF_FLOAT:
            return use(Plain<float>());
        case TIFF_RATIONAL:
            return use(Quotient<std::uint32_t>());
        case TIFF_SRATIONAL:
            return use(Quotient<std::int32_t>());
        default:
            return use(Plain<double>());
    }
}

}  // namespace

NumericValues::NumericValues(std::span<const double> numbers)
    : bytes(static_cast<const std::uint8_t*>(static_cast<const void*>(numbers.data()))),
      count(numbers.size()) {}

double NumericValues::operator[](std::size_t index) const {
    assert(index < count);
    return withReader(type, [&](auto reader) { return reader.at(bytes, index); });
}

void NumericValues::copyTo(double* out) const {
    withReader(type, [&](auto reader) {
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = reader.at(bytes, i);
        }
    });
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

}  // namespace ifdsweep::module
