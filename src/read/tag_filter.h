#pragma once

// Tag filter: the tags that chosen fields are made of. Plain function; any thread.

#include <vector>

#include "ifdsweep/reading.h"
#include "read/tag_choice.h"

namespace ifdsweep {

/// Asks for all that the fields can show: what is read by the filter and then chosen is what is
/// chosen of everything.
[[nodiscard]] TagFilter tagFilter(const std::vector<ChosenField>& fields);

}  // namespace ifdsweep
