#pragma once

// The files that the program's tests read: written into a folder of their own, with fixed times.

#include <cstdint>
#include <filesystem>

#include "support/byte_verbs.h"

namespace programfiles {

/// Writes every file into an existing folder.
void writeAll(const std::filesystem::path& folder);

/// A file of these bytes.
void write(const std::filesystem::path& file, const fixture::Bytes& bytes);

/// A small image without damage.
[[nodiscard]] fixture::Bytes image(std::uint16_t width);

/// A small image with a tag that has no name and a type that its tag must not have.
[[nodiscard]] fixture::Bytes damagedImage();

/// Two directories, the first with a SubIFD and an Exif directory.
[[nodiscard]] fixture::Bytes nestedImage();

/// A photo in a JPEG file.
[[nodiscard]] fixture::Bytes photo();

/// An image whose directories share their SubIFDs, twice as many at each level: without a limit,
/// reading it takes longer than anyone waits.
[[nodiscard]] fixture::Bytes endlessImage();

/// Writes an image whose tag 50000 has a value of 200 MB. The file takes no such room on the disk.
void writeLarge(const std::filesystem::path& file);

/// Writes a.tif, a small image, and b.tif, a nested one.
void writePair(const std::filesystem::path& folder);

/// Writes images of many kinds, by number.
void writeMany(const std::filesystem::path& folder, int count);

}  // namespace programfiles
