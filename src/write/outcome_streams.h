#pragma once

// Outcome streams: the outcomes of one file's TIFF streams, the main one and the others, in their
// order. Templates over outcomes of the caller; any thread.

#include <algorithm>

#include "ifdsweep/read.h"

namespace ifdsweep {

/// @param visit called with the outcome of each stream
template <class Visit>
void forEachStream(const Outcome& file, Visit&& visit) {
    visit(file);
    for (const Outcome& other : file.others) {
        visit(other);
    }
}

/// Whether something is true of the outcome of any stream.
template <class Predicate>
[[nodiscard]] bool anyStream(const Outcome& file, Predicate&& predicate) {
    return predicate(file) || std::any_of(file.others.begin(), file.others.end(), predicate);
}

}  // namespace ifdsweep
