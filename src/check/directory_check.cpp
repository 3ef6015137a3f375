#include "check/directory_check.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "check/sample_checks.h"

namespace ifdsweep {
namespace {

/// A tag whose value can be long and is needed whole, and its name (TIFF 6.0).
struct LongTag {
    ImageTag tag;
    std::string_view name;
};

// clang-format off
constexpr std::array kLongTags{
    LongTag{kStripOffsetsTag,    kStrips.offsetsName},
    LongTag{kStripByteCountsTag, kStrips.byteCountsName},
    LongTag{kTileOffsetsTag,     kTiles.offsetsName},
    LongTag{kTileByteCountsTag,  kTiles.byteCountsName},
    LongTag{kJpegTablesTag,      "JPEGTables"},
};
// clang-format on

class DirectoryCheck {
public:
    DirectoryCheck(const ImageFields& imageFields, const StreamExtent& streamExtent,
                   std::uint64_t position)
        : fields(imageFields), extent(streamExtent), directoryPlace{std::nullopt, position} {}

    /// By the rules of TIFF 6.0.
    void checkAll(std::size_t& probesLeft) {
        const bool hasStrips = fields.has(kStripOffsetsTag);
        const bool hasTiles = fields.has(kTileOffsetsTag);
        const bool isMixed = hasStrips && (hasTiles || fields.has(kTileWidthTag));
        checkForData(hasStrips || hasTiles, isMixed);
        checkWhatIsLoaded();
        if (hasStrips || hasTiles) {
            checkSizeOfImage();
        }
        if (hasStrips) {
            checkSizeOfStrips();
            checkSegments(kStrips, isMixed ? std::nullopt : stripGrid(fields), probesLeft);
        }
        if (hasTiles) {
            checkSizeOfTiles();
            checkSegments(kTiles, isMixed ? std::nullopt : tileGrid(fields), probesLeft);
        }
        if (hasStrips || hasTiles) {
            checkSamples(fields, found.findings);
            checkJpegTables(fields, found.findings);
        }
        checkPointer(probesLeft);
    }

    /// Where the fields mean something else, or nothing: only that data lie inside the file.
    void checkPlacesAlone(std::size_t& probesLeft) {
        // RW2 has a field of its own for the position, and then this in the common one.
        constexpr std::uint64_t kElsewhere = 0xFFFFFFFF;
        checkWhatIsLoaded();
        if (fields.number(kStripOffsetsTag, kElsewhere) != kElsewhere) {
            const ImageSegments strips(fields, kStrips, extent);
            strips.checkPlaces(found.findings);
        }
        checkPointer(probesLeft);
    }

    void checkPointer(std::size_t& probesLeft) {
        checkJpegPointer(fields, extent, found.findings, probesLeft, found.probes);
    }

    DirectoryFindings found{};

private:
    [[nodiscard]] FindingPlace placeOf(ImageTag tag) const {
        return fields.has(tag) ? FindingPlace{tag, fields[tag].position()} : directoryPlace;
    }

    /// A directory that gives the size of an image has one.
    void checkForData(bool hasSegments, bool isMixed) {
        const bool hasSize = fields.number(kWidthTag, 0).value_or(0) != 0 &&
                             fields.number(kLengthTag, 0).value_or(0) != 0;
        if (isMixed) {
            addFinding<CheckMessageId::stripsAndTiles>(found.findings, directoryPlace);
        } else if (!hasSegments && hasSize && !fields.has(kJpegInterchangeTag)) {
            addFinding<CheckMessageId::imageDataMissing>(found.findings, directoryPlace);
        }
    }

    void checkWhatIsLoaded() {
        std::string names;
        for (const LongTag& row : kLongTags) {
            if (fields[row.tag].isLeftInFile()) {
                names.append(names.empty() ? "" : ", ").append(row.name);
            }
        }
        if (!names.empty()) {
            addFinding<CheckMessageId::imageDataNotChecked>(found.findings, directoryPlace, names);
        }
    }

    void checkSizeOfImage() {
        const auto width = fields.number(kWidthTag, 0);
        const auto height = fields.number(kLengthTag, 0);
        // That of old-style JPEG data stands in them, and raw files leave it there.
        const bool isInData =
            isOldJpeg(fields) && !fields.has(kWidthTag) && !fields.has(kLengthTag);
        if (width && height && (*width == 0 || *height == 0) && !isInData) {
            addFinding<CheckMessageId::imageSizeZero>(
                found.findings, placeOf(*width == 0 ? kWidthTag : kLengthTag), *width, *height);
        }
    }

    void checkSizeOfStrips() {
        if (fields.number(kRowsPerStripTag, 1) == 0U) {
            addFinding<CheckMessageId::rowsPerStripZero>(found.findings, placeOf(kRowsPerStripTag));
        }
    }

    void checkSizeOfTiles() {
        constexpr std::uint64_t kStep = 16;  // TIFF 6.0, section 15
        const auto width = fields.number(kTileWidthTag, 0);
        const auto length = fields.number(kTileLengthTag, 0);
        if (!width || !length) {
            return;
        }
        if (*width == 0 || *length == 0) {
            addFinding<CheckMessageId::tileSizeZero>(
                found.findings, placeOf(*width == 0 ? kTileWidthTag : kTileLengthTag), *width,
                *length);
        } else if (*width % kStep != 0 || *length % kStep != 0) {
            addFinding<CheckMessageId::tileSizeUneven>(
                found.findings, placeOf(*width % kStep != 0 ? kTileWidthTag : kTileLengthTag),
                *width, *length);
        }
    }

    void checkSegments(const SegmentKind& kind, const std::optional<SegmentGrid>& grid,
                       std::size_t& probesLeft) {
        const ImageSegments segments(fields, kind, extent);
        segments.checkCounts(grid, found.findings);
        segments.checkPlaces(found.findings);
        segments.checkOverlaps(found.findings);
        if (grid) {
            checkSizes(fields, segments, *grid, found.findings);
        }
        probeSegments(fields, segments, extent, probesLeft, found.probes);
    }

    const ImageFields& fields;
    const StreamExtent& extent;
    const FindingPlace directoryPlace;
};

}  // namespace

DirectoryFindings checkDirectory(const ImageFields& fields, const StreamExtent& extent,
                                 DirectoryRole role, std::uint64_t position,
                                 std::size_t& probesLeft) {
    DirectoryCheck check(fields, extent, position);
    if (role == DirectoryRole::wholeFile) {
        check.checkPointer(probesLeft);
    } else if (extent.kind == StreamKind::relative) {
        check.checkPlacesAlone(probesLeft);
    } else {
        check.checkAll(probesLeft);
    }
    return std::move(check.found);
}

}  // namespace ifdsweep
