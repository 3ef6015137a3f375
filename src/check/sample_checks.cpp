#include "check/sample_checks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "check/exact.h"

namespace ifdsweep {
namespace {

constexpr std::uint64_t kUncompressed = 1;
constexpr std::uint64_t kPalette = 3;
constexpr std::uint64_t kYCbCr = 6;

/// A photometric interpretation and the samples that its colours take.
struct ColourRow {
    std::uint64_t photometric;
    std::uint64_t samples;
};

// clang-format off
constexpr std::array kColours{
    ColourRow{2,      3},  // RGB: TIFF 6.0, section 6
    ColourRow{kYCbCr, 3},  // YCbCr: TIFF 6.0, section 21
};
// clang-format on

FindingPlace placeOf(const ImageFields& fields, ImageTag tag) {
    return {tag, fields[tag].position()};
}

void checkCountOfBits(const ImageFields& fields, std::uint64_t samples,
                      std::vector<Finding>& findings) {
    const ImageField& bits = fields[kBitsPerSampleTag];
    if (bits.isThere() && bits.count() != samples) {
        addFinding<CheckMessageId::bitsPerSampleCountMismatch>(
            findings, placeOf(fields, kBitsPerSampleTag), bits.count(), samples);
    }
}

void checkExtraSamples(const ImageFields& fields, std::uint64_t samples,
                       std::vector<Finding>& findings) {
    const ImageField& extra = fields[kExtraSamplesTag];
    if (extra.isThere() && extra.count() > samples) {
        addFinding<CheckMessageId::extraSamplesTooMany>(findings, placeOf(fields, kExtraSamplesTag),
                                                        extra.count(), samples);
    }
}

void checkColours(const ImageFields& fields, std::uint64_t samples,
                  std::vector<Finding>& findings) {
    const auto photometric = fields.number(kPhotometricTag, kTooLarge);
    for (const ColourRow& row : kColours) {
        if (photometric == row.photometric && samples < row.samples) {
            addFinding<CheckMessageId::tooFewSamples>(findings, placeOf(fields, kPhotometricTag),
                                                      row.photometric, samples, row.samples);
        }
    }
}

/// A map has a red, a green and a blue for each value that a sample can have.
void checkColorMap(const ImageFields& fields, std::vector<Finding>& findings) {
    constexpr std::uint64_t kMostBits = 16;
    const auto bits = fields.number(kBitsPerSampleTag, 1);
    if (fields.number(kPhotometricTag, kTooLarge) != kPalette || !bits || *bits > kMostBits) {
        return;
    }
    const ImageField& map = fields[kColorMapTag];
    const std::uint64_t expected = std::uint64_t{3} << *bits;
    if (map.count() != expected) {
        addFinding<CheckMessageId::colorMapCountMismatch>(
            findings, placeOf(fields, map.isThere() ? kColorMapTag : kPhotometricTag), map.count(),
            expected);
    }
}

/// Bits of each sample of a pixel.
class SampleBits {
public:
    /// Nothing where a field is odd: one number may stand for all samples, as some writers have it.
    static std::optional<SampleBits> of(const ImageFields& fields) {
        const auto samples = fields.number(kSamplesPerPixelTag, 1);
        const auto first = fields.number(kBitsPerSampleTag, 1);
        const ImageField& stored = fields[kBitsPerSampleTag];
        if (!samples || !first || (stored.size() > 1 && stored.size() != *samples)) {
            return std::nullopt;
        }
        return SampleBits(stored, *samples, *first);
    }

    [[nodiscard]] std::uint64_t operator[](std::uint64_t sample) const {
        return stored.size() > 1 ? stored[static_cast<std::size_t>(sample)] : first;
    }

    [[nodiscard]] std::uint64_t sum() const {
        if (stored.size() <= 1) {
            return productOf(samples, first);
        }
        std::uint64_t total = 0;
        for (std::size_t sample = 0; sample < stored.size(); ++sample) {
            total = sumOf(total, stored[sample]);
        }
        return total;
    }

private:
    SampleBits(const ImageField& storedBits, std::uint64_t sampleCount, std::uint64_t firstBits)
        : stored(storedBits), samples(sampleCount), first(firstBits) {}

