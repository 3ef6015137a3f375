#pragma once

// Messages: the program's own failures beside those of the host's catalogue, and the texts of all.
// Constant data and pure functions; any thread.

#include <string>
#include <string_view>
#include <vector>

#include "host/message_texts.h"
#include "ifdsweep/qx.h"

namespace ifdsweep {

/// The program's own failures of one file.
inline constexpr const char* kNoExifSegmentId = "ifdsweep:noExifSegment";
inline constexpr const char* kBadJpegSegmentId = "ifdsweep:badJpegSegment";
inline constexpr const char* kOutOfMemoryId = "ifdsweep:outOfMemory";
inline constexpr const char* kUnexpectedFailureId = "ifdsweep:unexpectedFailure";
inline constexpr const char* kWorkerDiedId = "ifdsweep:workerDied";
inline constexpr const char* kNoWorkerId = "ifdsweep:noWorker";
inline constexpr const char* kStuckId = "ifdsweep:stuck";
inline constexpr const char* kTimeoutId = "ifdsweep:timeout";
inline constexpr const char* kInputFailureId = "ifdsweep:inputFailure";

/// The failure of a path that cannot be read at all.
[[nodiscard]] qxMessage inputFailure(const std::string& reason);

/// The failure of a file for which memory ran out; names the process's limit.
[[nodiscard]] qxMessage outOfMemory();

/// The text of any message, as `hostMessageText` gives it: arguments put in, nothing escaped.
[[nodiscard]] std::string messageText(const qxMessage& message);

/// The short form of an id: what stands behind its last colon.
[[nodiscard]] std::string_view shortMessageId(std::string_view id);

/// One message as it was asked for, or what is wrong with the id.
struct MessageDescription {
    std::string_view id;
    std::string_view text;
    std::string_view explanation;
    std::string complaint;  ///< empty when there is such a message
};

/// Every message: those of the host's catalogue, then the program's own.
[[nodiscard]] std::vector<MessageDescription> describeMessages();

/// Finds a message by its short or full id. A complaint names the nearest ids, or all of them.
[[nodiscard]] MessageDescription describeMessage(std::string_view shortOrFullId);

/// A description on three lines: id, text, explanation.
[[nodiscard]] std::string explanationText(const MessageDescription& description);

}  // namespace ifdsweep
