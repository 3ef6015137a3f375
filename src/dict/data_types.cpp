#include "dict/data_types.h"

#include "adapter/messages.h"
#include "dict/ordered_map.h"

namespace ifdsweep::module {

namespace {

struct DataType {
    const char* name;
    std::uint32_t width;  ///< bytes
};

// clang-format off
// TIFF 6.0 section 2; 13 from the TIFF Technical Note 1; 16 to 18 from BigTIFF.
constexpr Row<DataType> kDataTypeRows[] = {
    {TIFF_NOTYPE,    {"TIFF_NOTYPE",    0}},
    {TIFF_BYTE,      {"TIFF_BYTE",      1}},
    {TIFF_ASCII,     {"TIFF_ASCII",     1}},
    {TIFF_SHORT,     {"TIFF_SHORT",     2}},
    {TIFF_LONG,      {"TIFF_LONG",      4}},
    {TIFF_RATIONAL,  {"TIFF_RATIONAL",  8}},
    {TIFF_SBYTE,     {"TIFF_SBYTE",     1}},
    {TIFF_UNDEFINED, {"TIFF_UNDEFINED", 1}},
    {TIFF_SSHORT,    {"TIFF_SSHORT",    2}},
    {TIFF_SLONG,     {"TIFF_SLONG",     4}},
    {TIFF_SRATIONAL, {"TIFF_SRATIONAL", 8}},
    {TIFF_FLOAT,     {"TIFF_FLOAT",     4}},
    {TIFF_DOUBLE,    {"TIFF_DOUBLE",    8}},
    {TIFF_IFD,       {"TIFF_IFD",       4}},
    {TIFF_LONG8,     {"TIFF_LONG8",     8}},
    {TIFF_SLONG8,    {"TIFF_SLONG8",    8}},
    {TIFF_IFD8,      {"TIFF_IFD8",      8}},
};
// clang-format on

constexpr OrderedMap<DataType> kTypes(kOrdered<kDataTypeRows>);

}  // namespace

std::uint32_t dataTypeWidth(std::uint32_t dataType) {
    const DataType* type =
        dataType > 0xFFFF ? nullptr : kTypes.find(static_cast<std::uint16_t>(dataType));
    return type == nullptr ? 0 : type->width;
}

const char* get_datatype_name(TIFFDataType dataType) {
    const auto code = static_cast<std::uint32_t>(dataType);
    const DataType* type = code > 0xFFFF ? nullptr : kTypes.find(static_cast<std::uint16_t>(code));
    if (type == nullptr) {
        raise<MessageId::unrecognizedTagFormatId>(code & 0xFFFFU);
    }
    return type->name;
}

}  // namespace ifdsweep::module
