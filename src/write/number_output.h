#pragma once

// Number output: numbers appended to an Output of the caller, which throw its OutputError; any
// thread.

#include <cmath>
#include <cstdint>

#include "io/output.h"
#include "text/number_text.h"

namespace ifdsweep {

/// Appends an integer.
inline void appendInteger(Output& output, std::int64_t value) {
    output.commit(formatInteger(output.reserve(kNumberRoom), value));
}

/// Appends a number, and for one that is not finite what `appendNonFinite` makes of it.
template <class AppendNonFinite>
void appendNumber(Output& output, double value, AppendNonFinite&& appendNonFinite) {
    if (std::isfinite(value)) {
        output.commit(formatFinite(output.reserve(kNumberRoom), value));
    } else {
        appendNonFinite(value);
    }
}

}  // namespace ifdsweep
