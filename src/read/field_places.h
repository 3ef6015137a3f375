#pragma once

// Field places: in which directories a field that was asked for stands, as far as its name or its
// number tells. Constant once made; any thread.

#include <cstdint>
#include <vector>

#include "ifdsweep/tag_list.h"
#include "read/tag_choice.h"

namespace ifdsweep {

/// Where a field stands.
enum class FieldPlace : std::uint8_t {
    anyDirectory,
    exifDirectory,    ///< in the Exif directory, in TIFF/EP and DNG files in a primary one
    nestedDirectory,  ///< in a GPS or Interoperability directory alone
    directories,      ///< it holds directories itself
    unknownTags,      ///< it holds the tags that have no name
};

class FieldPlaces {
public:
    /// The place of a field.
    [[nodiscard]] FieldPlace of(const ChosenField& field) const;

private:
    std::vector<TagListing> listings = listTags();
};

}  // namespace ifdsweep
