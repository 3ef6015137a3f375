#pragma once

// Numbers as text: the shortest digits that read back the same, integers without a fraction.
// Plain functions over memory of the caller; any thread.

#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace ifdsweep {

/// Room that every number fits into.
inline constexpr std::size_t kNumberRoom = 32;

/// Largest magnitude below which every integral double is written digit by digit (2^53).
inline constexpr double kExactIntegers = 9007199254740992.0;

/// Writes a signed integer.
/// @param text memory for kNumberRoom characters
/// @return the end of the text
inline char* formatInteger(char* text, std::int64_t value) {
    return std::to_chars(text, text + kNumberRoom, value).ptr;
}

/// Writes a number of at most six decimals and 15 digits. No other number has the same 15 digits,
/// so they are the shortest that read back the same.
/// @param text memory for kNumberRoom characters
/// @return the end of the text; null, with nothing written, for another number
inline char* formatDecimal(char* text, double value) {
    constexpr double kScale = 1e6;
    constexpr double kLowest = 1e-3;  // a smaller number is shorter with an exponent
    constexpr double kBound = 1e9;
    const double magnitude = std::abs(value);
    if (magnitude < kLowest || magnitude >= kBound) {
        return nullptr;
    }
    const auto isSame = [magnitude](std::uint64_t scaled) {
        return static_cast<double>(scaled) / kScale == magnitude;
    };
    auto decimals = static_cast<std::uint64_t>(magnitude * kScale);  // at most one too few
    if (!isSame(decimals) && !isSame(++decimals)) {
        return nullptr;
    }
    constexpr std::uint64_t kWhole = 1'000'000;
    constexpr std::uint64_t kTen = 10;
    *text = '-';
    text += std::signbit(value) ? 1 : 0;
    text = std::to_chars(text, text + kNumberRoom, decimals / kWhole).ptr;
    *text++ = '.';
    std::uint64_t place = kWhole / kTen;
    for (decimals %= kWhole; decimals != 0; place /= kTen) {
        *text++ = static_cast<char>('0' + decimals / place);
        decimals %= place;
    }
    return text;
}

/// Writes a finite double that is no small integer, or negative zero: "-0.0", which reads back with
/// its sign.
/// @param text memory for kNumberRoom characters
/// @return the end of the text
[[gnu::noinline]] inline char* formatFraction(char* text, double value) {
    if (char* const end = formatDecimal(text, value)) {
        return end;
    }
    char* end = std::to_chars(text, text + kNumberRoom, value).ptr;
    if (value == 0.0) {
        *end++ = '.';
        *end++ = '0';
    }
    return end;
}

/// Writes a finite double; negative zero is "-0.0", which reads back with its sign.
/// @param text memory for kNumberRoom characters
/// @return the end of the text
inline char* formatFinite(char* text, double value) {
    assert(std::isfinite(value));
    // Nearly all numbers of a file are small integers, which need none of the work that the
    // shortest digits of a fraction take.
    if (value > -kExactIntegers && value < kExactIntegers) {
        const auto integer = static_cast<std::int64_t>(value);
        if (static_cast<double>(integer) == value && (integer != 0 || !std::signbit(value))) {
            if (integer < 0) {
                return formatInteger(text, integer);
            }
            if (integer < 10) {
                *text = static_cast<char>('0' + integer);
                return text + 1;
            }
            return std::to_chars(text, text + kNumberRoom, static_cast<std::uint64_t>(integer)).ptr;
        }
    }
    return formatFraction(text, value);
}

/// Most significant digits that a double needs to read back the same.
inline constexpr unsigned kMostDigits = 17;

/// Writes a finite double with at most `digits` significant digits, from 1 to kMostDigits. An
/// integer is written whole, and of other numbers all digits before the point.
/// @param text memory for kNumberRoom characters
/// @return the end of the text
inline char* formatRounded(char* text, double value, unsigned digits) {
    assert(digits >= 1 && digits <= kMostDigits);
    if (digits >= kMostDigits || std::trunc(value) == value) {
        return formatFinite(text, value);
    }
    constexpr std::array<double, kMostDigits> kPowersOfTen{
        1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};
    // Half a unit below the power it is already rounded up to it.
    if (std::abs(value) >= kPowersOfTen[digits] - 0.5) {
        return formatFinite(text, std::round(value));
    }
    return std::to_chars(text, text + kNumberRoom, value, std::chars_format::general,
                         static_cast<int>(digits))
        .ptr;
}

/// The name of a number that is not finite: "NaN", "Infinity" or "-Infinity".
inline const char* nonFiniteName(double value) {
    assert(!std::isfinite(value));
    if (std::isnan(value)) {
        return "NaN";
    }
    return value > 0.0 ? "Infinity" : "-Infinity";
}

}  // namespace ifdsweep
