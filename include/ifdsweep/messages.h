#pragma once

// Messages: the text of every warning and error, and what it means.
//
// Ownership: plain values; views of texts refer to constant data. Threads: any.
// Some texts say which option of the command line program sets another limit; a program that links
// the library sets it through host.h or read.h.
//
// Errors: std::bad_alloc alone. Stable: part of the API; an id is never renamed or used again, its
// text may be improved.

#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/qx.h"

namespace ifdsweep {

/// The text of any message with its arguments put in. An unknown id gives the id and the arguments
/// after it. File names come as the system's bytes and texts from a file as they are, control
/// characters included: escaping is the writer's job.
[[nodiscard]] std::string messageText(const qxMessage& message);

/// The short form of an id: what stands after its last colon.
[[nodiscard]] std::string_view shortMessageId(std::string_view id);

/// One message as it was asked for, or what is wrong with the id.
struct MessageDescription {
    std::string_view id;
    std::string_view text;         ///< "{1}" stands for the first argument, and so on
    std::string_view explanation;  ///< what it means, and its arguments
    std::string complaint;         ///< empty when there is such a message
    std::string_view advice{};     ///< what to do
};

/// Every message: the module's, the host's, the checks', then the library's and the program's own.
[[nodiscard]] std::vector<MessageDescription> describeMessages();

/// Finds a message by its short or full id. A complaint names the nearest ids, or all of them.
[[nodiscard]] MessageDescription describeMessage(std::string_view shortOrFullId);

/// A description on four lines: id, text, explanation, advice.
[[nodiscard]] std::string explanationText(const MessageDescription& description);

}  // namespace ifdsweep
