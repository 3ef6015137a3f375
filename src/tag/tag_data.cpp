// The data of a tag by field type.

#include "adapter/messages.h"
#include "dict/data_types.h"
#include "stream/tiff_stream.h"
#include "tag/special_tags.h"
#include "tag/tiff_tag.h"

namespace ifdsweep::module {

bool TiffTag::processNormalTagData() {
    if (tagId == kImageSourceData) {
        byteData = rawData.first(componentCount);  // every type is at least a byte wide
        return true;
    }
    switch (dataType) {
        case TIFF_ASCII:
            stringValue = std::string_view(
                static_cast<const char*>(static_cast<const void*>(rawData.data())), rawData.size());
            break;
        case TIFF_BYTE:
        case TIFF_SHORT:
        case TIFF_LONG:
        case TIFF_SBYTE:
        case TIFF_UNDEFINED:
        case TIFF_SSHORT:
        case TIFF_SLONG:
        case TIFF_FLOAT:
        case TIFF_DOUBLE:
        case TIFF_LONG8:
            setNumbers(static_cast<TIFFDataType>(dataType));
            break;
        case TIFF_SLONG8:
            // By the contract, read as 32-bit numbers from the first half of the data, swapped as
            // 64-bit items.
            setNumbers(tagFile != nullptr && tagFile->rules.wholeIntegers ? TIFF_SLONG8
                                                                          : TIFF_SLONG);
            break;
        case TIFF_RATIONAL:
            processTiffTagRational();
            break;
        case TIFF_SRATIONAL:
            processTiffTagSRational();
            break;
        case TIFF_IFD:
        case TIFF_IFD8:
            warn<MessageId::unrecognizedIfd>(tagId);
            return false;
        case TIFF_NOTYPE:
            warn<MessageId::noTypeFormatId>(tagName);
            return false;
        default:
            raise<MessageId::unrecognizedTagFormatId>(dataType);
    }
    return true;
}

void TiffTag::setNumbers(TIFFDataType itemType) {
    numericValues = NumericValues(rawData.data(), componentCount, itemType);
}

void TiffTag::processTiffTagRational() {
    setNumbers(TIFF_RATIONAL);
    if (numericValues.zeroDenominators() != 0) {
        warn<MessageId::badTagValueDivisionByZero>(tagName);
    }
}

// Unlike an unsigned rational, a signed one warns once for every bad value.
void TiffTag::processTiffTagSRational() {
    setNumbers(TIFF_SRATIONAL);
    for (std::size_t zeros = numericValues.zeroDenominators(); zeros > 0; --zeros) {
        warn<MessageId::badTagValueDivisionByZero>(tagName);
    }
}

}  // namespace ifdsweep::module
