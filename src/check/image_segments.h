#pragma once

// Image segments: the strips or tiles of one directory, where they lie and how many there should
// be (TIFF 6.0, sections 3 and 15).
//
// Ownership: borrows the fields. Threads: one at a time. Errors: std::bad_alloc alone.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "check/findings.h"
#include "check/image_fields.h"

namespace ifdsweep {

/// What a file with directories is.
enum class StreamKind : std::uint8_t {
    tiff,       ///< TIFF 6.0 or BigTIFF
    relative,   ///< keeps its image by rules of its own: RW2, ORF, JPEG XR, DCP
    jpeg,       ///< JPEG, of which the stream is the Exif data
    container,  ///< another format around the stream
};

/// The file around a directory.
struct StreamExtent {
    std::uint64_t base = 0;      ///< position of the TIFF header, from which offsets count
    std::uint64_t fileSize = 0;  ///< of the whole file
    StreamKind kind = StreamKind::tiff;

    /// Whether so many bytes at an offset are inside the file.
    [[nodiscard]] bool holds(std::uint64_t offset, std::uint64_t size) const noexcept {
        return base <= fileSize && offset <= fileSize - base && size <= fileSize - base - offset;
    }
};

/// What one kind of segment is called, and where a directory tells of it.
struct SegmentKind {
    std::string_view word;
    ImageTag offsets;
    std::string_view offsetsName;
    ImageTag byteCounts;
    std::string_view byteCountsName;
};

inline constexpr SegmentKind kStrips{"strip", kStripOffsetsTag, "StripOffsets", kStripByteCountsTag,
                                     "StripByteCounts"};
inline constexpr SegmentKind kTiles{"tile", kTileOffsetsTag, "TileOffsets", kTileByteCountsTag,
                                    "TileByteCounts"};

/// How an image is cut.
struct SegmentGrid {
    std::uint64_t perPlane;
    std::uint64_t planes;
    std::uint64_t width;  ///< of a segment, in pixels
    std::uint64_t rows;   ///< of a segment; of the last strip of a plane there may be fewer
    std::uint64_t lastRows;
};

class ImageSegments {
public:
    ImageSegments(const ImageFields& imageFields, const SegmentKind& kindOfSegments,
                  const StreamExtent& streamExtent) noexcept;

    /// Whether the directory tells where they are.
    [[nodiscard]] bool areThere() const noexcept { return offsets.isThere(); }

    [[nodiscard]] const SegmentKind& kind() const noexcept { return segmentKind; }
    [[nodiscard]] FindingPlace offsetsPlace() const {
        return {segmentKind.offsets, offsets.position()};
    }
    [[nodiscard]] FindingPlace byteCountsPlace() const;

    /// How many have both an offset and a size that were read.
    [[nodiscard]] std::size_t size() const noexcept { return known; }
    [[nodiscard]] std::uint64_t offsetOf(std::size_t index) const noexcept {
        return offsets[index];
    }
    [[nodiscard]] std::uint64_t bytesOf(std::size_t index) const noexcept {
        return byteCounts[index];
    }

    /// Whether one has a place and bytes; neither has a part of a sparse image.
    [[nodiscard]] bool hasData(std::size_t index) const noexcept {
        return offsetOf(index) != 0 && bytesOf(index) != 0;
    }

    /// Whether the bytes of one are in the file.
    [[nodiscard]] bool isInside(std::size_t index) const noexcept {
        return extent.holds(offsetOf(index), bytesOf(index));
    }

    /// @param grid how many there should be; nothing where that is not known
    void checkCounts(const std::optional<SegmentGrid>& grid, std::vector<Finding>& findings) const;

    /// Whether each has a place, in the file.
    void checkPlaces(std::vector<Finding>& findings) const;

    /// Whether two have bytes in common and are not the same.
    void checkOverlaps(std::vector<Finding>& findings) const;

private:
    [[nodiscard]] bool standInOrder() const;
    void checkOffsets(std::vector<Finding>& findings) const;

    const SegmentKind& segmentKind;
    const ImageField& offsets;
    const ImageField& byteCounts;
    StreamExtent extent;
    std::size_t known;
};

/// How the strips of an image are cut; nothing where a field is missing or odd.
[[nodiscard]] std::optional<SegmentGrid> stripGrid(const ImageFields& fields);

/// The same of tiles.
[[nodiscard]] std::optional<SegmentGrid> tileGrid(const ImageFields& fields);

/// Counts what is wrong with segments, and keeps the first.
struct SegmentTally {
    std::uint64_t count = 0;
    std::size_t first = 0;

    void add(std::size_t index) noexcept {
        if (count++ == 0) {
            first = index;
        }
    }
};

}  // namespace ifdsweep
