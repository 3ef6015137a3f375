#pragma once

// Packed walk: a packed file looked at to its last row and byte, as those do who show all of it,
// and compared with the outcome that it was made of. Plain functions; any thread.

#include <cstdint>
#include <optional>
#include <string>

#include "ifdsweep/read.h"
#include "pack/packed_file.h"

namespace fixture {

/// Follows every reference of every row, and reads every byte that one leads to.
/// @return a number that depends on all of it
[[nodiscard]] std::uint64_t walkEverything(const ifdsweep::PackedFile& file);

/// The first difference between what was packed and an outcome with its values, such as
/// "records[1].Make: 3 columns, not 4"; none if it is the same.
[[nodiscard]] std::optional<std::string> packedDifference(const ifdsweep::PackedFile& file,
                                                          const ifdsweep::Outcome& outcome);

}  // namespace fixture
