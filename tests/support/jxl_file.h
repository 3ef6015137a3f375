#pragma once

// Files with several TIFF streams: JPEG XL files without an image, whose boxes hold Exif data as
// they are or compressed with Brotli, which then are an embedded stream. Pure functions.

#include <cstddef>
#include <vector>

#include "support/box_builder.h"
#include "support/byte_verbs.h"

namespace fixture {

/// What every such file begins with.
[[nodiscard]] inline Bytes jxlStart() {
    return joined({box("JXL ", bytesOf("\r\n\x87\n")), fileTypeBox("jxl ")});
}

/// The content of the box of a stream.
[[nodiscard]] inline Bytes jxlExif(const Bytes& stream) {
    return joined({bigEndian(4, 0), stream});
}

[[nodiscard]] inline Bytes exifBox(const Bytes& stream) {
    return box("Exif", jxlExif(stream));
}

/// Brotli data that are stored, not compressed (RFC 7932, 9.2).
/// @param content 1 to 65536 bytes
[[nodiscard]] inline Bytes storedInBrotli(const Bytes& content) {
    // From the lowest bit: a window of 64 KiB, not the last block, four digits of a length that is
    // one less, stored. Behind the data an empty last block.
    const std::size_t head = (content.size() - 1) << 4U | std::size_t{1} << 20U;
    Bytes bytes;
    for (const unsigned shift : {0U, 8U, 16U}) {
        bytes.push_back(static_cast<std::uint8_t>(head >> shift));
    }
    return joined({bytes, content, Bytes{3}});
}

/// A box that holds that of a stream, compressed.
[[nodiscard]] inline Bytes compressedExifBox(const Bytes& stream) {
    return box("brob", joined({bytesOf("Exif"), storedInBrotli(jxlExif(stream))}));
}

/// A file of these boxes.
[[nodiscard]] inline Bytes jxlFile(const std::vector<Bytes>& boxes) {
    Bytes file = jxlStart();
    for (const Bytes& one : boxes) {
        file.insert(file.end(), one.begin(), one.end());
    }
    return file;
}

}  // namespace fixture
