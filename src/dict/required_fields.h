#pragma once

// The baseline fields of TIFF 6.0 that every primary directory shows, and what stands in a field
// that the directory lacks. Constants; any thread.

#include <array>
#include <cstddef>
#include <cstdint>

namespace ifdsweep::module {

/// How the default of a required field is made.
enum class DefaultValue : std::uint8_t {
    number,        ///< the number of the row
    empty,         ///< no value
    onePerSample,  ///< a 1 for each sample
    fromBits,      ///< one number for each element of BitsPerSample
};

struct RequiredField {
    std::uint16_t id;
    DefaultValue kind;
    double number;  ///< used by `DefaultValue::number` alone
};

// clang-format off
/// The required fields, in the order in which their defaults are added (TIFF 6.0 section 8).
inline constexpr std::array<RequiredField, 22> kRequiredFields{{
    {254, DefaultValue::number,       0.0},
    {258, DefaultValue::onePerSample, 0.0},
    {259, DefaultValue::number,       1.0},
    {263, DefaultValue::number,       1.0},
    {266, DefaultValue::number,       1.0},
    {273, DefaultValue::empty,        0.0},
    {274, DefaultValue::number,       1.0},
    {277, DefaultValue::number,       1.0},
    {278, DefaultValue::number,       4294967295.0},
    {279, DefaultValue::empty,        0.0},
    {280, DefaultValue::fromBits,     0.0},
    {281, DefaultValue::fromBits,     0.0},
    {282, DefaultValue::empty,        0.0},
    {283, DefaultValue::empty,        0.0},
    {284, DefaultValue::number,       1.0},
    {290, DefaultValue::number,       2.0},
    {296, DefaultValue::number,       2.0},
    {320, DefaultValue::empty,        0.0},
    {322, DefaultValue::empty,        0.0},
    {323, DefaultValue::empty,        0.0},
    {324, DefaultValue::empty,        0.0},
    {325, DefaultValue::empty,        0.0},
}};
// clang-format on

/// Required fields have ids below this bound.
inline constexpr std::size_t kRequiredIdBound = 326;

/// For each id the number of its row plus 1; 0 when it is not required.
inline constexpr auto kRequiredRowById = [] {
    std::array<std::uint8_t, kRequiredIdBound> rows{};
    for (std::size_t row = 0; row < kRequiredFields.size(); ++row) {
        rows[kRequiredFields[row].id] = static_cast<std::uint8_t>(row + 1);
    }
    return rows;
}();

/// The row of a required field by its id, or null.
[[nodiscard]] constexpr const RequiredField* requiredField(std::uint16_t id) {
    if (id >= kRequiredIdBound || kRequiredRowById[id] == 0) {
        return nullptr;
    }
    return &kRequiredFields[kRequiredRowById[id] - 1U];
}

}  // namespace ifdsweep::module