    const ImageField& stored;
    std::uint64_t samples;
    std::uint64_t first;
};

/// What the pixels of uncompressed segments take.
class UncompressedSize {
public:
    /// Nothing where the data are compressed, or a field is missing or odd.
    static std::optional<UncompressedSize> of(const ImageFields& fields, const SegmentGrid& grid) {
        const auto bits = SampleBits::of(fields);
        if (fields.number(kCompressionTag, kUncompressed) != kUncompressed || !bits) {
            return std::nullopt;
        }
        UncompressedSize size(*bits, grid);
        if (fields.number(kPhotometricTag, kTooLarge) == kYCbCr && !size.subsample(fields)) {
            return std::nullopt;
        }
        return size;
    }

    /// Bytes of rows of a plane.
    [[nodiscard]] std::uint64_t operator()(std::uint64_t plane, std::uint64_t rows) const {
        const std::uint64_t unitBits = groupBits.value_or(isSeparate ? bits[plane] : pixelBits);
        return productOf(partsOf(productOf(unitBits, unitsPerRow), 8), partsOf(rows, unitRows));
    }

private:
    UncompressedSize(const SampleBits& sampleBits, const SegmentGrid& grid)
        : bits(sampleBits),
          isSeparate(grid.planes > 1),
          pixelBits(sampleBits.sum()),
          unitsPerRow(grid.width) {}

    /// Of YCbCr, a group of pixels has all its luminances, and one of each chrominance. False where
    /// a field is odd.
    bool subsample(const ImageFields& fields) {
        constexpr std::uint64_t kPixelBits = 24;
        constexpr std::array<std::uint64_t, 3> kFactors{1, 2, 4};
        const ImageField& stored = fields[kYCbCrSubSamplingTag];
        const bool hasFactors = stored.size() == 2;
        const std::uint64_t across = hasFactors ? stored[0] : 2;
        const std::uint64_t down = hasFactors ? stored[1] : 2;
        const auto isFactor = [&](std::uint64_t factor) {
            return std::find(kFactors.begin(), kFactors.end(), factor) != kFactors.end();
        };
        if (isSeparate || pixelBits != kPixelBits || stored.isThere() != hasFactors ||
            !isFactor(across) || !isFactor(down)) {
            return false;
        }
        groupBits = (across * down + 2) * 8;
        unitsPerRow = partsOf(unitsPerRow, across);
        unitRows = down;
        return true;
    }

    SampleBits bits;
    bool isSeparate;
    std::uint64_t pixelBits;
    std::optional<std::uint64_t> groupBits;
    std::uint64_t unitsPerRow;
    std::uint64_t unitRows = 1;
};

}  // namespace

void checkSamples(const ImageFields& fields, std::vector<Finding>& findings) {
    const auto samples = fields.number(kSamplesPerPixelTag, 1);
    // Those of old-style JPEG data stand in them, and raw files leave them there.
    const bool areInData = isOldJpeg(fields) && !fields.has(kSamplesPerPixelTag);
    if (samples && !areInData) {
        checkCountOfBits(fields, *samples, findings);
        checkExtraSamples(fields, *samples, findings);
        checkColours(fields, *samples, findings);
    }
    checkColorMap(fields, findings);
}

void checkSizes(const ImageFields& fields, const ImageSegments& segments, const SegmentGrid& grid,
                std::vector<Finding>& findings) {
    const auto needed = UncompressedSize::of(fields, grid);
    if (!needed) {
        return;
    }
    const auto neededBy = [&](std::size_t index) {
        const bool isLast = index % grid.perPlane == grid.perPlane - 1;
        return (*needed)(index / grid.perPlane, isLast ? grid.lastRows : grid.rows);
    };
    SegmentTally tooShort;
    for (std::size_t index = 0; index < segments.size() && index / grid.perPlane < grid.planes;
         ++index) {
        const std::uint64_t bytes = segments.bytesOf(index);
        if (bytes != 0 && bytes < neededBy(index)) {
            tooShort.add(index);
        }
    }
    if (tooShort.count > 0) {
        addFinding<CheckMessageId::imageDataTooShort>(
            findings, segments.byteCountsPlace(), segments.kind().word, tooShort.first,
            tooShort.count, segments.size(), segments.bytesOf(tooShort.first),
            neededBy(tooShort.first));
    }
}

}  // namespace ifdsweep
