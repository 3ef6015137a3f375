#include "stream/tiff_stream.h"

#include <algorithm>
#include <array>
#include <limits>

#include "stream/raw2native.h"

namespace ifdsweep::module {

namespace {

struct Layout {
    std::uint64_t entrySize;
    std::uint64_t entryCountSize;
    std::uint64_t offsetSize;
    std::uint64_t valueOffsetPosition;
};

constexpr Layout kClassicLayout{12, 2, 4, 8};
constexpr Layout kBigLayout{20, 8, 8, 12};

}  // namespace

void TiffStream::setLayout(FileFormat format) {
    const Layout& layout = format == FileFormat::bigTiff ? kBigLayout : kClassicLayout;
    entrySize = layout.entrySize;
    entryCountSize = layout.entryCountSize;
    offsetSize = layout.offsetSize;
    valueOffsetPosition = layout.valueOffsetPosition;
}

std::uint64_t TiffStream::unsignedAt(const std::uint8_t* bytes, std::size_t width) const {
    switch (width) {
        case 2:
            return nativeItem<std::uint16_t>(bytes, needsByteSwap);
        case 4:
            return nativeItem<std::uint32_t>(bytes, needsByteSwap);
        default:
            return nativeItem<std::uint64_t>(bytes, needsByteSwap);
    }
}

std::size_t TiffStream::readUnsigned(std::size_t width, std::uint64_t& out) {
    std::array<std::uint8_t, 8> bytes{};
    const std::size_t count = read(bytes.data(), width, 1);
    out = count == 1 ? unsignedAt(bytes.data(), width) : 0;
    return count;
}

std::size_t TiffStream::freadNextIfdOffset(std::uint64_t& out) {
    return readUnsigned(offsetSize, out);
}

std::size_t TiffStream::freadNumDirectoryEntries(std::uint64_t& out) {
    return readUnsigned(entryCountSize, out);
}

std::uint64_t TiffStream::readTagDataOffset(const std::uint8_t* entry) const {
    return unsignedAt(entry + valueOffsetPosition, offsetSize);
}

std::uint64_t TiffStream::readTagNumComponents(const std::uint8_t* entry) const {
    return unsignedAt(entry + 4, offsetSize);
}

std::size_t TiffStream::read(void* out, std::size_t itemSize, std::size_t itemCount) {
    const std::size_t got = std::fread(out, itemSize, itemCount, file.get());
    if (got != itemCount) {
        knownPosition.reset();
    } else if (knownPosition) {
        *knownPosition += itemSize * itemCount;
    }
    return got;
}

std::span<const std::uint8_t> TiffStream::readEntries(Wide size) {
    // Every table of classic TIFF is smaller. It is tried even if it seems to reach past the end:
    // the file may have grown since it was looked at.
    constexpr Wide kAlwaysTried = Wide{1} << 20;
    Wide readable = size;
    if (size > kAlwaysTried && position() + size > fileStatus.fileSize) {
        if (!rules.cutTablesAreRead) {
            return {};
        }
        const std::uint64_t start = std::min(position(), fileStatus.fileSize);
        readable = std::min(size, std::max(kAlwaysTried, Wide{fileStatus.fileSize - start}));
    }
    const std::span<std::uint8_t> bytes = entryBuffers[nestingDepth].take(lowBits(readable));
    const std::size_t count = read(bytes.data(), 1, bytes.size());
    if (count == size) {
        return bytes;
    }
    return bytes.first(rules.cutTablesAreRead ? count - count % entrySize : 0);
}

void TiffStream::countLongValue(const std::string& description) {
    if (describesLongValues()) {
        longValueTexts.append(longValues == 0 ? "" : ", ").append(description);
    } else if (longValues == kDescribed) {
        longValueTexts.append(", ...");
    }
    ++longValues;
}

void TiffStream::warnOfLongValues() {
    if (longValues != 0) {
        warn<ReadingMessageId::valuesNotLoaded>(longValues, longestValue, longValueTexts);
    }
}

bool TiffStream::seekTo(Wide target) {
    if (target > std::numeric_limits<std::int64_t>::max() ||
        fseeko(file.get(), static_cast<off_t>(lowBits(target)), SEEK_SET) != 0) {
        return false;
    }
    knownPosition = lowBits(target);
    return true;
}

bool TiffStream::seekToData(Wide target) {
    const bool isAhead = knownPosition && target >= *knownPosition;
    return (isAhead && readOver(target - *knownPosition)) || seekTo(target);
}

/// Moves over a few bytes by reading them; false when they are many, or missing.
bool TiffStream::readOver(Wide byteCount) {
    constexpr std::size_t kFew = 16;  // a next offset of BigTIFF, and what aligns to 8 bytes
    std::array<std::uint8_t, kFew> unused;
    return byteCount <= unused.size() &&
           read(unused.data(), 1, lowBits(byteCount)) == lowBits(byteCount);
}

bool TiffStream::moveForward(Wide distance) {
    return seekTo(position() + distance);
}

std::uint64_t TiffStream::position() const {
    return knownPosition ? *knownPosition : static_cast<std::uint64_t>(ftello(file.get()));
}

}  // namespace ifdsweep::module
