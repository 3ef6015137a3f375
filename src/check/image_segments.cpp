#include "check/image_segments.h"

#include <algorithm>
#include <tuple>

#include "check/exact.h"

namespace ifdsweep {
namespace {

constexpr std::uint64_t kSeparatePlanes = 2;

/// Nothing where the configuration is none of the two that there are.
std::optional<std::uint64_t> planesOf(const ImageFields& fields) {
    const auto configuration = fields.number(kPlanarConfigurationTag, 1);
    if (configuration == kSeparatePlanes) {
        return fields.number(kSamplesPerPixelTag, 1);
    }
    return configuration == 1U ? std::optional<std::uint64_t>(1) : std::nullopt;
}

/// A number that is there and not 0.
std::optional<std::uint64_t> sizeIn(const ImageFields& fields, ImageTag tag) {
    const auto size = fields.number(tag, 0);
    return size == 0U ? std::nullopt : size;
}

/// Images of more than one plane in depth are cut in that direction too.
bool isFlat(const ImageFields& fields) {
    return fields.number(kImageDepthTag, 1) == 1U;
}

/// Bytes of a segment, to be sorted by where they lie.
struct Extent {
    std::uint64_t offset;
    std::uint64_t size;
    std::size_t index;

    [[nodiscard]] bool isSameAs(const Extent& other) const noexcept {
        return offset == other.offset && size == other.size;
    }
    [[nodiscard]] std::uint64_t end() const noexcept { return sumOf(offset, size); }
    [[nodiscard]] friend bool operator<(const Extent& one, const Extent& other) noexcept {
        return std::tie(one.offset, one.size, one.index) <
               std::tie(other.offset, other.size, other.index);
    }
};

}  // namespace

std::optional<SegmentGrid> stripGrid(const ImageFields& fields) {
    const auto width = sizeIn(fields, kWidthTag);
    const auto height = sizeIn(fields, kLengthTag);
    // One strip unless told otherwise.
    const auto stored = fields.number(kRowsPerStripTag, kTooLarge);
    const auto planes = planesOf(fields);
    if (!width || !height || !stored || *stored == 0 || !planes || !isFlat(fields)) {
        return std::nullopt;
    }
    const std::uint64_t rows = std::min(*stored, *height);
    const std::uint64_t perPlane = partsOf(*height, rows);
    return SegmentGrid{perPlane, *planes, *width, rows, *height - (perPlane - 1) * rows};
}

std::optional<SegmentGrid> tileGrid(const ImageFields& fields) {
    const auto width = sizeIn(fields, kWidthTag);
    const auto height = sizeIn(fields, kLengthTag);
    const auto tileWidth = sizeIn(fields, kTileWidthTag);
    const auto tileLength = sizeIn(fields, kTileLengthTag);
    const auto planes = planesOf(fields);
    if (!width || !height || !tileWidth || !tileLength || !planes || !isFlat(fields)) {
        return std::nullopt;
    }
    const std::uint64_t perPlane =
        productOf(partsOf(*width, *tileWidth), partsOf(*height, *tileLength));
    return SegmentGrid{perPlane, *planes, *tileWidth, *tileLength, *tileLength};
}

ImageSegments::ImageSegments(const ImageFields& imageFields, const SegmentKind& kindOfSegments,
                             const StreamExtent& streamExtent) noexcept
    : segmentKind(kindOfSegments),
      offsets(imageFields[kindOfSegments.offsets]),
      byteCounts(imageFields[kindOfSegments.byteCounts]),
      extent(streamExtent),
      known(std::min(offsets.size(), byteCounts.size())) {}

FindingPlace ImageSegments::byteCountsPlace() const {
    return byteCounts.isThere() ? FindingPlace{segmentKind.byteCounts, byteCounts.position()}
                                : offsetsPlace();
}

void ImageSegments::checkCounts(const std::optional<SegmentGrid>& grid,
                                std::vector<Finding>& findings) const {
    if (!byteCounts.isThere()) {
        addFinding<CheckMessageId::byteCountsMissing>(findings, offsetsPlace(),
                                                      segmentKind.byteCountsName);
    }
    const std::uint64_t counts = byteCounts.isThere() ? byteCounts.count() : offsets.count();
    const std::uint64_t expected = grid ? productOf(grid->perPlane, grid->planes) : offsets.count();
    if (offsets.count() != expected || counts != expected) {
        addFinding<CheckMessageId::imageDataCountMismatch>(findings, offsetsPlace(),
                                                           segmentKind.word, offsets.count(),
                                                           byteCounts.count(), expected);
    }
}

void ImageSegments::checkPlaces(std::vector<Finding>& findings) const {
    if (!byteCounts.isThere()) {
        checkOffsets(findings);
        return;
    }
    SegmentTally past;
    SegmentTally empty;
    SegmentTally unplaced;
    for (std::size_t index = 0; index < known; ++index) {
        const bool hasOffset = offsetOf(index) != 0;
        const bool hasBytes = bytesOf(index) != 0;
        if (hasOffset && !hasBytes) {
            empty.add(index);
        } else if (!hasOffset && hasBytes) {
            unplaced.add(index);
        } else if (hasOffset && !isInside(index)) {
            past.add(index);
        }
    }
    if (past.count > 0) {
        addFinding<CheckMessageId::imageDataPastEOF>(
            findings, offsetsPlace(), segmentKind.word, past.first, past.count, known,
            sumOf(extent.base, offsetOf(past.first)), bytesOf(past.first));
    }
    if (empty.count > 0) {
        addFinding<CheckMessageId::imageDataEmpty>(findings, byteCountsPlace(), segmentKind.word,
                                                   empty.first, empty.count, known);
    }
    if (unplaced.count > 0) {
        addFinding<CheckMessageId::imageDataUnplaced>(findings, offsetsPlace(), segmentKind.word,
                                                      unplaced.first, unplaced.count, known);
    }
}

/// Where no sizes are told, a byte at least is what each has.
void ImageSegments::checkOffsets(std::vector<Finding>& findings) const {
    SegmentTally past;
    for (std::size_t index = 0; index < offsets.size(); ++index) {
        if (!extent.holds(offsetOf(index), 1)) {
            past.add(index);
        }
    }
    if (past.count > 0) {
        addFinding<CheckMessageId::imageDataPastEOF>(
            findings, offsetsPlace(), segmentKind.word, past.first, past.count, offsets.size(),
            sumOf(extent.base, offsetOf(past.first)), std::uint64_t{1});
    }
}

bool ImageSegments::standInOrder() const {
    std::uint64_t end = 0;
    for (std::size_t index = 0; index < known; ++index) {
        if (!hasData(index)) {
            continue;
        }
        if (offsetOf(index) < end) {
            return false;
        }
        end = sumOf(offsetOf(index), bytesOf(index));
    }
    return true;
}

void ImageSegments::checkOverlaps(std::vector<Finding>& findings) const {
    if (standInOrder()) {
        return;  // as in most files, which so need no memory for sorting
    }
    std::vector<Extent> sorted;
    sorted.reserve(known);
    for (std::size_t index = 0; index < known; ++index) {
        if (hasData(index)) {
            sorted.push_back({offsetOf(index), bytesOf(index), index});
        }
    }
    std::sort(sorted.begin(), sorted.end());
    SegmentTally overlapping;
    std::size_t other = 0;
    const Extent* farthest = nullptr;  // of those before, the one that ends last
    const Extent* previous = nullptr;
    for (const Extent& extentOfOne : sorted) {
        // Segments that share all of their bytes, as writers have it of empty tiles, are sound.
        const bool isShared = previous != nullptr && extentOfOne.isSameAs(*previous);
        if (!isShared && farthest != nullptr && extentOfOne.offset < farthest->end()) {
            other = overlapping.count == 0 ? farthest->index : other;
            overlapping.add(extentOfOne.index);
        }
        if (farthest == nullptr || extentOfOne.end() > farthest->end()) {
            farthest = &extentOfOne;
        }
        previous = &extentOfOne;
    }
    if (overlapping.count > 0) {
        addFinding<CheckMessageId::imageDataOverlaps>(findings, offsetsPlace(), segmentKind.word,
                                                      overlapping.first, other, overlapping.count);
    }
}

}  // namespace ifdsweep
