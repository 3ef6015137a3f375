// The header and the skipping of directories.

#include <algorithm>
#include <array>

#include "adapter/messages.h"
#include "file/tag_file.h"

namespace ifdsweep::module {

namespace {

constexpr std::uint32_t kLittleEndianMark = 18761;  // "II"
constexpr std::uint32_t kBigEndianMark = 19789;     // "MM"

/// A version word whose layout is known.
struct VersionRow {
    std::uint16_t version;
    FileFormat layout;
};

// clang-format off
constexpr std::array<VersionRow, 7> kVersions{{
    {42,     FileFormat::classicTiff},  // TIFF 6.0, section 2
    {43,     FileFormat::bigTiff},      // BigTIFF
    {0x0055, FileFormat::classicTiff},  // RW2: the ExifTool documentation of Panasonic raw files
    {0x4F52, FileFormat::classicTiff},  // ORF, "RO": the ExifTool documentation of Olympus raw files
    {0x5352, FileFormat::classicTiff},  // ORF, "RS": the same
    {0x01BC, FileFormat::classicTiff},  // JPEG XR, bytes BC 01: ITU-T T.832, Annex A
    {0x4352, FileFormat::classicTiff},  // DCP, "RC": the DNG specification, chapter 6
}};
// clang-format on

}  // namespace

void TagFile::readThroughTiffHeader() {
    tiffBaseOffset = static_cast<std::int64_t>(position());
    readTiffHeaderEndianFormat();
    if (read(headerVersion.data(), headerVersion.size(), 1) != 1) {
        raise<MessageId::tiffHeaderReadFailure>();
    }
    tiffVersion = static_cast<std::uint16_t>(unsignedAt(headerVersion.data(), 2));
    if (rules.headerDecidesLayout) {
        const FileFormat layout = layoutByVersion();
        setLayout(layout);
        // A JPEG stays one: what its record shows is another matter than the widths of its stream.
        fileFormat = fileFormat == FileFormat::jpeg ? fileFormat : layout;
    }
    if (offsetSize == 8) {
        moveForward(4);  // the size of an offset, and a reserved word
    }
    std::uint64_t firstIfd = 0;
    if (freadNextIfdOffset(firstIfd) != 1) {
        raise<MessageId::tiffHeaderReadFailure>();
    }
    const Wide target = Wide{firstIfd} + baseOffset();
    if (target > fileStatus.fileSize) {
        raise<MessageId::badTiffIfdOffset>(lowBits(target), fileStatus.fileSize);
    }
    if (!seekTo(target)) {
        raise<MessageId::badTiffHeaderIfdOffset>();
    }
    skipDirectories();
}

// A damaged word may stand before either layout: where the layout that it names leads out of the
// file, that by the first bytes holds, and a word that names none leaves BigTIFF, for which every
// unknown file was taken, only where that leads to a directory.
FileFormat TagFile::layoutByVersion() {
    const FileFormat taken = offsetSize == 8 ? FileFormat::bigTiff : FileFormat::classicTiff;
    const auto* row =
        std::find_if(kVersions.begin(), kVersions.end(),
                     [this](const VersionRow& known) { return known.version == tiffVersion; });
    const bool isKnown = row != kVersions.end();
    if (isKnown && (row->layout == taken || leadsToDirectory(row->layout))) {
        return row->layout;
    }
    warn<ReadingMessageId::layoutGuessed>(tiffVersion);
    return !isKnown && taken == FileFormat::bigTiff && !leadsToDirectory(taken)
               ? FileFormat::classicTiff
               : taken;
}

/// Whether the header, read in a layout, leads to a place in the file.
bool TagFile::leadsToDirectory(FileFormat layout) {
    const std::uint64_t start = position();
    setLayout(layout);
    moveForward(offsetSize - 4);
    std::uint64_t firstIfd = 0;
    const bool isInside =
        freadNextIfdOffset(firstIfd) == 1 && Wide{firstIfd} + baseOffset() <= fileStatus.fileSize;
    seekTo(start);
    return isInside;
}

void TagFile::readTiffHeaderEndianFormat() {
    if (read(headerByteOrder.data(), headerByteOrder.size(), 1) != 1) {
        raise<MessageId::tiffHeaderReadFailure>();
    }
    byteOrderMark = static_cast<std::uint32_t>(headerByteOrder[0] | headerByteOrder[1] << 8);
    if (byteOrderMark != kLittleEndianMark && byteOrderMark != kBigEndianMark) {
        raise<MessageId::badEndianness>(headerByteOrder[0], headerByteOrder[1], filename);
    }
    needsByteSwap = (hostIsBigEndian && byteOrderMark == kLittleEndianMark) ||
                    (hostIsLittleEndian && byteOrderMark == kBigEndianMark);
}

// Where a skip leads depends on where it starts alone, so that once a position returns, whole
// rounds of the loop can be left out: skipping 10^18 directories takes no longer than the longest
// way through the file. A position is kept for comparison at every power of two (Brent's method).
void TagFile::skipDirectories() {
    std::uint64_t landmark = position();
    std::uint64_t sinceLandmark = 0;
    std::uint64_t nextLandmark = 1;
    bool mayRepeat = true;
    for (std::uint64_t left = firstIfdIndex; left > 0;) {
        skipDirectory();
        --left;
        if (!mayRepeat) {
            continue;
        }
        ++sinceLandmark;
        const std::uint64_t here = position();
        if (here == landmark) {
            left %= sinceLandmark;
            mayRepeat = false;
        } else if (sinceLandmark == nextLandmark) {
            landmark = here;
            sinceLandmark = 0;
            nextLandmark *= 2;
        }
    }
}

// An offset of 0 is followed like any other: to the header.
void TagFile::skipDirectory() {
    std::uint64_t entries = 0;
    (void)freadNumDirectoryEntries(entries);
    moveForward(Wide{entries} * entrySize);
    std::uint64_t next = 0;
    (void)freadNextIfdOffset(next);
    if (!seekTo(Wide{next} + baseOffset())) {
        raise<MessageId::badTiffHeaderIfdOffset>();
    }
}

}  // namespace ifdsweep::module
