// Tags that point at further directories.

#include <algorithm>
#include <cstring>
#include <utility>

#include "adapter/messages.h"
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

/// The offsets that a pointer tag holds: one from each 4-byte slot that begins inside its data,
/// whatever the field type. A slot that reaches past the end is padded with zero bytes.
std::vector<std::uint32_t> readOffsets(std::span<const std::uint8_t> data, std::uint64_t count) {
    const std::size_t slots = (data.size() + 3) / 4;
    std::vector<std::uint32_t> offsets(std::min<std::uint64_t>(count, slots), 0);
    if (!offsets.empty()) {
        std::memcpy(offsets.data(), data.data(), std::min(data.size(), 4 * offsets.size()));
    }
    return offsets;
}

}  // namespace

bool TiffTag::processSubIfds(IFDtype_t_ chainKind) {
    const std::uint64_t position = tagFile->position();
    // Copied: nested tags use the same data buffer.
    for (const std::uint32_t offset : readOffsets(rawData, componentCount)) {
        if (!processSubIfd(offset, chainKind)) {
            return false;
        }
    }
    tagFile->seekTo(position);
    return true;
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
    if (OwnedValue records = tagFile->readChain(chainKind, isShown)) {
        subIfds.push_back(std::move(records));
    }
    return true;
}

bool TiffTag::checkThatProposedNewSubIfdIsLegal() const {
    const bool mayPoint = ifdType == primaryIFD || ifdType == exifIFD;
    if (mayPoint && tagFile->nestingDepth < TiffStream::kMaximumNesting) {
        return true;
    }
    warn<MessageId::illegallyNestedIFD>(tagId, kindText(ifdType));
    return false;
}

}  // namespace ifdsweep::module
