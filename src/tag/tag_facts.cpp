// What the sink is told of an entry.

#include <span>

#include "dict/data_types.h"
#include "dict/number_conversion.h"
#include "dict/value_names.h"
#include "stream/tiff_stream.h"
#include "tag/special_tags.h"
#include "tag/tiff_tag.h"

namespace ifdsweep::module {

std::string_view TiffTag::readableName() const {
    if (tagId == kSampleFormat && numericValues.size() == 1) {
        return search_map(&sampleFormatNames, toLowBits<16>(numericValues[0]));
    }
    return tagId == kXmp ? std::string_view() : valueName;
}

void TiffTag::tell(std::string_view droppedBy) const {
    const std::uint8_t* entry = tagFile->report.entryBytes();
    const std::uint64_t position = tagFile->report.entryPosition();
    const std::uint64_t count = tagFile->readTagNumComponents(entry);
    const std::uint32_t width = dataTypeWidth(dataType);
    const bool isInline = width != 0 && Wide{count} * width <= tagFile->offsetSize;
    EntryFacts facts{};
    facts.tag = tagId;
    facts.name = tagName;
    facts.fieldType = static_cast<std::uint16_t>(dataType);
    facts.count = count;
    facts.position = position;
    if (width != 0) {
        facts.valuePosition = isInline ? position + tagFile->valueOffsetPosition
                                       : tagFile->readTagDataOffset(entry) + tagFile->baseOffset();
    }
    facts.isInline = isInline;
    facts.isLoaded = rawData.data() != nullptr;
    facts.bytes = rawData;
    facts.valueName = readableName();
    facts.droppedBy = droppedBy;
    tagFile->report.entry(facts);
}

void TiffTag::tellDefault(TiffStream& file) const {
    EntryFacts facts{};
    facts.tag = tagId;
    facts.name = tagName;
    facts.count = numericValues.size();
    facts.isDefault = true;
    facts.defaults = defaultNumbers.empty() ? std::span(&singleNumber, numericValues.size())
                                            : std::span<const double>(defaultNumbers);
    facts.valueName = readableName();
    file.report.entry(facts);
}

}  // namespace ifdsweep::module
