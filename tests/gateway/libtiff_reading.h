#pragma once

// What libtiff, a reader and writer of its own, says about a TIFF file; the witness of the tests
// here. Each call opens and closes its own handle; libtiff's messages are switched off.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <tiffio.h>

#include "support/byte_verbs.h"

namespace fixture {

/// The baseline numbers of one directory.
struct Baseline {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bitsPerSample = 0;
    std::uint16_t compression = 0;
    std::vector<double> blockOffsets{};  ///< of strips or tiles
    std::vector<double> blockByteCounts{};
    bool isTiled = false;
    /// libtiff found the stored byte counts implausible and put computed ones in their place.
    bool hasBogusByteCounts = false;
};

/// Every directory of the primary chain, without those that libtiff cannot read for want of a
/// baseline field; no directory at all when it cannot open the file. Strips are as stored.
[[nodiscard]] std::vector<std::optional<Baseline>> readBaseline(const std::string& path);

/// Writes a file in memory. `mode` is libtiff's: "wl", "wb", "wl8", "wb8".
[[nodiscard]] Bytes writeWithLibtiff(const char* mode, const std::function<void(TIFF*)>& write);

}  // namespace fixture
