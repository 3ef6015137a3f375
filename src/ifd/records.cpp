// The record array of a chain.

#include <algorithm>
#include <array>

#include "adapter/messages.h"
#include "dict/default_fields.h"
#include "dict/tag_names.h"
#include "ifd/ifd_tree.h"
#include "stream/tiff_stream.h"

namespace ifdsweep::module {

namespace {

/// The records of a JPEG, or of another carrier, begin with the first fields of the default list
/// and lack the others.
constexpr std::size_t kJpegDefaultFields = 10;

const char* formatName(FileFormat format) {
    switch (format) {
        case FileFormat::jpeg:
            return "jpg";
        case FileFormat::classicTiff:
        case FileFormat::bigTiff:
            return "tif";
        default:
            return "other";
    }
}

/// The first four bytes of the header in file order.
OwnedValue formatSignature(const TiffStream& file) {
    OwnedValue row = makeNumericArray(1, 4, qxDOUBLE_CLASS);
    double* out = qxGetDoubles(row.get());
    out = std::copy(file.headerByteOrder.begin(), file.headerByteOrder.end(), out);
    std::copy(file.headerVersion.begin(), file.headerVersion.end(), out);
    return row;
}

}  // namespace

OwnedValue IFDTree::repackageIfds() {
    if (tagNames.empty() && !hasUnknownTags && !hasMore) {
        return makeEmptyDouble();
    }
    const std::vector<const char*> names = fieldNames();
    OwnedValue records = makeRecords(ifds.size(), names.size(), names.data());
    if (ifdType == primaryIFD) {
        setDefaultQxFields(records.get());
    }
    for (std::size_t i = 0; i < ifds.size(); ++i) {
        if (ifdType == primaryIFD) {
            setDerivedFields(records.get(), i);
        }
        ifds[i].ifd2struct(records.get(), i);
    }
    return records;
}

std::vector<const char*> IFDTree::fieldNames() const {
    std::vector<const char*> names;
    names.reserve(kDefaultFieldNames.size() + 32);
    if (ifdType == primaryIFD) {
        const auto fields = tagFile->fileFormat == FileFormat::jpeg
                                ? tagFile->defaultFieldNames.first(kJpegDefaultFields)
                                : tagFile->defaultFieldNames;
        names.assign(fields.begin(), fields.end());
    }
    const TextMap& dictionary = dictionaryOf(ifdType);
    tagNames.forEach([&](std::size_t row) {
        if (!tagAlreadyOnDefaultList(row)) {
            names.push_back(dictionary.valueAt(row));
        }
    });
    if (hasUnknownTags) {
        names.push_back("UnknownTags");
    }
    return names;
}

bool IFDTree::tagAlreadyOnDefaultList(std::size_t row) const {
    return ifdType == primaryIFD && tagFile->fileFormat != FileFormat::jpeg &&
           kDefaultFieldRows.contains(row);
}

void IFDTree::setDefaultQxFields(qxArray* records) {
    if (ifds.empty()) {
        return;
    }
    const std::string& date = tagFile->modificationDate();
    if (date.empty() && tagFile->nestingDepth == 0) {
        // Nested records are made while the file is read; the error waits until that is done.
        if (!tagFile->rules.damageStaysInside) {
            raise<MessageId::strftimeFailure>();
        }
        tagFile->warn<MessageId::strftimeFailure>();
    }
    const bool isJpeg = tagFile->fileFormat == FileFormat::jpeg;
    const char* format =
        tagFile->carrier != nullptr ? tagFile->carrier : formatName(tagFile->fileFormat);
    const bool isBigEndian = tagFile->headerByteOrder == std::array<std::uint8_t, 2>{'M', 'M'};
    const std::u16string& filename = tagFile->filename;
    for (std::size_t i = 0; i < ifds.size(); ++i) {
        setField(records, i, "Filename",
                 OwnedValue(qxCreateUString(filename.data(), filename.size())));
        setField(records, i, "FileModDate", makeString(date.c_str()));
        setField(records, i, "FileSize",
                 makeDoubleScalar(static_cast<double>(tagFile->fileStatus.fileSize)));
        setField(records, i, "Format", makeString(format));
        setField(records, i, "FormatSignature",
                 isJpeg ? makeEmptyDouble() : formatSignature(*tagFile));
        if (!isJpeg) {
            setField(records, i, "ByteOrder",
                     makeString(isBigEndian ? "big-endian" : "little-endian"));
        }
    }
}

void IFDTree::setDerivedFields(qxArray* records, std::size_t index) const {
    const IFD& ifd = ifds[index];
    setField(records, index, "Width", makeDoubleScalar(ifd.width));
    setField(records, index, "Height", makeDoubleScalar(ifd.height));
    ifd.setColorType(records, index);
    ifd.setBitDepth(records, index);
    if (tagFile->fileFormat != FileFormat::jpeg) {
        setField(records, index, "Offset", makeDoubleScalar(static_cast<double>(ifd.ifdOffset)));
    }
}

}  // namespace ifdsweep::module
