#include "write/natural_json.h"

#include "read/messages.h"
#include "text/json_text.h"
#include "write/json_members.h"

namespace ifdsweep {
namespace {

void appendNaturalNumber(Output& output, double value) {
    appendNumber(output, value, [&output](double) { output.append("null"); });
}

/// A row as an array, every other shape as an array of rows; nothing at all as an empty array.
template <class AppendElement>
void appendNaturalArray(Output& output, const Value& value, AppendElement&& appendElement) {
    const std::size_t rows = value.rows();
    const std::size_t columns = value.columns();
    if (rows == 1 || value.elementCount() == 0) {
        appendJsonArray(output, value.elementCount(), appendElement);
        return;
    }
    appendJsonArray(output, rows, [&](std::size_t row) {
        appendJsonArray(output, columns,
                        [&](std::size_t column) { appendElement(column * rows + row); });
    });
}

/// A name that needs no escapes, and its colon.
void appendPlainName(Output& output, std::string_view name) {
    char* text = output.reserve(name.size() + 3);
    *text++ = '"';
    text += name.copy(text, name.size());
    *text++ = '"';
    *text++ = ':';
    output.commit(text);
}

void appendNaturalRecords(Output& output, const Value& records) {
    const bool plainNames = records.fieldNamesAreIdentifiers();
    appendJsonArray(output, records.elementCount(), [&](std::size_t element) {
        output.append('{');
        appendCommaList(output, records.fieldCount(), [&](std::size_t field) {
            const std::string_view name = records.fieldName(field);
            if (plainNames) {
                appendPlainName(output, name);
            } else {
                appendJsonString(output, name);
                output.append(':');
            }
            appendNaturalValue(output, records.field(element, field), fieldTextOrigin(name));
        });
        output.append('}');
    });
}

/// A text argument: system bytes, or a file name.
void appendNaturalText(Output& output, const qxMessageText& text) {
    if (const auto* bytes = boost::get<std::string>(&text)) {
        appendJsonString(output, *bytes);
    } else {
        appendJsonNaturalText(output, boost::get<std::u16string>(text), TextOrigin::fileName);
    }
}

/// Appends the members that say where, those of them that there are.
void appendPlaceMembers(Output& output, const WarningPlace& place) {
    if (!place.path.empty()) {
        output.append(R"(,"path":)");
        appendJsonString(output, place.path);
    }
    if (place.tag) {
        output.append(R"(,"tag":)");
        appendInteger(output, *place.tag);
    }
    if (place.offset) {
        output.append(R"(,"offset":)");
        appendInteger(output, static_cast<std::int64_t>(*place.offset));
    }
}

}  // namespace

void appendNaturalValue(Output& output, const Value* value, TextOrigin origin) {
    if (value == nullptr) {
        output.append("null");
        return;
    }
    switch (value->kind()) {
        case ValueKind::Double: {
            const auto numbers = value->doubles();
            if (numbers.size() == 1) {
                appendNaturalNumber(output, numbers[0]);
            } else {
                appendNaturalArray(output, *value, [&](std::size_t index) {
                    appendNaturalNumber(output, numbers[index]);
                });
            }
            break;
        }
        case ValueKind::Uint8:
            appendJsonBase64(output, value->bytes());
            break;
        case ValueKind::Char:
            appendJsonNaturalText(output, value->text(), origin);
            break;
        case ValueKind::Cell:
            appendNaturalArray(output, *value, [&](std::size_t index) {
                appendNaturalValue(output, value->cell(index), origin);
            });
            break;
        case ValueKind::Struct:
            appendNaturalRecords(output, *value);
            break;
    }
}

void appendNaturalMessage(Output& output, const qxMessage& message, const WarningPlace* place) {
    output.append('{');
    appendMessageMembers(output, message,
                         [&](const qxMessageText& text) { appendNaturalText(output, text); });
    output.append(R"(,"text":)");
    appendJsonString(output, messageText(message));
    if (place != nullptr) {
        appendPlaceMembers(output, *place);
    }
    output.append('}');
}

void appendNaturalOutcome(Output& output, const Outcome& outcome) {
    output.append('{');
    appendFileMembers(output, outcome.file);
    output.append(R"(,"initialOffset":)");
    appendNaturalNumber(output, outcome.initialOffset);
    output.append(R"(,"records":)");
    if (outcome.result != nullptr) {
        appendNaturalValue(output, outcome.result.get());
    } else {
        output.append("[]");
    }
    output.append(',');
    appendOutcomeMessages(output, outcome,
                          [&](const qxMessage& message, const WarningPlace* place) {
                              appendNaturalMessage(output, message, place);
                          });
    output.append('}');
}

}  // namespace ifdsweep
