#include "present/measures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "present/coded_words.h"
#include "text/count_text.h"
#include "text/number_output.h"

namespace ifdsweep {
namespace {

constexpr std::size_t kVersionParts = 4;

bool areWithin(std::span<const double> numbers, double least, double most) {
    return std::all_of(numbers.begin(), numbers.end(), [=](double number) {
        return number >= least && number <= most && std::trunc(number) == number;
    });
}

/// What the resolutions of a directory are per; empty where that is not known.
std::string_view unitOf(const Value* unit, const PresenterParameter& units) {
    if (unit == nullptr) {
        return {};
    }
    const auto code = codeOf(*unit);
    return code ? wordsOf(*code, units.codes) : wordsOf(unit, units.texts);
}

}  // namespace

bool presentMeasure(Output& output, const PresentedField& field, const PresenterParameter& unit) {
    const auto number = finiteNumber(field.value);
    if (!number) {
        return false;
    }
    appendWhole(output, *number, field.limits);
    output.append(unit.unit);
    return true;
}

bool presentPositiveMeasure(Output& output, const PresentedField& field,
                            const PresenterParameter& unitAndZero) {
    const auto number = finiteNumber(field.value);
    if (!number || *number < 0) {
        return false;
    }
    appendWhole(output, *number, field.limits);
    if (*number > 0) {
        output.append(unitAndZero.unit);
    } else {
        appendWordsBeside(output, wordsOf(std::uint32_t{0}, unitAndZero.codes));
    }
    return true;
}

bool presentResolution(Output& output, const PresentedField& field,
                       const PresenterParameter& units) {
    return appendWithUnit(output, field, " per ", unitOf(field.sibling(units.sibling), units));
}

bool presentFileSize(Output& output, const PresentedField& field, const PresenterParameter&) {
    const auto size = finiteNumber(field.value);
    if (!size || *size < 0 || *size >= kExactIntegers || std::trunc(*size) != *size) {
        return false;
    }
    output.append(groupedCount(static_cast<std::uint64_t>(*size)));
    output.append(*size == 1 ? " byte" : " bytes");
    return true;
}

bool presentDigitVersion(Output& output, const PresentedField& field, const PresenterParameter&) {
    const std::span<const double> digits = field.value.doubles();
    if (digits.size() != kVersionParts || !areWithin(digits, '0', '9')) {
        return false;
    }
    for (std::size_t index = 0; index < kVersionParts; ++index) {
        const char digit = static_cast<char>(digits[index]);
        if (index > 0 || digit != '0') {
            output.append(digit);
        }
        if (index == 1) {
            output.append('.');
        }
    }
    return true;
}

bool presentByteVersion(Output& output, const PresentedField& field, const PresenterParameter&) {
    constexpr double kMost = 255;
    const std::span<const double> parts = field.value.doubles();
    if (parts.size() != kVersionParts || !areWithin(parts, 0, kMost)) {
        return false;
    }
    for (std::size_t index = 0; index < kVersionParts; ++index) {
        if (index > 0) {
            output.append('.');
        }
        appendInteger(output, static_cast<std::int64_t>(parts[index]));
    }
    return true;
}

}  // namespace ifdsweep
