#pragma once

// What a directory keeps of a tag that has a name. A value type that owns the host value; one
// thread.

#include <cstdint>

#include "adapter/values.h"

namespace ifdsweep::module {

/// A tag with a name: the row of its name in the dictionary of the directory's kind, and its
/// value, null when it has nothing to show.
struct KnownTag {
    std::uint16_t row;
    OwnedValue value;
};

}  // namespace ifdsweep::module
