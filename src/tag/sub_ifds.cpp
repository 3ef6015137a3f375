// Tags that point at further directories.

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "dict/data_types.h"
#include "stream/tiff_stream.h"
#include "tag/special_tags.h"
#include "tag/tiff_tag.h"

namespace ifdsweep::module {

namespace {

/// What a message calls a kind of directory; a kind that is none of the four has the last name.
const char* kindText(IFDtype_t_ kind) {
    const auto* row = std::find_if(kPointerTags.begin(), kPointerTags.end() - 1,
                                   [kind](const PointerTag& tag) { return tag.kind == kind; });
    return row->kindName;
}

/// The offsets that a pointer tag holds, one from each slot that begins inside its data. A slot
/// that reaches past the end is padded with zero bytes.
class Offsets {
public:
    /// @param count    of components
    /// @param slotSize bytes of an offset, 8 at most
    Offsets(std::span<const std::uint8_t> data, std::uint64_t count, std::size_t slotSize)
        : bytes(data.begin(), data.end()), size(slotSize) {
        slots = std::min<std::uint64_t>(count, (data.size() + slotSize - 1) / slotSize);
    }

    [[nodiscard]] std::size_t count() const { return slots; }

    [[nodiscard]] std::uint64_t operator[](std::size_t slot) const {
        std::uint64_t offset = 0;  // the machine is little-endian: the low bytes come first
        std::memcpy(&offset, bytes.data() + slot * size,
                    std::min(size, bytes.size() - slot * size));
        return offset;
    }

private:
    std::vector<std::uint8_t> bytes;  // copied: nested tags use the same data buffer
    std::size_t size;
    std::size_t slots;
};

/// Bytes of an offset of a pointer tag. Raw bytes hold them in 4-byte slots, and by the contract so
/// does every type.
std::size_t offsetSize(const ReadingRules& rules, std::uint32_t dataType) {
    switch (dataType) {
        case TIFF_SHORT:
        case TIFF_SSHORT:
        case TIFF_LONG8:
        case TIFF_SLONG8:
        case TIFF_IFD8:
            return rules.wholeIntegers ? dataTypeWidth(dataType) : 4;
        default:
            return 4;
    }
}

/// Under a pointer that is asked for itself, everything is, while this lives.
class FilterBelow {
public:
    FilterBelow(TiffStream& file, DirectoryKind kind, std::uint16_t tag)
        : stream(file), before(file.filter) {
        if (before != nullptr && before->asksFor(kind, tag)) {
            stream.filter = nullptr;
        }
    }
    FilterBelow(const FilterBelow&) = delete;
    FilterBelow& operator=(const FilterBelow&) = delete;
    ~FilterBelow() { stream.filter = before; }

private:
    TiffStream& stream;
    const TagFilter* before;
};

}  // namespace

bool TiffTag::holdsOffsets() const {
    switch (dataType) {
        case TIFF_ASCII:
        case TIFF_RATIONAL:
        case TIFF_SRATIONAL:
        case TIFF_FLOAT:
        case TIFF_DOUBLE:
            return !tagFile->rules.wholeIntegers || componentCount == 0;
        default:
            return true;
    }
}

// It stands among the unknown tags, with its value.
void TiffTag::leadNowhere() {
    leadsNowhere = true;
    nameRow = TextMap::kNotFound;
    warn<ReadingMessageId::pointerHoldsNoOffset>(
        tagId, get_datatype_name(static_cast<TIFFDataType>(dataType)));
}

bool TiffTag::processSubIfds(IFDtype_t_ chainKind) {
    if (tagFile->report.tellsEntries() && mayNest()) {
        tell({});  // before what it leads to
    }
    const FilterBelow filter(*tagFile, directoryKind(ifdType), tagId);
    const std::uint64_t position = tagFile->position();
    const Offsets offsets(rawData, componentCount, offsetSize(tagFile->rules, dataType));
    bool isWhole = true;
    for (std::size_t slot = 0; slot < offsets.count() && isWhole; ++slot) {
        isWhole = processSubIfd(offsets[slot], chainKind) ||
                  (tagFile->rules.damageStaysInside && mayNest());
    }
    if (isWhole) {
        tagFile->seekTo(position);
    }
    return isWhole;
}

bool TiffTag::processSubIfd(std::uint64_t offset, IFDtype_t_ chainKind) {
    const Wide position = Wide{offset} + tagFile->baseOffset();
    if (!tagFile->seekTo(position)) {
        warn<MessageId::badSubIfdSeek>(lowBits(position));
        return false;
    }
    if (!checkThatProposedNewSubIfdIsLegal()) {
        return false;
    }
    // All chains of a SubIFDs tag are shown, of the other pointers the first one.
    const bool isShown = tagId == kSubIfds || subIfds.empty();
    if (tagFile->report.isOn()) {
        tagFile->report.pointAt(tagId, tagName, chainCount);
    }
    OwnedValue records;
    if (tagFile->readChain(chainKind, isShown, records) != 0) {
        ++chainCount;
    }
    if (records) {
        subIfds.push_back(std::move(records));
    }
    return true;
}

bool TiffTag::mayNest() const {
    const bool mayPoint = ifdType == primaryIFD || ifdType == exifIFD;
    return mayPoint && tagFile->nestingDepth < TiffStream::kMaximumNesting;
}

bool TiffTag::checkThatProposedNewSubIfdIsLegal() const {
    if (mayNest()) {
        return true;
    }
    warn<MessageId::illegallyNestedIFD>(tagId, kindText(ifdType));
    return false;
}

}  // namespace ifdsweep::module
