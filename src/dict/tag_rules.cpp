#include "dict/tag_rules.h"

#include "adapter/messages.h"
#include "dict/data_types.h"
#include "dict/tag_names.h"

namespace ifdsweep::module {

namespace {

template <class... Types>
constexpr std::uint32_t types(Types... codes) {
    return ((std::uint32_t{1} << codes) | ...);
}

constexpr MessageId kOne = MessageId::expectedTagDataFormat;
constexpr MessageId kMany = MessageId::expectedTagDataFormatMultiple;

// clang-format off
constexpr FieldTypeRule kShortOrLong   {types(TIFF_SHORT, TIFF_LONG),               "TIFF_SHORT, TIFF_LONG",             kMany};
constexpr FieldTypeRule kShortToLong8  {types(TIFF_SHORT, TIFF_LONG, TIFF_LONG8),   "TIFF_SHORT, TIFF_LONG, TIFF_LONG8", kMany};
constexpr FieldTypeRule kPointer       {types(TIFF_LONG, TIFF_IFD, TIFF_IFD8),      "TIFF_IFD, TIFF_LONG, TIFF_IFD8",    kMany};
constexpr FieldTypeRule kByteOrShort   {types(TIFF_BYTE, TIFF_SHORT),               "TIFF_BYTE, TIFF_SHORT",             kMany};
constexpr FieldTypeRule kShort         {types(TIFF_SHORT),                          "TIFF_SHORT",                        kOne};
constexpr FieldTypeRule kLong          {types(TIFF_LONG),                           "TIFF_LONG",                         kOne};
constexpr FieldTypeRule kRational      {types(TIFF_RATIONAL),                       "TIFF_RATIONAL",                     kOne};
constexpr FieldTypeRule kAscii         {types(TIFF_ASCII),                          "TIFF_ASCII",                        kOne};
constexpr FieldTypeRule kByte          {types(TIFF_BYTE),                           "TIFF_BYTE",                         kOne};
constexpr FieldTypeRule kUndefined     {types(TIFF_UNDEFINED),                      "TIFF_UNDEFINED",                    kOne};

// TIFF 6.0 sections 8 to 22; LONG8 and IFD8 from BigTIFF.
constexpr Row<FieldTypeRule> kFieldTypeRows[] = {
    {254, kLong},
    {255, kShort},
    {256, kShortOrLong},
    {257, kShortOrLong},
    {258, kShort},
    {259, kShort},
    {262, kShort},
    {263, kShort},
    {266, kShort},
    {269, kAscii},
    {270, kAscii},
    {271, kAscii},
    {272, kAscii},
    {273, kShortToLong8},
    {274, kShort},
    {277, kShort},
    {278, kShortOrLong},
    {279, kShortToLong8},
    {280, kShort},
    {281, kShort},
    {282, kRational},
    {283, kRational},
    {284, kShort},
    {286, kRational},
    {287, kRational},
    {292, kLong},
    {293, kLong},
    {296, kShort},
    {297, kShort},
    {301, kShort},
    {305, kAscii},
    {306, kAscii},
    {315, kAscii},
    {316, kAscii},
    {317, kShort},
    {318, kRational},
    {319, kRational},
    {320, kShort},
    {321, kShort},
    {322, kShortOrLong},
    {323, kShortOrLong},
    {324, kShortToLong8},
    {325, kShortToLong8},
    {326, kShortOrLong},
    {327, kShort},
    {328, kShortOrLong},
    {330, kPointer},
    {332, kShort},
    {333, kAscii},
    {334, kShort},
    {336, kByteOrShort},
    {338, kShort},
    {339, kShort},
    {343, kByte},
    {347, kUndefined},
    {512, kShort},
    {513, kLong},
    {514, kLong},
    {515, kShort},
    {519, kLong},
    {520, kLong},
    {521, kLong},
    {529, kRational},
    {530, kShort},
    {531, kShort},
    {532, kRational},
    {700, kByte},
    {33432, kAscii},
};

// TIFF 6.0 section 8: these describe the layout of the image and hold one number each.
constexpr Row<std::uint64_t> kComponentCountRows[] = {
    {256, 1},
    {257, 1},
    {278, 1},
    {322, 1},
    {323, 1},
    {284, 1},
    {277, 1},
};
// clang-format on

constexpr OrderedMap<FieldTypeRule> kFieldTypeRules(kOrdered<kFieldTypeRows>);
constexpr OrderedMap<std::uint64_t> kComponentCountRules(kOrdered<kComponentCountRows>);

}  // namespace

void validate_tag_against_number_of_components(unsigned short id, unsigned long count) {
    const std::uint64_t* required = requiredComponentCount(id);
    if (required != nullptr && *required != count) {
        raise<MessageId::badTagDataCount>(id, search_map(&primaryMap, id), count, *required);
    }
}

const std::uint64_t* requiredComponentCount(std::uint16_t id) {
    return kComponentCountRules.find(id);
}

const FieldTypeRule* fieldTypeRule(std::uint16_t id) {
    return kFieldTypeRules.find(id);
}

}  // namespace ifdsweep::module
