#pragma once

// The host's message catalogue: the text of every message, with numbered arguments, and what it
// means. Constant data; any thread.

#include <span>
#include <string>
#include <string_view>

#include "files/file_messages.h"
#include "ifdsweep/qx.h"

namespace ifdsweep {

/// The host's own messages beside those of files (files/file_messages.h).
inline constexpr const char* kValueBudgetSpentId = "Velmora:filesystem:valueBudgetSpent";
inline constexpr const char* kMemorySpentId = "Velmora:filesystem:memorySpent";

/// One message of the catalogue.
struct MessageTextRow {
    std::string_view id;           ///< full identifier
    std::string_view arguments;    ///< one letter each: 'i' signed 64-bit integer, 't' text
    std::string_view text;         ///< "{1}" stands for the first argument, and so on
    std::string_view explanation;  ///< what it means, and its arguments
    std::string_view advice;       ///< what to do
};

/// Every row: the module's messages in the contract's order, then the host's own.
[[nodiscard]] std::span<const MessageTextRow> messageTexts() noexcept;

/// The row of a full identifier; null when there is none.
[[nodiscard]] const MessageTextRow* findMessageText(std::string_view id) noexcept;

/// A text with the arguments of a message put in; what has no argument is left empty.
[[nodiscard]] std::string filledText(std::string_view text, const qxMessage& message);

/// The text of a message with its arguments put in. An unknown identifier gives the
/// identifier and the arguments after it. File names come as the system's bytes and texts from a
/// file as they are, control characters included: escaping is the writer's job.
[[nodiscard]] std::string hostMessageText(const qxMessage& message);

/// One argument as text: an integer in decimal, a text as it is, a file name as system bytes.
[[nodiscard]] std::string argumentText(const qxMessageArgument& argument);

}  // namespace ifdsweep
