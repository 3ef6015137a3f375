#pragma once

// Quantities: sizes and times as people write them, with a unit or without. Pure functions; any
// thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ifdsweep {

/// How an error line says what is expected.
inline constexpr std::string_view kByteCountForm = "a number of bytes (65536, 64K, 1.5GiB)";
inline constexpr std::string_view kSecondsForm = "a time (90, 90s, 10m, 1.5h, 500ms) above 0";

/// Reads a whole text as a decimal whole number; nothing beyond 64 bits.
[[nodiscard]] std::optional<std::uint64_t> parseCount(std::string_view text);

/// Reads a whole text as a number of bytes: a decimal number, which may have a fraction where a
/// unit follows. A letter alone (K, M, G, T, P, E) and with iB are powers of 1024, with B powers of
/// 1000, in either case; B is one byte. A fraction of a byte is left out. Nothing where the text is
/// something else or beyond 64 bits.
[[nodiscard]] std::optional<std::uint64_t> parseByteCount(std::string_view text);

/// Reads a whole text as a number: decimal or hexadecimal, with or without a fraction, "inf" and
/// "nan" too. A number beyond the range of a double is an infinity.
[[nodiscard]] std::optional<double> parseNumber(const std::string& text);

/// Reads a whole text as seconds: a number as `parseNumber` does, or a decimal one with ms, s, m,
/// min, h or d behind it.
[[nodiscard]] std::optional<double> parseSeconds(const std::string& text);

}  // namespace ifdsweep
