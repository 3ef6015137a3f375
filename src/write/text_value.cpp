#include "write/text_value.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "text/json_text.h"
#include "text/terminal_text.h"
#include "write/number_output.h"

namespace ifdsweep {
namespace {

void appendCount(Output& output, std::size_t count) {
    appendInteger(output, static_cast<std::int64_t>(count));
}

/// "4000000" for a row, "256x3" for a matrix, and what the elements are.
void appendSize(Output& output, const Value& value, std::string_view elements) {
    output.append('(');
    if (value.rows() != 1) {
        appendCount(output, value.rows());
        output.append('x');
    }
    appendCount(output, value.columns());
    output.append(' ');
    output.append(elements);
    output.append(')');
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
        output.append(" ... ");
        appendSize(output, value, elements);
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
    switch (value->kind()) {
        case ValueKind::Double:
            appendElements(output, *value, " ", "values", limits, [&](std::size_t index) {
                appendNumber(output, value->doubles()[index], [&output](double nonFinite) {
                    output.append(nonFiniteName(nonFinite));
                });
            });
            break;
        case ValueKind::Uint8:
            appendElements(output, *value, " ", "bytes", limits, [&](std::size_t index) {
                appendInteger(output, value->bytes()[index]);
            });
            break;
        case ValueKind::Char:
            if (value->elementCount() == 0) {
                output.append("(empty)");
            } else {
                appendTerminalText(output, value->text(), origin, limits.characters);
            }
            break;
        case ValueKind::Cell:
            appendElements(output, *value, ", ", "cells", limits, [&](std::size_t index) {
                appendTextValue(output, value->cell(index), origin, limits);
            });
            break;
        case ValueKind::Struct:
            appendSize(output, *value, "records");
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
    constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
    switch (value->kind()) {
        case ValueKind::Double:
            appendTextValue(output, value, origin, {kAll, kAll});
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
            appendElements(output, *value, ", ", "cells", {kAll, kAll}, [&](std::size_t index) {
                appendPlainValue(output, value->cell(index), origin, plainText);
            });
            break;
        case ValueKind::Struct:
            break;
    }
}

}  // namespace ifdsweep
