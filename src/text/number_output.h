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

/// Appends a number for people: rounded as by `formatRounded`, or the name of one that is not
/// finite.
/// @param digits most significant digits; 0: all that there are
inline void appendRounded(Output& output, double value, unsigned digits) {
    if (!std::isfinite(value)) {
        output.append(nonFiniteName(value));
    } else if (digits == 0) {
        output.commit(formatFinite(output.reserve(kNumberRoom), value));
    } else {
        output.commit(formatRounded(output.reserve(kNumberRoom), value, digits));
    }
}

}  // namespace ifdsweep
