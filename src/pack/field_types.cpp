#include "pack/field_types.h"

#include <array>
#include <cstring>

namespace ifdsweep {
namespace {

template <class Item>
bool areNumbers(std::span<const double> numbers, const std::uint8_t* items) noexcept {
    for (const double number : numbers) {
        Item item;
        std::memcpy(&item, items, sizeof item);
        if (static_cast<double>(item) != number) {
            return false;
        }
        items += sizeof item;
    }
    return true;
}

template <class Item>
void takeNumbers(std::span<double> numbers, const std::uint8_t* items) noexcept {
    for (double& number : numbers) {
        Item item;
        std::memcpy(&item, items, sizeof item);
        number = static_cast<double>(item);
        items += sizeof item;
    }
}

struct TypeRow {
    std::size_t width = 0;
    /// Whether items are these numbers; null for a type that is no integer.
    bool (*areNumbers)(std::span<const double> numbers, const std::uint8_t* items) = nullptr;
    void (*takeNumbers)(std::span<double> numbers, const std::uint8_t* items) = nullptr;
};

template <class Item>
constexpr TypeRow integer() {
    return {sizeof(Item), areNumbers<Item>, takeNumbers<Item>};
}

/// By their codes.
constexpr std::array<TypeRow, 19> kTypes{{
    {},
    integer<std::uint8_t>(),   // BYTE
    {1},                       // ASCII
    integer<std::uint16_t>(),  // SHORT
    integer<std::uint32_t>(),  // LONG
    {8},                       // RATIONAL
    integer<std::int8_t>(),    // SBYTE
    {1},                       // UNDEFINED
    integer<std::int16_t>(),   // SSHORT
    integer<std::int32_t>(),   // SLONG
    {8},                       // SRATIONAL
    {4},                       // FLOAT
    {8},                       // DOUBLE
    integer<std::uint32_t>(),  // IFD
    {},
    {},
    integer<std::uint64_t>(),  // LONG8
    integer<std::int64_t>(),   // SLONG8
    integer<std::uint64_t>(),  // IFD8
}};

const TypeRow& rowOf(std::uint16_t type) noexcept {
    return kTypes[type < kTypes.size() ? type : 0];
}

}  // namespace

std::size_t fieldTypeWidth(std::uint16_t type) noexcept {
    return rowOf(type).width;
}

bool isIntegerType(std::uint16_t type) noexcept {
    return rowOf(type).areNumbers != nullptr;
}

bool areItems(std::span<const double> numbers, std::uint16_t type,
              std::span<const std::uint8_t> items) noexcept {
    const TypeRow& row = rowOf(type);
    return row.areNumbers != nullptr && items.size() / row.width == numbers.size() &&
           items.size() % row.width == 0 && row.areNumbers(numbers, items.data());
}

void takeItems(std::span<double> numbers, std::uint16_t type,
               std::span<const std::uint8_t> items) noexcept {
    rowOf(type).takeNumbers(numbers, items.data());
}

}  // namespace ifdsweep
