#pragma once

// JPEG pictures: the Exif streams of a JPEG image and of those that its index names
// (CIPA DC-007, Multi-Picture Format), wherever in a file it begins.
//
// Ownership: borrows the reader for the call. Threads: any.

#include <cstdint>

#include "locate/byte_reader.h"
#include "locate/jpeg_segments.h"
#include "locate/located.h"

namespace ifdsweep {

/// Bytes of the signature before an Exif stream in its segment.
inline constexpr std::uint64_t kExifSignatureSize = 6;

/// Whether a segment is an APP1 segment whose content begins with the Exif signature.
[[nodiscard]] bool holdsExif(ByteReader& reader, const JpegSegment& segment);

/// Walks the segments of the image at `start`, then those of the pictures that it names, each to
/// its image data. The walk of a picture begins where that of the one before it ended, or behind:
/// what an index says makes nothing be walked twice.
/// @param end of what the first image lies in, no more than the file's size
void locateInPictures(ByteReader& reader, std::uint64_t start, std::uint64_t end, Located& located);

}  // namespace ifdsweep
