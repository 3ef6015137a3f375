#pragma once

// Locators: one for each container (containers.h says what each promises). Threads: any.

#include "locate/byte_reader.h"
#include "locate/located.h"

namespace ifdsweep {

/// PNG, third edition, 11.3.4.5: the chunk eXIf; and the text chunks "Raw profile type exif" and
/// "Raw profile type APP1" that older writers have.
[[nodiscard]] Located locateInPng(ByteReader& reader, SearchDepth depth);

/// WebP container specification: the chunk EXIF.
[[nodiscard]] Located locateInWebp(ByteReader& reader, SearchDepth depth);

/// ISO/IEC 23008-12, A.2: items of the type Exif of HEIF and AVIF files.
[[nodiscard]] Located locateInHeif(ByteReader& reader, SearchDepth depth);

/// The boxes CMT1 to CMT4 of a CR3 raw image.
[[nodiscard]] Located locateInCr3(ByteReader& reader, SearchDepth depth);

/// ISO/IEC 18181-2: the box Exif of a JPEG XL file, also where brob compresses it.
[[nodiscard]] Located locateInJpegXl(ByteReader& reader, SearchDepth depth);

/// ISO/IEC 15444-1 and -2: the UUID boxes of Exif and GeoJP2.
[[nodiscard]] Located locateInJpeg2000(ByteReader& reader, SearchDepth depth);

/// Photoshop file format: image resources 1058 and 1059 of PSD and PSB.
[[nodiscard]] Located locateInPsd(ByteReader& reader, SearchDepth depth);

/// The JPEG image in a RAF raw image.
[[nodiscard]] Located locateInRaf(ByteReader& reader, SearchDepth depth);

/// Exif 2.32, 4.7.2, and CIPA DC-007: the Exif data of a JPEG file and of the other pictures in it.
[[nodiscard]] Located locateInJpeg(ByteReader& reader, SearchDepth depth);

/// What a host finds that asks for the Exif data of a JPEG file: what stands behind "Exif" and two
/// NUL in the first APP1 segment that begins so, and nothing else.
[[nodiscard]] Located locateFirstExif(ByteReader& reader, SearchDepth depth);

}  // namespace ifdsweep
