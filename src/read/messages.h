#pragma once

// Messages: the library's and the program's own failures beside those of the host's catalogue.
// Their texts are given by ifdsweep/messages.h. Constant data and pure functions; any thread.

#include <string>
#include <string_view>

#include "ifdsweep/messages.h"
#include "ifdsweep/qx.h"

namespace ifdsweep {

/// The program's own failures of one file.
inline constexpr const char* kOutOfMemoryId = "ifdsweep:outOfMemory";
inline constexpr const char* kUnexpectedFailureId = "ifdsweep:unexpectedFailure";
inline constexpr const char* kWorkerDiedId = "ifdsweep:workerDied";
inline constexpr const char* kNoWorkerId = "ifdsweep:noWorker";
inline constexpr const char* kStuckId = "ifdsweep:stuck";
inline constexpr const char* kTimeoutId = "ifdsweep:timeout";
inline constexpr const char* kInputFailureId = "ifdsweep:inputFailure";

/// The same id as a constant text, which messages refer to; null for one that no message has.
[[nodiscard]] const char* constantMessageId(std::string_view id) noexcept;

/// The failure of a path that cannot be read at all.
[[nodiscard]] qxMessage inputFailure(const std::string& reason);

/// The failure of a file for which memory ran out; names the process's limit.
[[nodiscard]] qxMessage outOfMemory();

/// Whether a warning, by its full id, tells of nothing wrong: only of what nobody asked for.
[[nodiscard]] bool tellsOfWhatIsLeftOut(std::string_view id);

}  // namespace ifdsweep
