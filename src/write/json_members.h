#pragma once

// JSON members that the natural and the typed form share: lists and messages. Templates over an
// Output of the caller, which throw its OutputError; any thread.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "ifdsweep/qx.h"
#include "ifdsweep/read.h"
#include "io/output.h"
#include "text/json_text.h"
#include "text/number_output.h"
#include "text/text_decoding.h"

namespace ifdsweep {

/// Appends `count` elements with a comma between them.
/// @param appendElement called with each index in turn
template <class AppendElement>
void appendCommaList(Output& output, std::size_t count, AppendElement&& appendElement) {
    for (std::size_t index = 0; index < count; ++index) {
        if (index > 0) {
            output.append(',');
        }
        appendElement(index);
    }
}

/// Appends an array of `count` elements.
template <class AppendElement>
void appendJsonArray(Output& output, std::size_t count, AppendElement&& appendElement) {
    output.append('[');
    appendCommaList(output, count, appendElement);
    output.append(']');
}

/// Appends the member "fileBytes", with the comma before it, where the name is no UTF-8: then the
/// member "file" does not give it back.
/// @param file in system bytes
inline void appendFileBytes(Output& output, std::string_view file) {
    if (isUtf8(file)) {
        return;
    }
    const void* bytes = file.data();
    output.append(R"(,"fileBytes":)");
    appendJsonBase64(output, std::span(static_cast<const std::uint8_t*>(bytes), file.size()));
}

/// Appends the members that name a file, without braces.
inline void appendFileMembers(Output& output, std::string_view file) {
    output.append(R"("file":)");
    appendJsonString(output, file);
    appendFileBytes(output, file);
}

/// Appends the name of a member, with the comma before it.
/// @param name needs no escapes
inline void appendName(Output& output, std::string_view name) {
    output.append(R"(,")");
    output.append(name);
    output.append(R"(":)");
}

/// Appends a member that is a text, with the comma before it, as the others.
inline void appendTextMember(Output& output, std::string_view name, std::string_view text) {
    appendName(output, name);
    appendJsonString(output, text);
}

/// Appends the member that says that positions are those of a stream; none where they are the
/// file's.
inline void appendEmbeddedMember(Output& output, const StreamOrigin& stream) {
    if (stream.isEmbedded) {
        appendName(output, "embedded");
        output.append("true");
    }
}

/// Appends the members that say where a stream comes from; none for a file that is itself the
/// stream.
inline void appendOriginMembers(Output& output, const StreamOrigin& stream) {
    if (!stream.container.empty()) {
        appendTextMember(output, "container", stream.container);
        appendTextMember(output, "stream", stream.name);
        appendEmbeddedMember(output, stream);
    }
}

/// Appends the members "id" and "arguments" of a message, without braces. An integer is written
/// whole.
/// @param appendText called with each text argument
template <class AppendText>
void appendMessageMembers(Output& output, const qxMessage& message, AppendText&& appendText) {
    output.append(R"("id":)");
    appendJsonString(output, message.id());
    output.append(R"(,"arguments":)");
    appendJsonArray(output, message.arguments().size(), [&](std::size_t index) {
        const qxMessageArgument& argument = message.arguments()[index];
        if (const auto* integer = boost::get<std::int64_t>(&argument)) {
            appendInteger(output, *integer);
        } else {
            appendText(boost::get<qxMessageText>(argument));
        }
    });
}

/// Appends the object of a count.
inline void appendWarningCount(Output& output, const WarningCount& warning) {
    output.append(R"({"id":)");
    appendJsonString(output, warning.id);
    output.append(R"(,"count":)");
    appendInteger(output, static_cast<std::int64_t>(warning.count));
    output.append('}');
}

/// Appends the members "warnings" and "error" of an outcome, without braces.
/// @param appendMessage called with each message and its place, null for that of an error
template <class AppendMessage>
void appendOutcomeMessages(Output& output, const Outcome& outcome, AppendMessage&& appendMessage) {
    output.append(R"("warnings":)");
    if (outcome.warningCounts.empty()) {
        appendJsonArray(output, outcome.warnings.size(), [&](std::size_t index) {
            const Warning& warning = outcome.warnings[index];
            appendMessage(warning.message, &warning.place);
        });
    } else {
        appendJsonArray(output, outcome.warningCounts.size(), [&](std::size_t index) {
            appendWarningCount(output, outcome.warningCounts[index]);
        });
    }
    output.append(R"(,"error":)");
    if (outcome.error) {
        appendMessage(*outcome.error, nullptr);
    } else {
        output.append("null");
    }
}

}  // namespace ifdsweep
