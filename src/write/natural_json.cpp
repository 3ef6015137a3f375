#include "write/natural_json.h"

#include "read/messages.h"
#include "text/json_text.h"
#include "text/text_list.h"
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

/// A text as a string, or several as an array of them.
void appendNaturalTexts(Output& output, std::u16string_view units, TextOrigin origin,
                        SeveralTexts texts) {
    if (texts == SeveralTexts::string || origin != TextOrigin::tag || !holdsSeveralTexts(units)) {
        appendJsonNaturalText(output, units, origin);
        return;
    }
    const TextForm form = textForm(units, origin);  // of all of them
    std::u16string_view left = withoutEndingNuls(units);
    output.append('[');
    while (!left.empty()) {
        appendJsonNaturalText(output, takeText(left), form);
        output.append(left.empty() ? "]" : ",");
    }
}

void appendNaturalRecords(Output& output, const Value& records, SeveralTexts texts) {
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
            appendNaturalValue(output, records.field(element, field), fieldTextOrigin(name), texts);
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

/// Appends what came of a stream.
void appendReadMembers(Output& output, const Outcome& stream, SeveralTexts texts) {
    appendName(output, "records");
    if (stream.result != nullptr) {
        appendNaturalValue(output, stream.result.get(), TextOrigin::tag, texts);
    } else {
        output.append("[]");
    }
    output.append(',');
    appendOutcomeMessages(output, stream, [&](const qxMessage& message, const WarningPlace* place) {
        appendNaturalMessage(output, message, place, place == nullptr ? stream.found : "");
    });
}

/// Appends the object of one of several streams.
void appendStream(Output& output, const Outcome& stream, SeveralTexts texts) {
    output.append(R"({"container":)");
    appendJsonString(output, stream.stream.container);
    appendTextMember(output, "stream", stream.stream.name);
    appendName(output, "offset");
    appendNaturalNumber(output, stream.initialOffset);
    appendEmbeddedMember(output, stream.stream);
    appendReadMembers(output, stream, texts);
    output.append('}');
}

}  // namespace

void appendNaturalValue(Output& output, const Value* value, TextOrigin origin, SeveralTexts texts) {
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
            appendNaturalTexts(output, value->text(), origin, texts);
            break;
        case ValueKind::Cell:
            appendNaturalArray(output, *value, [&](std::size_t index) {
                appendNaturalValue(output, value->cell(index), origin, texts);
            });
            break;
        case ValueKind::Struct:
            appendNaturalRecords(output, *value, texts);
            break;
    }
}

void appendNaturalMessage(Output& output, const qxMessage& message, const WarningPlace* place,
                          std::string_view found) {
    output.append('{');
    appendMessageMembers(output, message,
                         [&](const qxMessageText& text) { appendNaturalText(output, text); });
    output.append(R"(,"text":)");
    appendJsonString(output, messageText(message));
    if (place != nullptr) {
        appendPlaceMembers(output, *place);
    }
    if (!found.empty()) {
        output.append(R"(,"found":)");
        appendJsonString(output, found);
    }
    output.append('}');
}

void appendNaturalOutcome(Output& output, const Outcome& outcome, SeveralTexts texts) {
    output.append('{');
    appendFileMembers(output, outcome.file);
    if (outcome.others.empty()) {
        appendName(output, "initialOffset");
        appendNaturalNumber(output, outcome.initialOffset);
        appendOriginMembers(output, outcome.stream);
        appendReadMembers(output, outcome, texts);
    } else {
        appendName(output, "streams");
        appendJsonArray(output, 1 + outcome.others.size(), [&](std::size_t number) {
            appendStream(output, number == 0 ? outcome : outcome.others[number - 1], texts);
        });
    }
    output.append('}');
}

void appendNaturalStreamRow(Output& output, const Outcome& stream, SeveralTexts texts) {
    output.append('{');
    appendFileMembers(output, stream.file);
    const StreamOrigin& origin = stream.stream;
    appendName(output, "Stream");
    if (origin.container.empty()) {
        output.append("null");
    } else {
        appendJsonString(output, origin.name);
        appendTextMember(output, "container", origin.container);
        appendEmbeddedMember(output, origin);
    }
    appendName(output, "initialOffset");
    appendNaturalNumber(output, stream.initialOffset);
    appendReadMembers(output, stream, texts);
    output.append('}');
}

}  // namespace ifdsweep
