#pragma once

// Read options: what is read of a file, and what reading it may take. Plain values; any thread.

#include <cstdint>
#include <optional>

namespace ifdsweep {

struct ReadOptions {
    /// Byte position of the TIFF stream. Absent: found, 0 or that of the Exif data of a JPEG.
    std::optional<double> offset{};
    double first = 0;  ///< directories of the primary chain to skip
    double max = 0;    ///< most directories of the primary chain to read; 0: all
    /// Bytes of each file that may be read: absent for the default of the host, which depends on
    /// the file's size; `kUnlimitedReads` for no limit.
    std::optional<std::uint64_t> readBudget{};
    /// What the values and warnings of each file may come to: the same, with
    /// `ValueBudget::kUnlimited`.
    std::optional<std::uint64_t> valueBudget{};
    bool imagesOnly = false;  ///< leaves a file alone whose first bytes are not those of an image
};

}  // namespace ifdsweep
