#pragma once

// The readable names of enumerated tag values (TIFF 6.0, its supplements and Exif 2.2). Constants;
// any thread.

#include <cstdint>

#include "dict/ordered_map.h"

namespace ifdsweep::module {

/// The names of a tag's values, or null for a tag that is not shown by a name. Tags with a
/// treatment of their own have the maps below instead.
[[nodiscard]] const TextMap* valueNames(std::uint16_t tagId);

extern const TextMap resolutionUnitNames;  // tag 296
extern const TextMap sampleFormatNames;    // tag 339

/// What the field "ColorType" says, by the value of PhotometricInterpretation (tag 262).
extern const TextMap colorTypeNames;

/// Factors of GrayResponseUnit (tag 290) by its stored value.
extern const OrderedMap<double> grayResponseUnits;

}  // namespace ifdsweep::module
