#include "ifd/ifd.h"

#include <array>
#include <iterator>
#include <numeric>
#include <utility>

#include "adapter/messages.h"
#include "dict/data_types.h"
#include "dict/tag_names.h"
#include "stream/raw2native.h"
#include "stream/tiff_stream.h"
#include "tag/special_tags.h"
#include "tag/tiff_tag.h"

namespace ifdsweep::module {

namespace {

/// A directory in a JPEG lies in one APP1 segment, which holds less than 64 KiB.
constexpr std::uint64_t kMaximumApp1Bytes = 65536;

/// Room for more tags than this is not kept: a directory that repeats its tags is rare.
constexpr std::size_t kMostRoom = 4 * kMaximumNames;

}  // namespace

IFD::Ending IFD::process() {
    ifdOffset = tagFile->position();
    if (tagFile->freadNumDirectoryEntries(numEntries) != 1) {
        tagFile->warn<MessageId::numberOfDirectoryEntriesReadError>(ifdOffset);
        return Ending::missing;
    }
    if (numEntries == 0) {
        tagFile->warn<MessageId::numDirectoryEntriesIsZero>(ifdOffset);
        return Ending::missing;
    }
    const Wide size = Wide{numEntries} * tagFile->entrySize;
    entryBytes = lowBits(size);
    const bool isInSegment = tagFile->fileFormat == FileFormat::jpeg && tagFile->carrier == nullptr;
    if (size > kMaximumApp1Bytes && isInSegment) {
        tagFile->warn<MessageId::jpegApp1MaximumLengthExceeded>(numEntries);
        return Ending::tooLarge;
    }
    const std::span<const std::uint8_t> entries = tagFile->readEntries(size);
    if (entries.empty()) {
        return Ending::unreadable;
    }
    if (tagFile->report.isOn()) {
        tagFile->report.directoryBegins(numEntries);
    }
    const bool isWhole = entries.size() == size;
    if (!isWhole) {
        tagFile->warn<ReadingMessageId::directoryCut>(
            ifdOffset, entries.size() / tagFile->entrySize, numEntries);
    }
    processIfdTags(entries);
    return isWhole ? Ending::whole : Ending::cut;
}

void IFD::processIfdTags(std::span<const std::uint8_t> entries) {
    // There can be millions of directories: the room in which a list grows serves them all, and
    // each keeps a block of the right size.
    std::vector<KnownTag>& room = tagFile->tagBuffers[tagFile->nestingDepth];
    tags.swap(room);
    tags.clear();
    const bool hasDefaults = ifdType == primaryIFD && tagFile->fileFormat != FileFormat::jpeg;
    // It is kept for them, whatever is asked for.
    hasMore = tagFile->filter != nullptr && hasDefaults;
    tagFile->report.standAtTable(entries.data(), ifdOffset + tagFile->entryCountSize);
    for (; !entries.empty(); entries = entries.subspan(tagFile->entrySize)) {
        try {
            processEntry(entries.data());
        } catch (const TiffTagsRecoverableError&) {
            // A directory that the entry leads to cannot be: the entry is dropped, and whoever
            // threw has warned.
        }
    }
    tagFile->report.standAtEntry(nullptr);
    if (hasDefaults) {
        processRequiredFields();
    }
    std::vector<KnownTag> exact(std::make_move_iterator(tags.begin()),
                                std::make_move_iterator(tags.end()));
    tags.swap(exact);
    if (exact.capacity() <= kMostRoom) {
        room.swap(exact);
    }
    bitDepth = std::accumulate(bitsPerSample.begin(), bitsPerSample.end(), 0.0);
    bitsPerSample = std::vector<double>();
}

void IFD::processEntry(const std::uint8_t* entry) {
    tagFile->report.standAtEntry(entry);
    const bool isWatched = tagFile->watched;
    if (isWatched && isPassedOver(entry)) {
        return;
    }
    TiffTag tag(tagFile, entry, ifdType);
    if (isWatched && tagFile->report.tellsEntries() && !tagFile->report.isTold()) {
        tag.tell(tag.isDropped() ? tagFile->report.lastWarning() : std::string_view());
    }
    if (!tag.isDropped()) {
        flagDefaultValues(tag);
        keep(tag);
    }
}

bool IFD::isAskedFor(std::uint16_t tag) const {
    return tagFile->filter == nullptr || tagFile->filter->asksFor(directoryKind(ifdType), tag);
}

// A pointer that was not asked for is followed all the same while nothing else shows whether the
// directory is kept.
bool IFD::isPassedOver(const std::uint8_t* entry) {
    const std::uint16_t tag = nativeItem<std::uint16_t>(entry, tagFile->needsByteSwap);
    if (isAskedFor(tag)) {
        return false;
    }
    if (const PointerTag* pointer = pointerTag(tag)) {
        return size() != 0 && !tagFile->filter->asksBelow(directoryKind(pointer->kind));
    }
    hasMore = hasMore || wouldBeKept(entry);
    return true;
}

// As the decoding of the entry would have it, as far as that does not read the value.
bool IFD::wouldBeKept(const std::uint8_t* entry) const {
    const std::uint16_t tag = nativeItem<std::uint16_t>(entry, tagFile->needsByteSwap);
    const std::uint16_t type = nativeItem<std::uint16_t>(entry + 2, tagFile->needsByteSwap);
    const std::uint32_t componentWidth = dataTypeWidth(type);
    const bool isShown = (tag != kImageWidth && tag != kImageLength) || tagFile->carrier != nullptr;
    const bool isNumberOrText = type != TIFF_IFD && type != TIFF_IFD8;
    if (componentWidth == 0 || !isShown || !(isNumberOrText || tag == kImageSourceData)) {
        return false;
    }
    const Wide size = Wide{tagFile->readTagNumComponents(entry)} * componentWidth;
    const Wide position = Wide{tagFile->readTagDataOffset(entry)} + tagFile->baseOffset();
    return size <= tagFile->offsetSize || position + size <= tagFile->fileStatus.fileSize;
}

// In a JPEG file a size alone keeps no directory; in other carriers nothing is left out.
void IFD::keep(TiffTag& tag) {
    const std::uint16_t id = tag.getId();
    if (id == kImageWidth || id == kImageLength) {
        if (!tag.numericValues.empty()) {
            (id == kImageWidth ? width : height) = tag.getNumericValue(0);
            hasMore = hasMore || tagFile->carrier != nullptr;
        }
        return;
    }
    if (isPointerTag(id) && !tag.leadsNowhere && tag.subIfdSize() == 0) {
        return;
    }
    if (tag.nameRow != TextMap::kNotFound) {
        tags.push_back({static_cast<std::uint16_t>(tag.nameRow), tag.getQxArray()});
    } else {
        unknownTags.push_back(
            {id, tag.dataOffset, tag.isTooLong ? OwnedValue() : tag.getQxArrayUnknown()});
    }
}

void IFD::ifd2struct(qxArray* records, std::size_t index) {
    const TextMap& names = dictionaryOf(ifdType);
    for (KnownTag& tag : tags) {
        setField(records, index, names.valueAt(tag.row), std::move(tag.value));
    }
    if (unknownTags.empty()) {
        return;
    }
    constexpr std::array<const char*, 3> kFields{"ID", "Offset", "Value"};
    OwnedValue unknown = makeRecords(unknownTags.size(), kFields.size(), kFields.data());
    for (std::size_t i = 0; i < unknownTags.size(); ++i) {
        unknownTags[i].setUnknownTagQx(unknown.get(), i);
    }
    setField(records, index, "UnknownTags", std::move(unknown));
}

void UnknownTag::setUnknownTagQx(qxArray* records, std::size_t index) {
    setField(records, index, "ID", makeDoubleScalar(tagId));
    setField(records, index, "Offset", makeDoubleScalar(static_cast<double>(dataOffset)));
    setField(records, index, "Value", std::move(value));
}

}  // namespace ifdsweep::module
