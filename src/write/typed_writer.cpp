#include "write/typed_writer.h"

#include <algorithm>

#include "files/file_names.h"
#include "text/json_text.h"
#include "write/json_members.h"
#include "write/outcome_streams.h"

namespace ifdsweep {
namespace {

void appendTypedNumber(Output& output, double value) {
    appendNumber(output, value, [&output](double nonFinite) {
        output.append('"');
        output.append(nonFiniteName(nonFinite));
        output.append('"');
    });
}

/// Appends everything up to the value's data.
void appendHead(Output& output, std::string_view className, const Value& value) {
    output.append(R"({"class":")");
    output.append(className);
    output.append(R"(","size":[)");
    output.commit(formatFinite(output.reserve(kNumberRoom), static_cast<double>(value.rows())));
    output.append(',');
    output.commit(formatFinite(output.reserve(kNumberRoom), static_cast<double>(value.columns())));
    output.append(']');
    if (value.kind() == ValueKind::Struct) {
        output.append(R"(,"fields":)");
        appendJsonArray(output, value.fieldCount(), [&](std::size_t field) {
            appendJsonString(output, value.fieldName(field));
        });
    }
    output.append(R"(,"data":)");
}

void appendTypedRecords(Output& output, const Value& records) {
    appendJsonArray(output, records.elementCount(), [&](std::size_t element) {
        appendJsonArray(output, records.fieldCount(), [&](std::size_t field) {
            appendTypedValue(output, records.field(element, field));
        });
    });
}

/// An 8-bit text has one character for each byte, as the host makes of such a text.
void appendTypedText(Output& output, const qxMessageText& text) {
    if (const auto* units = boost::get<std::u16string>(&text)) {
        appendJsonUnits(output, *units);
        return;
    }
    const auto& bytes = boost::get<std::string>(text);
    std::u16string units(bytes.size(), u'\0');
    std::transform(bytes.begin(), bytes.end(), units.begin(), [](char byte) {
        return static_cast<char16_t>(static_cast<unsigned char>(byte));
    });
    appendJsonUnits(output, units);
}

void appendTypedMessage(Output& output, const qxMessage& message) {
    output.append('{');
    appendMessageMembers(output, message,
                         [&](const qxMessageText& text) { appendTypedText(output, text); });
    output.append('}');
}

void appendTypedStream(Output& output, const Outcome& stream) {
    output.append(R"({"file":)");
    appendJsonUnits(output, fileNameFromSystem(stream.file));
    appendFileBytes(output, stream.file);
    appendOriginMembers(output, stream.stream);
    output.append(R"(,"arguments":{"initialOffset":)");
    appendTypedNumber(output, stream.initialOffset);
    output.append(R"(,"firstIfdIndex":)");
    appendTypedNumber(output, stream.firstIfdIndex);
    output.append(R"(,"maxIfdCount":)");
    appendTypedNumber(output, stream.maxIfdCount);
    output.append(R"(},"result":)");
    appendTypedValue(output, stream.result.get());
    output.append(',');
    appendOutcomeMessages(output, stream,
                          [&](const qxMessage& message, const WarningPlace* /*place*/) {
                              appendTypedMessage(output, message);
                          });
    output.append("}\n");
}

}  // namespace

void appendTypedValue(Output& output, const Value* value) {
    if (value == nullptr) {
        output.append("null");
        return;
    }
    switch (value->kind()) {
        case ValueKind::Double:
            appendHead(output, "double", *value);
            appendJsonArray(output, value->elementCount(), [&](std::size_t index) {
                appendTypedNumber(output, value->doubles()[index]);
            });
            break;
        case ValueKind::Uint8:
            appendHead(output, "uint8", *value);
            appendJsonArray(output, value->elementCount(), [&](std::size_t index) {
                appendInteger(output, value->bytes()[index]);
            });
            break;
        case ValueKind::Char:
            appendHead(output, "char", *value);
            appendJsonUnits(output, value->text());
            break;
        case ValueKind::Cell:
            appendHead(output, "cell", *value);
            appendJsonArray(output, value->elementCount(), [&](std::size_t index) {
                appendTypedValue(output, value->cell(index));
            });
            break;
        case ValueKind::Struct:
            appendHead(output, "struct", *value);
            appendTypedRecords(output, *value);
            break;
    }
    output.append('}');
}

void TypedWriter::writeFile(const Outcome& outcome) {
    forEachStream(outcome, [this](const Outcome& stream) { appendTypedStream(output, stream); });
}

}  // namespace ifdsweep
