#include "cli/quantities.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <utility>

#include "text/letter_case.h"

namespace ifdsweep {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::string_view kDigits = "0123456789";

/// The number of a quantity and the unit behind it.
struct Parts {
    std::string_view whole;
    std::string_view fraction;
    std::string_view unit;
    bool hasPoint = false;
};

/// Takes the digits off the beginning of a text.
std::string_view takeDigits(std::string_view& text) {
    const std::string_view digits = text.substr(0, text.find_first_not_of(kDigits));
    text.remove_prefix(digits.size());
    return digits;
}

/// Nothing where the text does not begin as a decimal number, with a digit before and behind its
/// point.
std::optional<Parts> partsOf(std::string_view text) {
    Parts parts;
    parts.whole = takeDigits(text);
    parts.hasPoint = text.starts_with('.');
    if (parts.hasPoint) {
        text.remove_prefix(1);
        parts.fraction = takeDigits(text);
    }
    parts.unit = text;
    const bool isNumber = !parts.whole.empty() && (!parts.hasPoint || !parts.fraction.empty());
    return isNumber ? std::optional(parts) : std::nullopt;
}

std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
    return lower;
}

/// Bytes in a unit.
std::optional<std::uint64_t> bytesIn(std::string_view unit) {
    const std::string lower = inLowerCase(unit);
    if (lower.empty() || lower == "b") {
        return 1;
    }
    const std::size_t power = std::string_view("kmgtpe").find(lower[0]);
    const std::string_view rest = std::string_view(lower).substr(1);
    if (power == std::string_view::npos || (!rest.empty() && rest != "b" && rest != "ib")) {
        return std::nullopt;
    }
    std::uint64_t bytes = 1;
    for (std::size_t step = 0; step <= power; ++step) {
        bytes *= rest == "b" ? 1000U : 1024U;
    }
    return bytes;
}

/// The digits as a number; nothing beyond 64 bits.
std::optional<std::uint64_t> numberOf(std::string_view digits) {
    std::uint64_t number = 0;
    for (const char digit : digits) {
        const Wide next = Wide{number} * 10 + static_cast<unsigned>(digit - '0');
        if (next > std::numeric_limits<std::uint64_t>::max()) {
            return std::nullopt;
        }
        number = static_cast<std::uint64_t>(next);
    }
    return number;
}

constexpr std::array<std::pair<std::string_view, double>, 6> kTimeUnits{
    {{"ms", 0.001}, {"s", 1}, {"m", 60}, {"min", 60}, {"h", 3600}, {"d", 86400}}};

}  // namespace

std::optional<std::uint64_t> parseCount(std::string_view text) {
    const bool isNumber =
        !text.empty() && text.find_first_not_of(kDigits) == std::string_view::npos;
    return isNumber ? numberOf(text) : std::nullopt;
}

std::optional<std::uint64_t> parseByteCount(std::string_view text) {
    const auto parts = partsOf(text);
    const auto unit = parts ? bytesIn(parts->unit) : std::nullopt;
    const auto whole = parts ? numberOf(parts->whole) : std::nullopt;
    if (!unit || !whole || (parts->hasPoint && *unit == 1)) {
        return std::nullopt;
    }
    // Digits beyond these come to less than a byte in the largest unit, 2^60.
    constexpr std::size_t kDigitsThatCount = 19;
    const std::string_view fraction = parts->fraction.substr(0, kDigitsThatCount);
    Wide scale = 1;
    for (std::size_t digit = 0; digit < fraction.size(); ++digit) {
        scale *= 10;
    }
    // Less than 2^60 times 10^19, which is less than 2^128, and 2^64 times 2^60 is too.
    const Wide total = Wide{*whole} * *unit + Wide{numberOf(fraction).value_or(0)} * *unit / scale;
    return total <= std::numeric_limits<std::uint64_t>::max()
               ? std::optional(static_cast<std::uint64_t>(total))
               : std::nullopt;
}

std::optional<double> parseNumber(const std::string& text) {
    if (text.empty() || std::isspace(static_cast<unsigned char>(text.front())) != 0) {
        return std::nullopt;
    }
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    return end == text.c_str() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<double> parseSeconds(const std::string& text) {
    if (const auto seconds = parseNumber(text)) {
        return seconds;
    }
    const auto parts = partsOf(text);
    if (!parts) {
        return std::nullopt;
    }
    const auto* const unit =
        std::find_if(kTimeUnits.begin(), kTimeUnits.end(),
                     [&parts](const auto& row) { return row.first == parts->unit; });
    const auto number = parseNumber(text.substr(0, text.size() - parts->unit.size()));
    return unit != kTimeUnits.end() && number ? std::optional(*number * unit->second)
                                              : std::nullopt;
}

}  // namespace ifdsweep
