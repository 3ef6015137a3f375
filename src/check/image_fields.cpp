#include "check/image_fields.h"

#include <algorithm>
#include <cstring>

namespace ifdsweep {
namespace {

// Bytes of a value by the code of its field type: of BYTE, SHORT, LONG, UNDEFINED, of which JPEG
// tables are made, and LONG8. The others hold no counts or positions.
constexpr std::array<std::uint8_t, 17> kWidths{0, 1, 0, 2, 4, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 8};

template <class Integer>
std::uint64_t itemAt(const std::uint8_t* place) {
    Integer item;
    std::memcpy(&item, place, sizeof item);
    return item;
}

std::size_t placeOf(std::uint16_t tag) {
    return static_cast<std::size_t>(std::find(kImageTags.begin(), kImageTags.end(), tag) -
                                    kImageTags.begin());
}

}  // namespace

void ImageField::take(const EntryFacts& entry) {
    there = true;
    leftInFile = !entry.isLoaded && entry.droppedBy.empty();
    storedCount = entry.count;
    entryPosition = entry.position;
    width = entry.isLoaded && entry.fieldType < kWidths.size() ? kWidths[entry.fieldType] : 0;
    bytes.clear();
    if (width != 0) {
        bytes.assign(entry.bytes.begin(), entry.bytes.end());
    }
}

std::uint64_t ImageField::operator[](std::size_t index) const noexcept {
    const std::uint8_t* place = bytes.data() + index * width;
    switch (width) {
        case 8:
            return itemAt<std::uint64_t>(place);
        case 4:
            return itemAt<std::uint32_t>(place);
        case 2:
            return itemAt<std::uint16_t>(place);
        default:
            return *place;
    }
}

void ImageFields::take(const EntryFacts& entry) {
    const std::size_t place = placeOf(entry.tag);
    if (place < fields.size() && !entry.isDefault) {
        fields[place].take(entry);
    }
}

const ImageField& ImageFields::operator[](ImageTag tag) const noexcept {
    return fields[placeOf(tag)];
}

std::optional<std::uint64_t> ImageFields::number(ImageTag tag, std::uint64_t absent) const {
    const ImageField& field = (*this)[tag];
    if (!field.isThere()) {
        return absent;
    }
    return field.size() == 0 ? std::nullopt : std::optional(field[0]);
}

bool isOldJpeg(const ImageFields& fields) {
    constexpr std::uint64_t kOldJpeg = 6;
    return fields.number(kCompressionTag, 0) == kOldJpeg;
}

}  // namespace ifdsweep
