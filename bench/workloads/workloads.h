#pragma once

// The workloads of the whole-process comparisons: files that are the same on every machine, large
// enough that a reader's habits show. Plain functions; each writes below a folder that exists.

#include <cstddef>
#include <filesystem>

namespace bench {

/// One small RGB image.
void writeOneFile(const std::filesystem::path& folder);

/// `fileCount` small files in nested folders: classic and Big, both byte orders, one or two pages,
/// every other file with an Exif and a GPS directory. 10,000 files hold 29,910 directories with
/// 728,461 entries.
void writeFileTree(const std::filesystem::path& folder, std::size_t fileCount);

/// `fileCount` JPEG files with Exif, GPS and Interoperability directories and a thumbnail's.
void writeJpegTree(const std::filesystem::path& folder, std::size_t fileCount);

/// A BigTIFF stack: 14 tags a directory, a description and one rational pair out of line.
void writeStack(const std::filesystem::path& file, std::size_t directoryCount);

/// A slide of 8 directories; the first has so many tiles (in whole thousands, 2 at least), each
/// next one half of them.
void writeSlide(const std::filesystem::path& file, std::size_t tileCount);

/// Three large values: a private tag of 200 parts, ImageSourceData of 100, XMP of 64.
void writeBlobs(const std::filesystem::path& file, std::size_t bytesPerPart);

/// Directories that each begin a line of six SubIFDs, one inside the other.
void writeNested(const std::filesystem::path& file, std::size_t directoryCount);

/// One BigTIFF directory; every other entry is of a tag that no dictionary names.
void writeWideDirectory(const std::filesystem::path& file, std::size_t entryCount);

}  // namespace bench
