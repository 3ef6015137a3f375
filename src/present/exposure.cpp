#include "present/exposure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>

#include "text/number_output.h"

namespace ifdsweep {
namespace {

std::optional<double> positiveNumber(const Value& value) {
    const auto number = finiteNumber(value);
    return number && *number > 0 ? number : std::nullopt;
}

/// An APEX value (Exif 2.32, annex C) whose power of two is a number of this world.
std::optional<double> apexNumber(const Value& value) {
    constexpr double kMost = 64;
    const auto number = finiteNumber(value);
    return number && std::abs(*number) <= kMost ? number : std::nullopt;
}

/// The number of which a short time is the reciprocal, if it comes to one within a part of it:
/// times are written so from a quarter of a second down.
std::optional<std::int64_t> reciprocalOf(double seconds, double tolerance) {
    constexpr double kLeastPlain = 0.3;
    constexpr double kShortest = 1e-9;
    if (seconds >= kLeastPlain || seconds < kShortest) {
        return std::nullopt;
    }
    const std::int64_t divisor = std::llround(1 / seconds);
    const double product = static_cast<double>(divisor) * seconds;
    return std::abs(product - 1) <= tolerance ? std::optional(divisor) : std::nullopt;
}

void appendReciprocal(Output& output, std::int64_t divisor) {
    output.append("1/");
    appendInteger(output, divisor);
    output.append(" s");
}

}  // namespace

bool presentExposureTime(Output& output, const PresentedField& field, const PresenterParameter&) {
    constexpr double kTolerance = 0.01;
    const auto seconds = positiveNumber(field.value);
    if (!seconds) {
        return false;
    }
    if (const auto divisor = reciprocalOf(*seconds, kTolerance)) {
        appendReciprocal(output, *divisor);
        appendBeside(output, *seconds, field.limits);
    } else {
        appendWhole(output, *seconds, field.limits);
        output.append(" s");
    }
    return true;
}

bool presentShutterSpeed(Output& output, const PresentedField& field, const PresenterParameter&) {
    // An APEX value is rounded itself.
    constexpr unsigned kDigits = 2;
    constexpr double kTolerance = 0.05;
    const auto apex = apexNumber(field.value);
    if (!apex) {
        return false;
    }
    const double seconds = std::exp2(-*apex);
    if (const auto divisor = reciprocalOf(seconds, kTolerance)) {
        appendReciprocal(output, *divisor);
    } else {
        appendRounded(output, seconds, kDigits);
        output.append(" s");
    }
    appendBeside(output, *apex, field.limits);
    return true;
}

bool presentFNumber(Output& output, const PresentedField& field, const PresenterParameter&) {
    const auto number = positiveNumber(field.value);
    if (!number) {
        return false;
    }
    output.append("f/");
    appendWhole(output, *number, field.limits);
    return true;
}

bool presentAperture(Output& output, const PresentedField& field, const PresenterParameter&) {
    constexpr unsigned kDigits = 2;
    const auto apex = apexNumber(field.value);
    if (!apex) {
        return false;
    }
    output.append("f/");
    appendRounded(output, std::exp2(*apex / 2), kDigits);
    appendBeside(output, *apex, field.limits);
    return true;
}

bool presentFocalLength(Output& output, const PresentedField& field, const PresenterParameter&) {
    constexpr double kLongest = 1e6;
    const auto millimetres = positiveNumber(field.value);
    if (!millimetres || *millimetres > kLongest) {
        return false;
    }
    appendWhole(output, *millimetres, field.limits);
    output.append(std::trunc(*millimetres) == *millimetres ? ".0 mm" : " mm");
    return true;
}

bool presentExposureBias(Output& output, const PresentedField& field, const PresenterParameter&) {
    constexpr double kMost = 1e6;
    constexpr double kLeastRounded = 0.01;
    const auto value = finiteNumber(field.value);
    if (!value || std::abs(*value) > kMost) {
        return false;
    }
    if (*value > 0) {
        output.append('+');
    }
    if (!field.limits.digits && std::abs(*value) >= kLeastRounded) {
        appendPlaces(output, *value, 2);
    } else {
        appendWhole(output, *value, field.limits);
    }
    output.append(" EV");
    return true;
}

bool presentLens(Output& output, const PresentedField& field, const PresenterParameter&) {
    const std::span<const double> lens = field.value.doubles();
    const auto isLength = [](double length) { return std::isfinite(length) && length > 0; };
    // An f-number that is not known is 0/0.
    const auto isAperture = [](double number) {
        return std::isnan(number) || (std::isfinite(number) && number >= 0);
    };
    if (lens.size() != 4 || !isLength(lens[0]) || !isLength(lens[1]) || !isAperture(lens[2]) ||
        !isAperture(lens[3])) {
        return false;
    }
    const auto appendRange = [&](double first, double last) {
        const auto append = [&](double number) {
            if (number > 0) {
                appendWhole(output, number, field.limits);
            } else {
                output.append('?');
            }
        };
        append(first);
        if (first != last && !(std::isnan(first) && std::isnan(last))) {
            output.append('-');
            append(last);
        }
    };
    appendRange(lens[0], lens[1]);
    output.append(" mm f/");
    appendRange(lens[2], lens[3]);
    return true;
}

bool presentSubjectDistance(Output& output, const PresentedField& field,
                            const PresenterParameter&) {
    // Exif 2.32, 4.6.5: a numerator of 0xFFFFFFFF is infinity, one of 0 that it is not known. The
    // numerator is not at hand; writers take a power of ten for the denominator.
    constexpr std::array<double, 4> kDenominators{1, 10, 100, 1000};
    constexpr double kInfinity = 4294967295.0;
    const auto metres = finiteNumber(field.value);
    if (!metres || *metres < 0) {
        return false;
    }
    appendWhole(output, *metres, field.limits);
    const bool isInfinite =
        std::any_of(kDenominators.begin(), kDenominators.end(),
                    [&](double denominator) { return *metres == kInfinity / denominator; });
    output.append(isInfinite ? " (infinity)" : *metres == 0 ? " (unknown)" : " m");
    return true;
}

}  // namespace ifdsweep
