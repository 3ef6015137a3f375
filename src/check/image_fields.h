#pragma once

// Image fields: what the entries of one directory say of its image data, exactly as stored.
//
// Ownership: owns copies of the values. Threads: one at a time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "ifdsweep/entry_sink.h"

namespace ifdsweep {

/// The tags that the checks are made of (TIFF 6.0).
enum ImageTag : std::uint16_t {
    kWidthTag = 256,
    kLengthTag = 257,
    kBitsPerSampleTag = 258,
    kCompressionTag = 259,
    kPhotometricTag = 262,
    kStripOffsetsTag = 273,
    kSamplesPerPixelTag = 277,
    kRowsPerStripTag = 278,
    kStripByteCountsTag = 279,
    kPlanarConfigurationTag = 284,
    kColorMapTag = 320,
    kTileWidthTag = 322,
    kTileLengthTag = 323,
    kTileOffsetsTag = 324,
    kTileByteCountsTag = 325,
    kExtraSamplesTag = 338,
    kJpegTablesTag = 347,
    kJpegInterchangeTag = 513,
    kJpegInterchangeLengthTag = 514,
    kYCbCrSubSamplingTag = 530,
    kImageDepthTag = 32997,
};

inline constexpr std::array kImageTags{kWidthTag,
                                       kLengthTag,
                                       kBitsPerSampleTag,
                                       kCompressionTag,
                                       kPhotometricTag,
                                       kStripOffsetsTag,
                                       kSamplesPerPixelTag,
                                       kRowsPerStripTag,
                                       kStripByteCountsTag,
                                       kPlanarConfigurationTag,
                                       kColorMapTag,
                                       kTileWidthTag,
                                       kTileLengthTag,
                                       kTileOffsetsTag,
                                       kTileByteCountsTag,
                                       kExtraSamplesTag,
                                       kJpegTablesTag,
                                       kJpegInterchangeTag,
                                       kJpegInterchangeLengthTag,
                                       kYCbCrSubSamplingTag,
                                       kImageDepthTag};

/// The value of one tag.
class ImageField {
public:
    /// Takes over what the walk tells of an entry.
    void take(const EntryFacts& entry);

    [[nodiscard]] bool isThere() const noexcept { return there; }

    /// Whether the value was left in the file because it is long, and not because of damage.
    [[nodiscard]] bool isLeftInFile() const noexcept { return leftInFile; }

    /// How many values there are, as stored.
    [[nodiscard]] std::uint64_t count() const noexcept { return storedCount; }

    /// Of the entry, from the start of the file.
    [[nodiscard]] std::uint64_t position() const noexcept { return entryPosition; }

    /// How many values can be read as unsigned integers; 0 where the field type is another.
    [[nodiscard]] std::size_t size() const noexcept {
        return width == 0 ? 0 : bytes.size() / width;
    }

    /// One of them.
    [[nodiscard]] std::uint64_t operator[](std::size_t index) const noexcept;

private:
    bool there = false;
    bool leftInFile = false;
    std::uint64_t storedCount = 0;
    std::uint64_t entryPosition = 0;
    std::size_t width = 0;  ///< of a value, in bytes
    std::vector<std::uint8_t> bytes;
};

/// The fields of one directory.
class ImageFields {
public:
    /// Takes over what the walk tells of an entry, if it is of the checks' tags. Of several with
    /// one tag the last counts, as in a record.
    void take(const EntryFacts& entry);

    [[nodiscard]] const ImageField& operator[](ImageTag tag) const noexcept;

    [[nodiscard]] bool has(ImageTag tag) const noexcept { return (*this)[tag].isThere(); }

    /// The one number of a tag: `absent` where the directory lacks it, nothing where it cannot be
    /// read as one.
    [[nodiscard]] std::optional<std::uint64_t> number(ImageTag tag, std::uint64_t absent) const;

private:
    std::array<ImageField, kImageTags.size()> fields;
};

/// Whether the image is old-style JPEG (TIFF 6.0, section 22).
[[nodiscard]] bool isOldJpeg(const ImageFields& fields);

}  // namespace ifdsweep
