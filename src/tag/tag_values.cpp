// Readable names of enumerated values, and the tags with a treatment of their own.

#include <string>

#include "adapter/messages.h"
#include "dict/number_conversion.h"
#include "dict/value_names.h"
#include "tag/special_tags.h"
#include "tag/tiff_tag.h"

namespace ifdsweep::module {

/// The tags with a treatment of their own, by id.
struct TiffTag::Decoders {
    // clang-format off
    static constexpr Row<void (TiffTag::*)()> kRows[] = {
        {270, &TiffTag::processImageDescription},
        {290, &TiffTag::processGrayResponseUnit},
        {296, &TiffTag::processResolutionUnit},
        {kXmp, &TiffTag::processXMP},
        {kIccProfile, &TiffTag::processICCProfile},
    };
    // clang-format on
    static constexpr OrderedMap<void (TiffTag::*)()> kById{kOrdered<kRows>};
};

void TiffTag::processSpecificTag() {
    if (componentCount == 0 && !isDefault) {
        return;
    }
    switch (ifdType) {
        case GPSIFD:
        case interopIFD:
            return;
        case primaryIFD:
        case exifIFD:
            break;
        default:
            raise<MessageId::unrecognizedIfdId>(static_cast<std::uint32_t>(ifdType));
    }
    if (const auto* decode = Decoders::kById.find(tagId)) {
        (this->**decode)();
    } else if (const TextMap* names = valueNames(tagId)) {
        nameValue(*names);
    }
}

// An unlisted value, or none at all, is "unknown".
void TiffTag::nameValue(const TextMap& names) {
    valueName =
        numericValues.empty() ? "unknown" : search_map(&names, toLowBits<16>(numericValues[0]));
}

// A unit that is stored as text keeps its text.
void TiffTag::processResolutionUnit() {
    if (stringValue.empty()) {
        nameValue(resolutionUnitNames);
    }
}

// The stored code becomes the factor that it stands for; other values stay as they are.
void TiffTag::processGrayResponseUnit() {
    if (numericValues.empty()) {
        return;
    }
    const double code = numericValues[0];
    const std::uint16_t key = toLowBits<16>(code);
    const double* factor = grayResponseUnits.find(key);
    if (factor == nullptr || static_cast<double>(key) != code) {
        return;
    }
    if (numericValues.size() == 1) {
        singleNumber = *factor;
        numericValues = NumericValues(std::span(&singleNumber, 1));
        return;
    }
    defaultNumbers.resize(numericValues.size());
    numericValues.copyTo(defaultNumbers.data());
    defaultNumbers[0] = *factor;
    numericValues = NumericValues(defaultNumbers);
}

// The last character is the stored terminator, and goes whatever it is.
void TiffTag::processImageDescription() {
    if (!stringValue.empty()) {
        stringValue.remove_suffix(1);
    }
}

// The packet is text, although it is stored as numbers.
void TiffTag::processXMP() {
    const std::span<const std::uint8_t> bytes = numericValues.asBytes();
    if (!bytes.empty()) {
        valueName = std::string_view(
            static_cast<const char*>(static_cast<const void*>(bytes.data())), bytes.size());
        return;
    }
    packet.reserve(numericValues.size());
    for (std::size_t i = 0; i < numericValues.size(); ++i) {
        packet.push_back(static_cast<char>(toLowBits<8>(numericValues[i])));
    }
    valueName = packet;
}

// The record says where the profile lies, not what it holds.
void TiffTag::processICCProfile() {
    singleNumber = static_cast<double>(dataOffset);
    numericValues = NumericValues(std::span(&singleNumber, 1));
}

}  // namespace ifdsweep::module
