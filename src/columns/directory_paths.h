#pragma once

// Directory paths of a packed file: where each directory lies, in the words of messages
// (`0`, `0/SubIFDs[1]/0`).
//
// Ownership: borrows the file. Threads: any.

#include <string>

#include "pack/packed_file.h"

namespace ifdsweep {

/// The path of a directory, as the warnings of a reading have it.
[[nodiscard]] std::string directoryPath(const PackedFile& file,
                                        const PackedDirectoryRow& directory);

}  // namespace ifdsweep
