#include "ifd/ifd.h"

#include <array>
#include <iterator>
#include <numeric>
#include <utility>

#include "adapter/messages.h"
#include "dict/tag_names.h"
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

bool IFD::process() {
    ifdOffset = tagFile->position();
    if (tagFile->freadNumDirectoryEntries(numEntries) != 1) {
        warn<MessageId::numberOfDirectoryEntriesReadError>(ifdOffset);
        return false;
    }
    if (numEntries == 0) {
        warn<MessageId::numDirectoryEntriesIsZero>(ifdOffset);
        return false;
    }
    const Wide size = Wide{numEntries} * tagFile->entrySize;
    entryBytes = lowBits(size);
    if (size > kMaximumApp1Bytes && tagFile->fileFormat == FileFormat::jpeg) {
        warn<MessageId::jpegApp1MaximumLengthExceeded>(numEntries);
        throw TiffTagsRecoverableError("IFD::process");
    }
    const std::span<const std::uint8_t> entries = tagFile->readEntries(size);
    if (entries.empty()) {
        // The number is the directory's own size so far, and one: always 1.
        raise<MessageId::badIFDread>("IFD #1");
    }
    processIfdTags(entries);
    return true;
}

void IFD::processIfdTags(std::span<const std::uint8_t> entries) {
    // There can be millions of directories: the room in which a list grows serves them all, and
    // each keeps a block of the right size.
    std::vector<KnownTag>& room = tagFile->tagBuffers[tagFile->nestingDepth];
    tags.swap(room);
    tags.clear();
    for (; !entries.empty(); entries = entries.subspan(tagFile->entrySize)) {
        try {
            TiffTag tag(tagFile, entries.data(), ifdType);
            if (!tag.isDropped()) {
                flagDefaultValues(tag);
                keep(tag);
            }
        } catch (const TiffTagsRecoverableError&) {
            // A directory that the entry leads to cannot be: the entry is dropped, and whoever
            // threw has warned.
        }
    }
    if (ifdType == primaryIFD && tagFile->fileFormat != FileFormat::jpeg) {
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

void IFD::keep(TiffTag& tag) {
    const std::uint16_t id = tag.getId();
    if (id == kImageWidth || id == kImageLength) {
        if (!tag.numericValues.empty()) {
            (id == kImageWidth ? width : height) = tag.getNumericValue(0);
        }
        return;
    }
    if (isPointerTag(id) && tag.subIfdSize() == 0) {
        return;
    }
    if (tag.nameRow != TextMap::kNotFound) {
        tags.push_back({static_cast<std::uint16_t>(tag.nameRow), tag.getQxArray()});
    } else {
        unknownTags.push_back({id, tag.dataOffset, tag.getQxArrayUnknown()});
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
