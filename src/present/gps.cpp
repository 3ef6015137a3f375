#include "present/gps.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "present/coded_words.h"
#include "text/number_output.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kDegree = "\u00B0";

/// How many of each part make one of the first.
constexpr std::array<double, 3> kUnits{1, 60, 3600};

/// Degrees, minutes and seconds, or hours: three numbers of which the last two are below 60.
std::span<const double> sexagesimal(const Value& value, double most) {
    const std::span<const double> parts = finiteNumbers(value);
    return parts.size() == kUnits.size() && sexagesimalNumber(parts, most)
               ? parts
               : std::span<const double>();
}

/// Appends whole degrees and minutes, and the seconds to a hundredth: 30 centimetres.
void appendSexagesimal(Output& output, std::span<const double> parts) {
    const std::int64_t hundredths =
        std::llround((parts[0] * 3600 + parts[1] * 60 + parts[2]) * 100);
    appendInteger(output, hundredths / 360000);
    output.append(kDegree);
    output.append(' ');
    appendInteger(output, hundredths / 6000 % 60);
    output.append("' ");
    appendPlaces(output, static_cast<double>(hundredths % 6000) / 100, 2);
    output.append('"');
}

/// The same with the numbers as they are.
void appendParts(Output& output, std::span<const double> parts, unsigned digits) {
    appendRounded(output, parts[0], digits);
    output.append(kDegree);
    output.append(' ');
    appendRounded(output, parts[1], digits);
    output.append("' ");
    appendRounded(output, parts[2], digits);
    output.append('"');
}

void appendTwoDigits(Output& output, double number) {
    output.append(number < 10 ? "0" : "");
    appendRounded(output, number, 0);
}

}  // namespace

std::optional<double> sexagesimalNumber(std::span<const double> parts, double most) {
    if (parts.empty() || parts.size() > kUnits.size()) {
        return std::nullopt;
    }
    double number = 0;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        const bool isInRange =
            parts[part] >= 0 && (part == 0 ? parts[part] <= most : parts[part] < 60);
        if (!isInRange) {
            return std::nullopt;
        }
        number += parts[part] / kUnits[part];
    }
    return number;
}

bool presentPosition(Output& output, const PresentedField& field,
                     const PresenterParameter& reference) {
    constexpr int kPlaces = 6;  // of a degree: 11 centimetres
    const std::string_view direction = wordsOf(field.sibling(reference.sibling), reference.texts);
    const bool isLatitude = reference.texts.front().text == "N";
    const double most = isLatitude ? 90 : 180;
    const std::span<const double> parts = sexagesimal(field.value, most);
    if (parts.empty()) {
        return false;
    }
    const double degrees = sexagesimalNumber(parts, most).value_or(0);
    const double signedDegrees =
        direction == reference.texts.back().words && degrees != 0 ? -degrees : degrees;
    if (field.limits.digits) {
        appendParts(output, parts, *field.limits.digits);
    } else {
        appendSexagesimal(output, parts);
    }
    if (!direction.empty()) {
        output.append(' ');
        output.append(direction);
    }
    output.append(" (");
    if (field.limits.digits) {
        appendRounded(output, signedDegrees, *field.limits.digits);
    } else {
        appendPlaces(output, signedDegrees, kPlaces);
    }
    output.append(')');
    return true;
}

bool presentAltitude(Output& output, const PresentedField& field,
                     const PresenterParameter& reference) {
    const auto metres = finiteNumber(field.value);
    if (!metres) {
        return false;
    }
    appendWhole(output, *metres, field.limits);
    output.append(" m");
    const Value* level = field.sibling(reference.sibling);
    if (const auto code = level != nullptr ? codeOf(*level) : std::nullopt) {
        output.append(wordsOf(*code, reference.codes));
    }
    return true;
}

bool presentTimeOfDay(Output& output, const PresentedField& field, const PresenterParameter&) {
    constexpr double kLastHour = 23;
    const std::span<const double> parts = sexagesimal(field.value, kLastHour);
    if (parts.empty() || std::trunc(parts[0]) != parts[0] || std::trunc(parts[1]) != parts[1]) {
        return false;
    }
    appendTwoDigits(output, parts[0]);
    output.append(':');
    appendTwoDigits(output, parts[1]);
    output.append(parts[2] < 10 ? ":0" : ":");
    appendWhole(output, parts[2], field.limits);
    output.append(" UTC");
    return true;
}

bool presentReferredMeasure(Output& output, const PresentedField& field,
                            const PresenterParameter& reference) {
    return appendWithUnit(output, field, " ",
                          wordsOf(field.sibling(reference.sibling), reference.texts));
}

bool presentDirection(Output& output, const PresentedField& field,
                      const PresenterParameter& reference) {
    constexpr double kFullCircle = 360;
    const auto degrees = finiteNumber(field.value);
    if (!degrees || *degrees < 0 || *degrees > kFullCircle) {
        return false;
    }
    appendWhole(output, *degrees, field.limits);
    output.append(kDegree);
    const std::string_view north = wordsOf(field.sibling(reference.sibling), reference.texts);
    output.append(north.empty() ? "" : " ");
    output.append(north);
    return true;
}

}  // namespace ifdsweep
