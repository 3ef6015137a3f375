#pragma once

// Field types of TIFF 6.0 and BigTIFF, as far as packing a value takes them. Plain functions; any
// thread.

#include <cstddef>
#include <cstdint>
#include <span>

namespace ifdsweep {

/// Bytes of one item of a field type; 0 for a type that is not known.
[[nodiscard]] std::size_t fieldTypeWidth(std::uint16_t type) noexcept;

/// Whether the items of a field type are whole numbers, which UNDEFINED bytes are not.
[[nodiscard]] bool isIntegerType(std::uint16_t type) noexcept;

/// Whether packed items of an integer type, taken as doubles, are these numbers, in this order and
/// no more of them.
[[nodiscard]] bool areItems(std::span<const double> numbers, std::uint16_t type,
                            std::span<const std::uint8_t> items) noexcept;

/// Takes as many packed items of an integer type as there are numbers, each as a double.
void takeItems(std::span<double> numbers, std::uint16_t type,
               std::span<const std::uint8_t> items) noexcept;

}  // namespace ifdsweep
