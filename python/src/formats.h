#pragma once

// Formats: packed files written as the program writes them (write.h).

#include <string>

#include "pack/packed_file.h"

namespace ifdsweep::python {

/// The JSON object of the file, byte for byte as the program writes it, without a line end.
[[nodiscard]] std::string jsonOf(const PackedFile& file, bool pretty);

/// The lines of `--format facts`.
[[nodiscard]] std::string factsOf(const PackedFile& file);

/// The text for people, without colours.
[[nodiscard]] std::string textOf(const PackedFile& file);

}  // namespace ifdsweep::python
