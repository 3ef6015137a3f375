#pragma once

// Arbitrary outcomes for the writers: values of every class, shape and content, also such as no
// file leads to, made of the bytes of a fuzz case.
//
// Ownership: an outcome's values belong to the host that they are made with and must be gone before
// it. Threads: as the host.

#include "fuzz_input.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"

namespace fuzz {

/// A value, or null, with at most `depth` arrays around one another.
[[nodiscard]] ifdsweep::ValueHandle arbitraryValue(ifdsweep::Host& host, FuzzInput& input,
                                                   unsigned depth);

/// A whole outcome: file name, streams; of each its origin, numbers, result or error, warnings.
[[nodiscard]] ifdsweep::Outcome arbitraryOutcome(ifdsweep::Host& host, FuzzInput& input);

}  // namespace fuzz
