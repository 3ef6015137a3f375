#pragma once

// Container seeds: small files of every container, each with the TIFF streams that it is given, as
// its writers make them and a little damaged; seeds for the fuzz targets of the locators. Pure
// functions; any thread.

#include <vector>

#include "support/byte_verbs.h"

namespace fuzz {

/// A TIFF stream of a few hundred bytes.
struct SmallStream {
    fixture::ByteOrder order;  ///< of its numbers
    fixture::Bytes bytes;
};

using SmallStreams = std::vector<SmallStream>;  ///< at least one
using Files = std::vector<fixture::Bytes>;

/// The seeds of one fuzz target.
struct TargetSeeds {
    const char* target;
    Files files;
};

/// Those of all locators but that of JPEG, and of the opener of streams.
[[nodiscard]] std::vector<TargetSeeds> containerSeeds(const SmallStreams& streams);

/// JPEG files with split Exif data, several streams, and other pictures.
[[nodiscard]] Files jpegSeeds(const SmallStreams& streams);

}  // namespace fuzz
