#include "write/field_roles.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace ifdsweep {
namespace {

constexpr std::array<std::string_view, 7> kFileFields{
    kFileNameField,  "FileModDate",     "FileSize", "Format",
    "FormatVersion", "FormatSignature", "ByteOrder"};

// Places and lengths of TIFF 6.0, of its JPEG section too, and that of a directory or an unknown
// tag itself; PageNumber counts the directories of a document, as their numbers do.
constexpr std::array<std::string_view, 13> kPlacementFields{
    "Offset",         "StripOffsets",          "StripByteCounts",
    "TileOffsets",    "TileByteCounts",        "FreeOffsets",
    "FreeByteCounts", "JPEGInterchangeFormat", "JPEGInterchangeFormatLength",
    "JPEGDCTables",   "JPEGACTables",          "ICCProfileOffset",
    "PageNumber",
};
static_assert(kPlacementFields.size() <= std::numeric_limits<PlacementSet>::digits);

}  // namespace

bool isFileField(std::string_view name) {
    return std::find(kFileFields.begin(), kFileFields.end(), name) != kFileFields.end();
}

PlacementSet placementOf(std::string_view name) {
    const auto* const row = std::find(kPlacementFields.begin(), kPlacementFields.end(), name);
    return row == kPlacementFields.end() ? 0 : PlacementSet{1} << (row - kPlacementFields.begin());
}

std::string placementNames(PlacementSet fields) {
    std::string names;
    for (std::size_t row = 0; row < kPlacementFields.size(); ++row) {
        if ((fields >> row & 1) != 0) {
            names.append(names.empty() ? "" : ", ").append(kPlacementFields[row]);
        }
    }
    return names;
}

}  // namespace ifdsweep
