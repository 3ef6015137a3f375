#pragma once

// Directory check: everything that is checked of one directory.
//
// Ownership: borrows the fields. Threads: one at a time. Errors: std::bad_alloc alone.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "check/findings.h"
#include "check/image_fields.h"
#include "check/image_segments.h"
#include "check/jpeg_check.h"

namespace ifdsweep {

/// What came of a directory.
struct DirectoryFindings {
    std::vector<Finding> findings{};
    JpegProbes probes{};  ///< what is still to be looked at in the file
};

/// What a directory is about.
enum class DirectoryRole : std::uint8_t {
    image,      ///< an image that it leads to
    wholeFile,  ///< the file around the stream, such as a JPEG file (Exif 2.32, 4.6.8)
};

/// Checks a directory by what was read of it.
/// @param position   of the directory, from the start of the file
/// @param probesLeft how many places of the file may still be looked at; lessened by those of the
///                   probes
[[nodiscard]] DirectoryFindings checkDirectory(const ImageFields& fields,
                                               const StreamExtent& extent, DirectoryRole role,
                                               std::uint64_t position, std::size_t& probesLeft);

}  // namespace ifdsweep
