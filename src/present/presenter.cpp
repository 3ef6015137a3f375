#include "present/presenter.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <limits>

#include "text/number_output.h"

namespace ifdsweep {

const Value* PresentedField::sibling(std::string_view name) const {
    const auto field = records.fieldIndex(name);
    return field ? records.field(element, *field) : nullptr;
}

std::span<const double> finiteNumbers(const Value& value) {
    const std::span<const double> numbers = value.doubles();
    const bool areFinite = std::all_of(numbers.begin(), numbers.end(),
                                       [](double number) { return std::isfinite(number); });
    return areFinite ? numbers : std::span<const double>();
}

std::optional<double> finiteNumber(const Value& value) {
    const std::span<const double> numbers = value.doubles();
    return numbers.size() == 1 && std::isfinite(numbers[0]) ? std::optional(numbers[0])
                                                            : std::nullopt;
}

std::optional<std::uint32_t> codeOf(double number) {
    // Above or equal to zero and in range, so that the conversion is defined.
    const bool fits = number >= 0 && number <= std::numeric_limits<std::uint32_t>::max();
    return fits && std::trunc(number) == number ? std::optional(static_cast<std::uint32_t>(number))
                                                : std::nullopt;
}

std::optional<std::uint32_t> codeOf(const Value& value) {
    const std::span<const double> numbers = value.doubles();
    return numbers.size() == 1 ? codeOf(numbers[0]) : std::nullopt;
}

bool isText(const Value* value, std::string_view text) {
    return value != nullptr && value->kind() == ValueKind::Char &&
           std::equal(value->text().begin(), value->text().end(), text.begin(), text.end(),
                      [](char16_t unit, char character) {
                          return unit == static_cast<unsigned char>(character);
                      });
}

std::string_view wordsOf(const Value* value, std::span<const TextWords> texts) {
    const auto found = std::find_if(texts.begin(), texts.end(), [value](const TextWords& row) {
        return isText(value, row.text);
    });
    return found == texts.end() ? std::string_view() : found->words;
}

void appendWhole(Output& output, double number, const TextLimits& limits) {
    appendRounded(output, number, limits.digitsOr());
}

void appendBeside(Output& output, double number, const TextLimits& limits) {
    constexpr unsigned kBesideDigits = 4;
    output.append(" (");
    appendRounded(output, number, limits.digitsOr(kBesideDigits));
    output.append(')');
}

void appendWordsBeside(Output& output, std::string_view words) {
    output.append(" (");
    output.append(words);
    output.append(')');
}

void appendPlaces(Output& output, double number, int places) {
    assert(std::abs(number) < 1e9 && places > 0 && places <= 9);
    char* text = output.reserve(kNumberRoom);
    char* end =
        std::to_chars(text, text + kNumberRoom, number, std::chars_format::fixed, places).ptr;
    while (end[-1] == '0') {
        --end;
    }
    output.commit(end[-1] == '.' ? end - 1 : end);
}

bool appendWithUnit(Output& output, const PresentedField& field, std::string_view between,
                    std::string_view unit) {
    const auto number = finiteNumber(field.value);
    if (!number || unit.empty()) {
        return false;
    }
    appendWhole(output, *number, field.limits);
    output.append(between);
    output.append(unit);
    return true;
}

}  // namespace ifdsweep
