#pragma once

// File stamp: what the system tells of a file when it is opened, for those who want to know later
// whether it is still the same.
//
// Ownership: plain values. Threads: any. Stable: part of the API; members may be added.

#include <cstdint>

namespace ifdsweep {

/// A file as the system knew it when it was opened. A time that the numbers cannot hold is the
/// first or the last that they can.
struct FileStamp {
    std::uint64_t size = 0;     ///< bytes
    std::int64_t modified = 0;  ///< nanoseconds since 1970-01-01 00:00:00 UTC
    std::int64_t changed = 0;   ///< the same, of its status
    std::uint64_t inode = 0;
};

}  // namespace ifdsweep
