#include "ifd/ifd_tree.h"

#include "adapter/messages.h"
#include "stream/tiff_stream.h"

namespace ifdsweep::module {

IFDTree::IFDTree(TiffStream* file, IFDtype_t_ kind) : tagFile(file), ifdType(kind) {
    processIfdSet();
}

void IFDTree::processIfdSet() {
    WalkReport::Chain chain(tagFile->report, directoryKind(ifdType));
    for (bool isFirst = tagFile->nestingDepth == 0;; isFirst = false) {
        const std::uint64_t start = tagFile->position();
        chain.comeTo(size(), start);
        // In its place at once, not on the stack: trees nest.
        IFD& ifd = ifds.emplace_back(tagFile, ifdType);
        const IFD::Ending ending = ifd.process();
        if (ending != IFD::Ending::whole && ending != IFD::Ending::cut) {
            ifds.pop_back();
            endWithout(ending, isFirst);
            return;
        }
        const Wide nextField = Wide{start} + tagFile->entryCountSize + ifd.entryBytes;
        chain.leave(ifd.size() != 0, lowBits(nextField));
        if (ifd.size() == 0) {
            ifds.pop_back();
        } else {
            addNames(ifd);
        }
        // Only primary chains and SubIFDs go on to a next directory.
        if (ending == IFD::Ending::cut || ifdType != primaryIFD) {
            return;
        }
        if (tagFile->maxIfdCount != 0 && tagFile->maxIfdCount == size()) {
            return;
        }
        if (!seekToNext(nextField)) {
            return;
        }
    }
}

/// Ends the chain at a directory that could not be read. In the first directory of all that is an
/// error whatever the rules.
void IFDTree::endWithout(IFD::Ending ending, bool isFirst) {
    if (ending == IFD::Ending::tooLarge) {
        if (isFirst || !tagFile->rules.segmentLimitEndsChain) {
            throw TiffTagsRecoverableError("IFD::process");
        }
    } else if (ending == IFD::Ending::unreadable) {
        // The number is the directory's own size so far, and one: always 1.
        constexpr const char* kName = "IFD #1";
        if (isFirst || !tagFile->rules.damageStaysInside) {
            raise<MessageId::badIFDread>(kName);
        }
        tagFile->warn<MessageId::badIFDread>(kName);
    }
}

/// Moves to the next directory; false at the end of the chain, and where it breaks off.
bool IFDTree::seekToNext(Wide nextField) {
    if (!tagFile->seekTo(nextField)) {
        tagFile->warn<MessageId::badNextIfdPointerSeek>();
        return false;
    }
    const std::uint64_t next = readNextIfdOffset();
    if (next == 0) {
        return false;
    }
    const Wide target = Wide{next} + tagFile->baseOffset();
    if (target >= tagFile->fileStatus.fileSize) {
        tagFile->warn<MessageId::nextIfdPointerOutOfRange>(lowBits(target));
        return false;
    }
    if (!tagFile->seekTo(target)) {
        tagFile->warn<MessageId::badNextIfdPointerSeek>();
        return false;
    }
    return true;
}

void IFDTree::addNames(const IFD& ifd) {
    for (const KnownTag& tag : ifd.tags) {
        tagNames.add(tag.row);
    }
    hasUnknownTags = hasUnknownTags || !ifd.unknownTags.empty();
    hasMore = hasMore || ifd.hasMore;
}

std::uint64_t IFDTree::readNextIfdOffset() {
    const std::uint64_t position = tagFile->position();
    std::uint64_t next = 0;
    if (tagFile->freadNextIfdOffset(next) != 1) {
        tagFile->warn<MessageId::nextIfdOffsetReadError>(position);
        return 0;
    }
    return next;
}

}  // namespace ifdsweep::module
