#pragma once

// JPEG locator: finds the TIFF header of a JPEG file's Exif block by walking the marker segments
// (ISO/IEC 10918-1, Annex B; Exif 2.3, 4.7.2).
//
// Ownership: the file is borrowed for the length of the call. Threads: any.

#include <cstdint>

#include "ifdsweep/byte_source.h"

namespace ifdsweep {

/// What the walk found.
struct JpegSearch {
    enum class Outcome : std::uint8_t {
        found,    ///< `position` is that of the TIFF header
        noExif,   ///< the image data or the end of the image came first, at `position`
        damaged,  ///< the marker segments break off, or are no segments, at `position`
    };

    Outcome outcome = Outcome::damaged;
    std::uint64_t position = 0;
};

/// Whether a file begins like a JPEG file.
[[nodiscard]] bool beginsAsJpeg(const ByteSource& file);

/// Finds the TIFF header after "Exif\0\0" in the first APP1 segment that begins so, by a walk that
/// costs what `JpegSegments` (check/jpeg_segments.h) says.
/// @param file one that begins as JPEG
[[nodiscard]] JpegSearch findExifHeader(const ByteSource& file);

}  // namespace ifdsweep
