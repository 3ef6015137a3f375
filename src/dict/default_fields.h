#pragma once

// The fields with which the records of primary directories begin. Constants; any thread.

#include <array>

#include "dict/row_set.h"

namespace ifdsweep::module {

/// Their names, in order: facts of the file, derived fields, and the baseline tags.
// clang-format off
inline constexpr std::array<const char*, 35> kDefaultFieldNames{
    "Filename",
    "FileModDate",
    "FileSize",
    "Format",
    "FormatVersion",
    "Width",
    "Height",
    "BitDepth",
    "ColorType",
    "FormatSignature",
    "ByteOrder",
    "NewSubFileType",
    "BitsPerSample",
    "Compression",
    "PhotometricInterpretation",
    "StripOffsets",
    "SamplesPerPixel",
    "RowsPerStrip",
    "StripByteCounts",
    "XResolution",
    "YResolution",
    "ResolutionUnit",
    "Colormap",
    "PlanarConfiguration",
    "TileWidth",
    "TileLength",
    "TileOffsets",
    "TileByteCounts",
    "Orientation",
    "FillOrder",
    "GrayResponseUnit",
    "MaxSampleValue",
    "MinSampleValue",
    "Thresholding",
    "Offset",
};
// clang-format on

/// The rows of `primaryMap` whose names are among them.
extern const RowSet kDefaultFieldRows;

}  // namespace ifdsweep::module
