#pragma once

// Code tables: the words of codes that a record shows as they are stored. What a record names
// already has no table here. Constants; any thread.

#include "present/presenter.h"

namespace ifdsweep {

// clang-format off
// TIFF 6.0 page 36. No bit: the image itself.
inline constexpr CodeWords kNewSubFileTypeBits[]{
    {0, "full-resolution image"},
    {1, "reduced-resolution image"},
    {2, "page of a document"},
    {4, "transparency mask"},
};

// TIFF 6.0 page 40.
inline constexpr CodeWords kSubFileTypes[]{
    {1, "full-resolution image"},
    {2, "reduced-resolution image"},
    {3, "page of a document"},
};

// TIFF 6.0 page 36, Orientation: where row 0 and column 0 are. Exif 2.32, 4.6.4 A, has the same.
inline constexpr CodeWords kOrientations[]{
    {1, "top left"},
    {2, "top right"},
    {3, "bottom right"},
    {4, "bottom left"},
    {5, "left top"},
    {6, "right top"},
    {7, "right bottom"},
    {8, "left bottom"},
};

// TIFF 6.0 page 32.
inline constexpr CodeWords kFillOrders[]{
    {1, "high-order bits first"},
    {2, "low-order bits first"},
};

// TIFF 6.0 page 41.
inline constexpr CodeWords kThresholdings[]{
    {1, "none"},
    {2, "ordered dither or halftone"},
    {3, "random dither"},
};

// TIFF 6.0 page 31.
inline constexpr CodeWords kExtraSamples[]{
    {0, "unspecified"},
    {1, "associated alpha"},
    {2, "unassociated alpha"},
};

// TIFF 6.0 page 51.
inline constexpr CodeWords kT4Options[]{
    {0, "one-dimensional coding"},
    {1, "two-dimensional coding"},
    {2, "uncompressed mode"},
    {4, "fill bits before each EOL"},
};

// TIFF 6.0 page 52.
inline constexpr CodeWords kT6Options[]{
    {0, "no uncompressed mode"},
    {2, "uncompressed mode"},
};

// RFC 2306, section 3.6.
inline constexpr CodeWords kCleanFaxData[]{
    {0, "no bad lines"},
    {1, "bad lines regenerated"},
    {2, "bad lines left"},
};

// TIFF Technical Note 2 (1995), Indexed Images.
inline constexpr CodeWords kIndexed[]{
    {0, "not indexed"},
    {1, "indexed"},
};

// DNG 1.4, CFALayout.
inline constexpr CodeWords kCfaLayouts[]{
    {1, "rectangular"},
    {2, "even columns half a row down"},
    {3, "even columns half a row up"},
    {4, "even rows half a column right"},
    {5, "even rows half a column left"},
};

// DNG 1.4, MakerNoteSafety.
inline constexpr CodeWords kMakerNoteSafety[]{
    {0, "unsafe to copy"},
    {1, "safe to copy"},
};

// Exif 2.32 (CIPA DC-008-2019), 4.6.5, LightSource; of DNG's CalibrationIlluminant too.
inline constexpr CodeWords kLightSources[]{
    {0, "unknown"},
    {1, "daylight"},
    {2, "fluorescent"},
    {3, "tungsten"},
    {4, "flash"},
    {9, "fine weather"},
    {10, "cloudy weather"},
    {11, "shade"},
    {12, "daylight fluorescent"},
    {13, "day white fluorescent"},
    {14, "cool white fluorescent"},
    {15, "white fluorescent"},
    {16, "warm white fluorescent"},
    {17, "standard light A"},
    {18, "standard light B"},
    {19, "standard light C"},
    {20, "D55"},
    {21, "D65"},
    {22, "D75"},
    {23, "D50"},
    {24, "ISO studio tungsten"},
    {255, "other"},
};

// Exif 2.32, 4.6.5, ComponentsConfiguration.
inline constexpr CodeWords kComponents[]{
    {0, "-"},
    {1, "Y"},
    {2, "Cb"},
    {3, "Cr"},
    {4, "R"},
    {5, "G"},
    {6, "B"},
};

// Exif 2.32, 4.6.5, FocalPlaneResolutionUnit, which is as ResolutionUnit (TIFF 6.0 page 38).
inline constexpr CodeWords kResolutionUnits[]{
    {2, "inch"},
    {3, "cm"},
};

// The same by the names that records have for them.
inline constexpr TextWords kNamedResolutionUnits[]{
    {"Inch", "inch"},
    {"Centimeter", "cm"},
};

// Exif 2.32, 4.6.5, SensitivityType.
inline constexpr CodeWords kSensitivityTypes[]{
    {0, "unknown"},
    {1, "standard output sensitivity"},
    {2, "recommended exposure index"},
    {3, "ISO speed"},
    {4, "standard output sensitivity and recommended exposure index"},
    {5, "standard output sensitivity and ISO speed"},
    {6, "recommended exposure index and ISO speed"},
    {7, "standard output sensitivity, recommended exposure index and ISO speed"},
};

// Exif 2.32, 4.6.5, CompositeImage.
inline constexpr CodeWords kCompositeImages[]{
    {0, "unknown"},
    {1, "not composite"},
    {2, "composite"},
    {3, "composite made when shooting"},
};

// Exif 2.32, 4.6.5, DigitalZoomRatio and FocalLengthIn35mmFilm.
inline constexpr CodeWords kNoZoom[]{{0, "not used"}};
inline constexpr CodeWords kUnknownLength[]{{0, "unknown"}};

// Exif 2.32, 4.6.6, GPSAltitudeRef; 2 and 3 are of Exif 3.0 (CIPA DC-008-2023), for which 0 and 1 are
// heights above and below the ellipsoid: files of before say the level of the sea.
inline constexpr CodeWords kAltitudeReferences[]{
    {0, "above sea level"},
    {1, "below sea level"},
    {2, "above sea level"},
    {3, "below sea level"},
};

// What a height says of them.
inline constexpr CodeWords kBelowSeaLevel[]{
    {1, " below sea level"},
    {3, " below sea level"},
};

// Exif 2.32, 4.6.6, GPSDifferential.
inline constexpr CodeWords kDifferentials[]{
    {0, "without correction"},
    {1, "with correction"},
};

// Exif 2.32, 4.6.6, GPSLatitudeRef and GPSLongitudeRef.
inline constexpr TextWords kLatitudes[]{{"N", "N"}, {"S", "S"}};
inline constexpr TextWords kLongitudes[]{{"E", "E"}, {"W", "W"}};

// Exif 2.32, 4.6.6, GPSStatus.
inline constexpr TextWords kGpsStatus[]{
    {"A", "measuring"},
    {"V", "interrupted"},
};

// Exif 2.32, 4.6.6, GPSMeasureMode.
inline constexpr TextWords kGpsMeasureModes[]{
    {"2", "two-dimensional"},
    {"3", "three-dimensional"},
};

// Exif 2.32, 4.6.6, GPSSpeedRef.
inline constexpr TextWords kSpeedUnits[]{
    {"K", "km/h"},
    {"M", "mph"},
    {"N", "knots"},
};

// Exif 2.32, 4.6.6, GPSDestDistanceRef.
inline constexpr TextWords kDistanceUnits[]{
    {"K", "km"},
    {"M", "miles"},
    {"N", "nautical miles"},
};

// Exif 2.32, 4.6.6, GPSTrackRef, GPSImgDirectionRef and GPSDestBearingRef.
inline constexpr TextWords kDirections[]{
    {"T", "true"},
    {"M", "magnetic"},
};

// Exif 2.32, 4.6.7, and DCF 2.0 (CIPA DC-009-2010), InteroperabilityIndex.
inline constexpr TextWords kInteroperabilityIndexes[]{
    {"R98", "basic file"},
    {"THM", "thumbnail"},
    {"R03", "optional file"},
};
// clang-format on

}  // namespace ifdsweep
