#pragma once

// File status: how the reading of a file ended, in one word. Plain functions; any thread.

#include <cstdint>
#include <string_view>

#include "pack/packed_file.h"

namespace ifdsweep {

enum class FileStatus : std::uint8_t {
    ok,
    warned,      ///< read, with warnings of more than what nobody asked for
    error,       ///< it holds nothing that can be read
    timeout,     ///< it took too long
    memory,      ///< it took too much memory
    crashed,     ///< the process that read it ended
    unreadable,  ///< the system does not give its bytes: not there, no permission, a failing disk
};

/// The status of the first of its streams that has an error, or else of all.
[[nodiscard]] FileStatus statusOf(const PackedFile& file) noexcept;

/// The word: "ok" and so on.
[[nodiscard]] std::string_view statusWord(FileStatus status) noexcept;

}  // namespace ifdsweep
