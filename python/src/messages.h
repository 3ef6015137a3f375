#pragma once

// Messages: the parts of a message of a packed file.
//
// Threads: with the interpreter's lock. Errors: nb::python_error.

#include <string>

#include "objects.h"

namespace ifdsweep::python {

/// The arguments, as the JSON has them.
[[nodiscard]] nb::tuple messageArguments(const PackedFile& file, const PackedMessageRow& message);

/// The text, in system bytes where a file is named.
[[nodiscard]] std::string messageTextOf(const PackedFile& file, const PackedMessageRow& message);

}  // namespace ifdsweep::python
