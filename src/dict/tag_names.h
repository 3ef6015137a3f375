#pragma once

// The dictionaries that name tags: the text is the name of the field in the record. Constants;
// any thread.

#include "dict/ifd_type.h"
#include "dict/ordered_map.h"

namespace ifdsweep::module {

/// Tags of the main chain, of SubIFDs and of Exif directories (TIFF 6.0, Exif 2.2, DNG, GeoTIFF).
extern const TextMap primaryMap;

/// Tags of GPS directories (Exif 2.2 table 12).
extern const TextMap GPSmap;

/// Tags of Interoperability directories (Exif 2.2 table 13).
extern const TextMap interopMap;

/// The most names that one dictionary holds.
inline constexpr std::size_t kMaximumNames = 272;

/// The dictionary of a directory kind; `interopMap` for any kind that is none of the four.
[[nodiscard]] const TextMap& dictionaryOf(IFDtype_t_ kind);

}  // namespace ifdsweep::module
