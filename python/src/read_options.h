#pragma once

// Read options: the keyword arguments of a reading, checked, as the library takes them.
//
// Ownership: plain values. Threads: with the interpreter's lock. Errors: TypeError and ValueError
// that name the argument; what an iterable of tags raises comes through.

#include <string>
#include <vector>

#include <nanobind/nanobind.h>

#include "ifdsweep/read.h"
#include "read/tag_choice.h"

namespace ifdsweep::python {

namespace nb = nanobind;

/// What a `PackingReader` is made with.
struct ReadSettings {
    ReadOptions read;
    std::vector<ChosenField> fields;  ///< those that are read; empty: all
};

/// Checks the arguments and puts them together. `None` is the default of `offset`, `tags`,
/// `maxValue` and the budgets; the others have no None. A bool is no integer here.
[[nodiscard]] ReadSettings readSettings(nb::handle offset, nb::handle first, nb::handle max,
                                        nb::handle tags, nb::handle maxValue, nb::handle reading,
                                        nb::handle readBudget, nb::handle valueBudget,
                                        nb::handle streams, nb::handle check);

/// TypeError of an argument: "first: expected an int, got str".
[[noreturn]] void refuseType(const char* argument, const char* expected, nb::handle given);

/// ValueError of an argument.
/// @param complaint in UTF-8
[[noreturn]] void refuseValue(const char* argument, const std::string& complaint);

}  // namespace ifdsweep::python
