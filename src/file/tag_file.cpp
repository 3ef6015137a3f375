#include "file/tag_file.h"

#include <bit>
#include <utility>

#include "adapter/messages.h"
#include "dict/default_fields.h"

namespace ifdsweep::module {

TagFile::TagFile(std::u16string name, std::uint64_t streamOffset, std::uint64_t firstIndex,
                 std::uint64_t maximumCount, const Reading& reading)
    : TiffStream(std::move(name), maximumCount, reading),
      initialOffset(streamOffset),
      firstIfdIndex(firstIndex),
      primaryKind(static_cast<IFDtype_t_>(reading.kind)) {
    fileFormat = carrier != nullptr || isJpeg(filename) ? FileFormat::jpeg
                 : isClassicTiff(filename)              ? FileFormat::classicTiff
                                                        : FileFormat::bigTiff;
    setLayout(fileFormat);
    fileStatus = qxGetFileStatus(filename);
    if (!qxFileExists(filename)) {
        raise<MessageId::statFailure>();
    }
    determineArchitectureEndianness();
    file.reset(qxOpenFile(filename, "rb"));
    if (!file) {
        // The file went away since it was looked at.
        raise<MessageId::statFailure>();
    }
    setupDefaultFields();
}

TagFile::~TagFile() = default;

static_assert(std::endian::native == std::endian::little,
              "the host's byte order is taken for little-endian: build for such a machine");

void TagFile::determineArchitectureEndianness() {
    hostIsBigEndian = false;
    hostIsLittleEndian = true;
}

void TagFile::setupDefaultFields() {
    defaultFieldNames = kDefaultFieldNames;
}

void TagFile::readThroughTagFile() {
    if (initialOffset != 0) {
        moveForward(initialOffset);
    }
    try {
        readThroughTiffHeader();
        ifdTree = IFDTree(this, primaryKind);
        warnOfLongValues();
    } catch (const TiffTagsRecoverableError&) {
        if (ifdTree.size() == 0) {
            raise<MessageId::unableToReadTagData>();
        }
    }
}

OwnedValue TagFile::repackageIfds() {
    return ifdTree.size() == 0 ? makeEmptyDouble() : ifdTree.repackageIfds();
}

std::size_t TagFile::readChain(IFDtype_t_ kind, bool isShown, OwnedValue& records) {
    const NestingLevel level(*this);
    IFDTree tree(this, kind);
    if (isShown && tree.size() != 0) {
        records = tree.repackageIfds();
    }
    return tree.size();
}

}  // namespace ifdsweep::module
