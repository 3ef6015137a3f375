#include "ifd/ifd_tree.h"

#include "adapter/messages.h"
#include "stream/tiff_stream.h"

namespace ifdsweep::module {

IFDTree::IFDTree(TiffStream* file, IFDtype_t_ kind) : tagFile(file), ifdType(kind) {
    processIfdSet();
}

void IFDTree::processIfdSet() {
    for (;;) {
        const std::uint64_t start = tagFile->position();
        // In its place at once, not on the stack: trees nest.
        IFD& ifd = ifds.emplace_back(tagFile, ifdType);
        if (!ifd.process()) {
            ifds.pop_back();
            return;
        }
        const Wide nextField = Wide{start} + tagFile->entryCountSize + ifd.entryBytes;
        if (ifd.size() == 0) {
            ifds.pop_back();
        } else {
            addNames(ifd);
        }
        // Only primary chains and SubIFDs go on to a next directory.
        if (ifdType != primaryIFD) {
            return;
        }
        if (tagFile->maxIfdCount != 0 && tagFile->maxIfdCount == size()) {
            return;
        }
        if (!tagFile->seekTo(nextField)) {
            warn<MessageId::badNextIfdPointerSeek>();
            return;
        }
        const std::uint64_t next = readNextIfdOffset();
        if (next == 0) {
            return;
        }
        const Wide target = Wide{next} + tagFile->baseOffset();
        if (target >= tagFile->fileStatus.fileSize) {
            warn<MessageId::nextIfdPointerOutOfRange>(lowBits(target));
            return;
        }
        if (!tagFile->seekTo(target)) {
            warn<MessageId::badNextIfdPointerSeek>();
            return;
        }
    }
}

void IFDTree::addNames(const IFD& ifd) {
    for (const KnownTag& tag : ifd.tags) {
        tagNames.add(tag.row);
    }
    hasUnknownTags = hasUnknownTags || !ifd.unknownTags.empty();
}

std::uint64_t IFDTree::readNextIfdOffset() {
    const std::uint64_t position = tagFile->position();
    std::uint64_t next = 0;
    if (tagFile->freadNextIfdOffset(next) != 1) {
        warn<MessageId::nextIfdOffsetReadError>(position);
        return 0;
    }
    return next;
}

}  // namespace ifdsweep::module
