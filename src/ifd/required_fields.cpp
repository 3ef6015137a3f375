// The fields that a directory must show, and those derived from its tags.

#include "dict/required_fields.h"

#include <algorithm>

#include "adapter/messages.h"
#include "dict/number_conversion.h"
#include "dict/value_names.h"
#include "ifd/ifd.h"
#include "stream/tiff_stream.h"
#include "tag/special_tags.h"
#include "tag/tiff_tag.h"

namespace ifdsweep::module {

namespace {

std::vector<double> copyOf(const NumericValues& numbers) {
    std::vector<double> copy(numbers.size());
    numbers.copyTo(copy.data());
    return copy;
}

}  // namespace

void IFD::flagDefaultValues(const TiffTag& tag) {
    const std::uint16_t id = tag.getId();
    if (const RequiredField* field = requiredField(id)) {
        requiredFieldFlags |= std::uint32_t{1} << (field - kRequiredFields.data());
    }
    switch (id) {
        case kBitsPerSample:
            bitsPerSample = copyOf(tag.numericValues);
            break;
        case kSamplesPerPixel:
            // One is right; of more, which are damage, the first counts.
            samplesPerPixel = std::min<std::size_t>(tag.numericValues.size(), 1);
            break;
        case kPhotometricInterpretation:
            if (!tag.numericValues.empty()) {
                photometric = toSigned32(tag.getNumericValue(0));
            }
            break;
        default:
            break;
    }
}

inline void IFD::keepDefault(TiffTag& tag) {
    if (tagFile->report.tellsEntries()) [[unlikely]] {
        tag.tellDefault(*tagFile);
    }
    keep(tag);
}

void IFD::processRequiredFields() {
    for (std::size_t row = 0; row < kRequiredFields.size(); ++row) {
        const RequiredField& field = kRequiredFields[row];
        const bool isThere = (requiredFieldFlags >> row & 1U) != 0;
        if (isThere || (tagFile->watched && !isAskedFor(field.id))) {
            continue;
        }
        // A field without a value is empty as it is.
        switch (field.kind) {
            case DefaultValue::empty:
                break;
            case DefaultValue::number: {
                TiffTag tag(field.id, ifdType);
                keepDefault(tag);
                break;
            }
            case DefaultValue::onePerSample: {
                bitsPerSample.insert(bitsPerSample.end(), samplesPerPixel, 1.0);
                TiffTag tag(int{field.id}, ifdType, samplesPerPixel);
                keepDefault(tag);
                break;
            }
            case DefaultValue::fromBits: {
                TiffTag tag(field.id, ifdType, bitsPerSample);
                keepDefault(tag);
                break;
            }
        }
    }
}

void IFD::setColorType(qxArray* records, std::size_t index) const {
    const bool inTable = photometric >= 0 && photometric <= 0xFFFF;
    const char* const* name =
        inTable ? colorTypeNames.find(static_cast<std::uint16_t>(photometric)) : nullptr;
    setField(records, index, "ColorType",
             name == nullptr ? makeDoubleScalar(photometric) : makeString(*name));
}

void IFD::setBitDepth(qxArray* records, std::size_t index) const {
    setField(records, index, "BitDepth", makeDoubleScalar(bitDepth));
}

}  // namespace ifdsweep::module
