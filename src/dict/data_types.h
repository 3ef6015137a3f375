#pragma once

// The field types of TIFF 6.0 and BigTIFF: their names and widths. Constants; any thread.

#include <cstdint>

#include <tiff.h>

namespace ifdsweep::module {

/// Width in bytes of one component of a type; 0 for a code that names no type.
[[nodiscard]] std::uint32_t dataTypeWidth(std::uint32_t dataType);

/// The name of a type, such as "TIFF_SHORT". A code without a name raises the error
/// `unrecognizedTagFormatId` with its low 16 bits.
[[nodiscard]] const char* get_datatype_name(TIFFDataType dataType);

}  // namespace ifdsweep::module
