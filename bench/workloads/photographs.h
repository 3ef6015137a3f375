#pragma once

// Directories as cameras and scanners write them, for workloads and benchmarks. The same number
// gives the same directory.

#include <cstddef>
#include <string>

#include "support/tiff_builder.h"

namespace bench {

/// ASCII with its terminator.
[[nodiscard]] fixture::Entry text(std::uint16_t tag, const std::string& value);

/// The baseline tags and descriptions of an RGB page: 24 entries.
[[nodiscard]] fixture::Directory page(std::size_t number);

/// An Exif directory of 30 entries.
[[nodiscard]] fixture::Directory exif(std::size_t number);

/// A GPS directory of 12 entries.
[[nodiscard]] fixture::Directory gps(std::size_t number);

/// A page with an Exif and a GPS directory.
[[nodiscard]] fixture::Directory photograph(std::size_t number);

/// Adds entries of private tags that no dictionary names, up to `entryCount` entries.
void fillWithUnknown(fixture::Directory& directory, std::size_t entryCount);

}  // namespace bench
