#pragma once

// File messages: the ids of what the file service tells. Constants; any thread.

namespace ifdsweep {

inline constexpr const char* kOpenFailureId = "Velmora:filesystem:openFailure";
inline constexpr const char* kReadBudgetSpentId = "Velmora:filesystem:readBudgetSpent";
inline constexpr const char* kReadFailedId = "Velmora:filesystem:readFailed";

}  // namespace ifdsweep
