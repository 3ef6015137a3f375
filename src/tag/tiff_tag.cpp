#include "tag/tiff_tag.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <string>

#include "adapter/messages.h"
#include "dict/data_types.h"
#include "dict/required_fields.h"
#include "dict/tag_names.h"
#include "dict/tag_rules.h"
#include "stream/raw2native.h"
#include "stream/tiff_stream.h"
#include "tag/special_tags.h"

namespace ifdsweep::module {

TiffTag::TiffTag(TiffStream* file, const std::uint8_t* entry, IFDtype_t_ kind)
    : tagFile(file), tagId(nativeItem<std::uint16_t>(entry, file->needsByteSwap)), ifdType(kind) {
    setTagName();
    dropped = !decode(entry);
}

bool TiffTag::decode(const std::uint8_t* entry) {
    dataType = nativeItem<std::uint16_t>(entry + 2, tagFile->needsByteSwap);
    const std::uint32_t width = dataTypeWidth(dataType);
    if (width == 0 && dataType != TIFF_NOTYPE) {
        warn<MessageId::unrecognizedTagFormatId>(dataType);
        return false;
    }
    if (dataType == TIFF_NOTYPE) {
        warn<MessageId::noTypeFormatId>(tagName);
        return false;
    }
    componentCount = tagFile->readTagNumComponents(entry);
    if (componentCount == 0) {
        warn<MessageId::zeroComponentCount>(tagName);
    }
    validateCount();
    return setTagDataOffset(entry, width) && processGenericTag();
}

TiffTag::TiffTag(unsigned short id, IFDtype_t_ kind) : tagId(id), isDefault(true), ifdType(kind) {
    setTagName();
    const RequiredField* field = requiredField(id);
    if (field == nullptr ||
        (field->kind != DefaultValue::number && field->kind != DefaultValue::empty)) {
        warn<MessageId::unrecognizedTagId>(id);
        throw TiffTagsRecoverableError("TIiffTag::TiffTag");
    }
    if (field->kind == DefaultValue::number) {
        singleNumber = field->number;
        numericValues = NumericValues(std::span(&singleNumber, 1));
    }
    processSpecificTag();
}

TiffTag::TiffTag(int id, IFDtype_t_ kind, unsigned long n)
    : tagId(static_cast<std::uint16_t>(id)),
      isDefault(true),
      ifdType(kind),
      defaultNumbers(n, 1.0) {
    setTagName();
    numericValues = NumericValues(defaultNumbers);
    processSpecificTag();
}

TiffTag::TiffTag(unsigned short id, IFDtype_t_ kind, std::vector<double> bits)
    : tagId(id), isDefault(true), ifdType(kind), defaultNumbers(std::move(bits)) {
    componentCount = defaultNumbers.size();
    for (double& number : defaultNumbers) {
        number = id == 280 ? 0.0 : std::exp2(number) - 1.0;
    }
    numericValues = NumericValues(defaultNumbers);
    setTagName();
    processSpecificTag();
}

void TiffTag::setTagName() {
    const TextMap& names = dictionaryOf(ifdType);
    nameRow = names.rowOf(tagId);
    tagName = nameRow == TextMap::kNotFound ? "" : names.valueAt(nameRow);
}

bool TiffTag::setTagDataOffset(const std::uint8_t* entry, std::uint32_t width) {
    // A rational is two 32-bit numbers, each in the file's byte order.
    const bool isPair = dataType == TIFF_RATIONAL || dataType == TIFF_SRATIONAL;
    const std::uint64_t itemSize = isPair ? width / 2 : width;
    const Wide itemCount = Wide{componentCount} * (isPair ? 2U : 1U);
    const Wide size = itemCount * itemSize;
    dataSize = lowBits(size);
    if (size > tagFile->offsetSize) {
        dataOffset = tagFile->readTagDataOffset(entry);
        const Wide position = Wide{dataOffset} + tagFile->baseOffset();
        if (dataSize > tagFile->longestValue && mayBeLong() &&
            position + size <= tagFile->fileStatus.fileSize) [[unlikely]] {
            leaveInFile(position);
            return true;
        }
        if (!tagFile->seekToData(position)) {
            warn<MessageId::badTagDataOffsetSeek>(tagId);
            return false;
        }
        if (position + size > tagFile->fileStatus.fileSize) {
            warn<MessageId::tagDataPastEOF>(tagId, dataSize);
            return false;
        }
        // From here on the size is at most the file's.
        rawData = tagFile->dataBuffer.take(dataSize);
        if (tagFile->read(rawData.data(), itemSize, lowBits(itemCount)) != itemCount) {
            rawData = {};
            warn<MessageId::unableToReadTiffTag>(label(), lowBits(position));
            return false;
        }
    } else {
        std::copy_n(entry + tagFile->valueOffsetPosition, dataSize, inlineData.begin());
        rawData = std::span(inlineData.data(), dataSize);
    }
    raw2native(rawData.data(), itemSize, lowBits(itemCount), tagFile->needsByteSwap);
    return true;
}

// What the derived fields are made of is read whatever its length, and so is the way on.
bool TiffTag::mayBeLong() const {
    const bool isShown =
        (dataType != TIFF_IFD && dataType != TIFF_IFD8) || tagId == kImageSourceData;
    return isShown && !isPointerTag(tagId) && tagId != kImageWidth && tagId != kImageLength &&
           tagId != kBitsPerSample && tagId != kPhotometricInterpretation &&
           tagId != kSamplesPerPixel;
}

void TiffTag::leaveInFile(Wide position) {
    isTooLong = true;
    if (isProfile()) {
        return;
    }
    std::string description;
    if (tagFile->describesLongValues()) {
        description = label() + " (" + std::to_string(componentCount) + " x " +
                      get_datatype_name(static_cast<TIFFDataType>(dataType)) + " at " +
                      std::to_string(lowBits(position)) + ')';
    }
    tagFile->countLongValue(description);
}

std::string TiffTag::label() const {
    return *tagName != '\0' ? tagName : std::to_string(tagId);
}

void TiffTag::validateCount() const {
    const std::uint64_t* required = requiredComponentCount(tagId);
    if (required == nullptr || *required == componentCount) {
        return;
    }
    if (!tagFile->rules.wrongCountWarns) {
        validate_tag_against_number_of_components(tagId, componentCount);
    }
    warn<MessageId::badTagDataCount>(tagId, search_map(&primaryMap, tagId), componentCount,
                                     *required);
}

void TiffTag::validateTag() const {
    const FieldTypeRule* rule = fieldTypeRule(tagId);
    if (rule == nullptr || rule->accepts(dataType)) {
        return;
    }
    const char* actual = get_datatype_name(static_cast<TIFFDataType>(dataType));
    if (rule->message == MessageId::expectedTagDataFormat) {
        warn<MessageId::expectedTagDataFormat>(tagName, actual, rule->expected);
    } else {
        warn<MessageId::expectedTagDataFormatMultiple>(tagName, actual, rule->expected);
    }
}

bool TiffTag::processGenericTag() {
    validateTag();
    if (const PointerTag* pointer = pointerTag(tagId)) {
        if (holdsOffsets()) {
            return processSubIfds(pointer->kind);
        }
        leadNowhere();
    }
    if (isTooLong) {
        if (isProfile()) {
            processSpecificTag();
        }
        return true;
    }
    if (!processNormalTagData()) {
        return false;
    }
    processSpecificTag();
    return true;
}

// Where a profile lies is all that a record says of it, and that is known without reading it.
bool TiffTag::isProfile() const {
    return tagId == kIccProfile && dataType != TIFF_ASCII &&
           (ifdType == primaryIFD || ifdType == exifIFD);
}

double TiffTag::getNumericValue(int /*index*/) const {
    assert(!numericValues.empty());
    return numericValues[0];
}

}  // namespace ifdsweep::module
