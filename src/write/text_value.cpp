#include "write/text_value.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "text/count_text.h"
#include "text/json_text.h"
#include "text/number_output.h"
#include "text/terminal_text.h"
#include "write/xml_summary.h"

namespace ifdsweep {
namespace {

constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
constexpr TextLimits kWhole{kAll, kAll, 0U};

/// "4,000,000 values" of a row, "256x3 values" of a matrix.
void appendSize(Output& output, const Value& value, std::string_view elements) {
    if (value.rows() != 1) {
        output.append(groupedCount(value.rows()));
        output.append('x');
    }
    output.append(groupedCount(value.columns()));
    output.append(' ');
    output.append(elements);
}

/// Where the smallest and the largest elements of an array are; a NaN is neither.
struct Extremes {
    std::size_t smallest = 0;
    std::size_t largest = 0;
    bool areAll = true;  ///< whether every element lies between them
};

template <class Element>
std::optional<Extremes> extremesOf(std::span<const Element> elements) {
    const auto isNumber = [](Element element) { return element == element; };
    const auto first = std::find_if(elements.begin(), elements.end(), isNumber);
    if (first == elements.end()) {
        return std::nullopt;
    }
    const auto start = static_cast<std::size_t>(first - elements.begin());
    Extremes extremes{start, start, start == 0};
    Element smallest = *first;
    Element largest = *first;
    for (std::size_t index = start + 1; index < elements.size(); ++index) {
        const Element element = elements[index];
        if (element < smallest) {
            smallest = element;
            extremes.smallest = index;
        }
        if (element > largest) {
            largest = element;
            extremes.largest = index;
        }
        extremes.areAll &= isNumber(element);
    }
    return extremes;
}

std::optional<Extremes> extremesOf(const Value& value) {
    switch (value.kind()) {
        case ValueKind::Double:
            return extremesOf(value.doubles());
        case ValueKind::Uint8:
            return extremesOf(value.bytes());
        default:
            return std::nullopt;
    }
}

/// ", 4393 to 6737" of an array with numbers, ", all 8".
template <class AppendElement>
void appendRange(Output& output, const Value& value, AppendElement&& appendElement) {
    const std::optional<Extremes> extremes = extremesOf(value);
    if (!extremes) {
        return;
    }
    const bool isOneNumber = extremes->smallest == extremes->largest;
    output.append(isOneNumber && extremes->areAll ? ", all " : ", ");
    appendElement(extremes->smallest);
    if (!isOneNumber || !extremes->areAll) {
        output.append(" to ");
        appendElement(extremes->largest);
    }
}

/// Appends elements row by row, as many as the limits allow.
template <class AppendElement>
void appendElements(Output& output, const Value& value, std::string_view separator,
                    std::string_view elements, const TextLimits& limits,
                    AppendElement&& appendElement) {
    const std::size_t shown = std::min(value.elementCount(), limits.elements);
    for (std::size_t index = 0; index < shown; ++index) {
        const std::size_t row = index / value.columns();
        const std::size_t column = index % value.columns();
        if (index > 0) {
            output.append(column == 0 ? std::string_view("; ") : separator);
        }
        appendElement(column * value.rows() + row);
    }
    if (shown < value.elementCount()) {
        output.append(" \u2026 ");
        appendSize(output, value, elements);
        appendRange(output, value, appendElement);
    } else if (shown == 0) {
        output.append("(empty)");
    }
}

}  // namespace

void appendTextValue(Output& output, const Value* value, TextOrigin origin,
                     const TextLimits& limits) {
    if (value == nullptr) {
        output.append("(empty)");
        return;
    }
    if (limits.characters != kAll && appendXmlSummary(output, *value)) {
        return;
    }
    switch (value->kind()) {
        case ValueKind::Double:
            appendElements(output, *value, " ", "values", limits, [&](std::size_t index) {
                appendRounded(output, value->doubles()[index], limits.digitsOr());
            });
            break;
        case ValueKind::Uint8:
            appendElements(output, *value, " ", "bytes", limits, [&](std::size_t index) {
                appendInteger(output, value->bytes()[index]);
            });
            break;
        case ValueKind::Char:
            appendTerminalTexts(output, value->text(), origin, limits);
            break;
        case ValueKind::Cell:
            appendElements(output, *value, ", ", "cells", limits, [&](std::size_t index) {
                appendTextValue(output, value->cell(index), origin, limits);
            });
            break;
        case ValueKind::Struct:
            output.append('(');
            appendSize(output, *value, "records");
            output.append(')');
            break;
    }
}

namespace {

/// A sink of text_decoding.h that appends UTF-8.
class PlainSink {
public:
    explicit PlainSink(Output& output) : destination(output) {}

    void codePoint(char32_t value) {
        destination.commit(encodeUtf8(destination.reserve(kUtf8Room), value));
    }
    void strayByte(std::uint8_t) { codePoint(kReplacement); }
    void loneSurrogate(char16_t) { codePoint(kReplacement); }

private:
    static constexpr std::size_t kUtf8Room = 4;
    static constexpr char32_t kReplacement = 0xFFFD;

    Output& destination;
};

}  // namespace

void appendPlainValue(Output& output, const Value* value, TextOrigin origin, PlainText plainText) {
    if (value == nullptr || value->elementCount() == 0) {
        return;
    }
    switch (value->kind()) {
        case ValueKind::Double:
            appendTextValue(output, value, origin, kWhole);
            break;
        case ValueKind::Uint8:
            appendBase64(output, value->bytes());
            break;
        case ValueKind::Char:
            if (plainText == PlainText::escaped) {
                appendTerminalText(output, value->text(), origin, kAll);
            } else {
                decodeNaturalText(value->text(), textForm(value->text(), origin),
                                  PlainSink(output));
            }
            break;
        case ValueKind::Cell:
            appendElements(output, *value, ", ", "cells", kWhole, [&](std::size_t index) {
                appendPlainValue(output, value->cell(index), origin, plainText);
            });
            break;
        case ValueKind::Struct:
            break;
    }
}

}  // namespace ifdsweep
