#include "dict/value_names.h"

namespace ifdsweep::module {

namespace {

// clang-format off
// Tag 259.
constexpr Row<const char*> kCompressionRows[] = {
    {1, "Uncompressed"},
    {2, "CCITT 1D"},
    {3, "Group 3 Fax"},
    {4, "Group 4 Fax"},
    {5, "LZW"},
    {6, "OJPEG"},
    {7, "JPEG"},
    {8, "Deflate"},
    {32766, "Next"},
    {32771, "CCITT RLEW"},
    {32773, "PackBits"},
    {32809, "ThunderScan RLE"},
    {32895, "IT8 CT with padding"},
    {32896, "IT8 Linework RLE"},
    {32897, "IT8 Monochrome Picture"},
    {32898, "IT8 Binary Line Art"},
    {32908, "Pixar companded 10bit LZW"},
    {32909, "Pixar companded 11bit ZIP"},
    {32946, "Deflate"},
    {32947, "DCS"},
    {34661, "ISO JBIG"},
    {34676, "SGI Log Luminance RLE"},
    {34677, "SGI Log 24-bit Packed"},
    {34712, "JPEG2000"},
};

// Tag 262.
constexpr Row<const char*> kPhotometricInterpretationRows[] = {
    {0, "WhiteIsZero"},
    {1, "BlackIsZero"},
    {2, "RGB"},
    {3, "RGB Palette"},
    {4, "Transparency Mask"},
    {5, "CMYK"},
    {6, "YCbCr"},
    {8, "CIELab"},
    {9, "ICCLab"},
    {10, "ITULab"},
    {32803, "CFA"},
    {32844, "LogL"},
    {32845, "LogLuv"},
    {34892, "LinearRaw"},
};

// Tag 284.
constexpr Row<const char*> kPlanarConfigurationRows[] = {
    {1, "Chunky"},
    {2, "Planar"},
};

// Tag 296.
constexpr Row<const char*> kResolutionUnitRows[] = {
    {1, "None"},
    {2, "Inch"},
    {3, "Centimeter"},
};

// Tag 317.
constexpr Row<const char*> kPredictorRows[] = {
    {1, "None"},
    {2, "Horizontal differencing"},
    {3, "Floating point differencing"},
};

// Tag 332.
constexpr Row<const char*> kInkSetRows[] = {
    {1, "CMYK"},
    {2, "not CMYK"},
};

// Tag 512.
constexpr Row<const char*> kJPEGProcRows[] = {
    {1, "Baseline sequential process"},
    {14, "Lossless process with Huffman coding"},
};

// Tag 531.
constexpr Row<const char*> kYCbCrPositioningRows[] = {
    {1, "Centered"},
    {2, "Co-sited"},
};

// Tag 34850.
constexpr Row<const char*> kExposureProgramRows[] = {
    {0, "Not defined"},
    {1, "Manual"},
    {2, "Normal program"},
    {3, "Aperture priority"},
    {4, "Shutter priority"},
    {5, "Creative program (biased toward depth of field)"},
    {6, "Action program (biased toward fast shutter speed)"},
    {7, "Portrait mode (for closeup photos with the background out of focus)"},
    {8, "Landscape mode (for landscape photos in the background in focus)"},
};

// Tag 37383.
constexpr Row<const char*> kMeteringModeRows[] = {
    {0, "Unknown"},
    {1, "Average"},
    {2, "CenterWeightedAverage"},
    {3, "Spot"},
    {4, "Multispot"},
    {5, "Pattern"},
    {6, "Partial"},
    {255, "Other"},
};

// Tag 37384.
constexpr Row<const char*> kLightSourceRows[] = {
    {0, "unknown"},
    {1, "Daylight"},
    {2, "Fluorescent"},
    {3, "Tungsten (incandescent light)"},
    {4, "Flash"},
    {9, "Fine weather"},
    {10, "Cloudy weather"},
    {11, "Shade"},
    {12, "Daylight fluorescent (D 5700 - 7100K)"},
    {13, "Daylight fluorescent (N 4600 - 5400K)"},
    {14, "Daylight fluorescent (W 3900 - 4500K)"},
    {15, "Daylight fluorescent (WW 3200 - 3700K)"},
    {17, "Standard light A"},
    {18, "Standard light B"},
    {19, "Standard light C"},
    {20, "D55"},
    {21, "D65"},
    {22, "D75"},
    {23, "D50"},
    {24, "ISO studio tungsten"},
    {255, "Other light source"},
};

// Tag 40961.
constexpr Row<const char*> kColorSpaceRows[] = {
    {1, "sRGB"},
    {65535, "Uncalibrated"},
};

// Tag 41495.
constexpr Row<const char*> kSensingMethodRows[] = {
    {1, "Not defined"},
    {2, "One-chip color area sensor"},
    {3, "Two-chip color area sensor"},
    {4, "Three-chip color area sensor"},
    {5, "Color sequential area sensor"},
    {7, "Trilinear sensor"},
    {8, "Color sequential linear sensor"},
};

// Tag 41728.
constexpr Row<const char*> kFileSourceRows[] = {
    {3, "DSC"},
};

// Tag 41729.
constexpr Row<const char*> kSceneTypeRows[] = {
    {1, "A directly photographed image"},
};

// Tag 41985.
constexpr Row<const char*> kCustomRenderedRows[] = {
    {0, "Normal process"},
    {1, "Custom process"},
};

// Tag 41986.
constexpr Row<const char*> kExposureModeRows[] = {
    {0, "Auto exposure"},
    {1, "Manual exposure"},
    {2, "Auto bracket"},
};

// Tag 41987.
constexpr Row<const char*> kWhiteBalanceRows[] = {
    {0, "Auto white balance"},
    {1, "Manual white balance"},
};

// Tag 41990.
constexpr Row<const char*> kSceneCaptureTypeRows[] = {
    {0, "Standard"},
    {1, "Landscape"},
    {2, "Portrait"},
    {3, "Night scene"},
};

// Tag 41991.
constexpr Row<const char*> kGainControlRows[] = {
    {0, "None"},
    {1, "Low gain up"},
    {2, "High gain up"},
    {3, "High gain down"},
};

// Tag 41992.
constexpr Row<const char*> kContrastRows[] = {
    {0, "Normal"},
    {1, "Soft"},
    {2, "Hard"},
};

// Tag 41993.
constexpr Row<const char*> kSaturationRows[] = {
    {0, "Normal"},
    {1, "Low Saturation"},
    {2, "High Saturation"},
};

// Tag 41994.
constexpr Row<const char*> kSharpnessRows[] = {
    {0, "Normal"},
    {1, "Soft"},
    {2, "Hard"},
};

// Tag 41996.
constexpr Row<const char*> kSubjectDistanceRangeRows[] = {
    {0, "unknown"},
    {1, "Macro"},
    {2, "Close view"},
};

// clang-format on

constexpr Row<double> kGrayResponseUnitRows[] = {
    {1, 0.1}, {2, 0.01}, {3, 0.001}, {4, 0.0001}, {5, 0.00001},
};

}  // namespace

constinit const TextMap compressionNames(kOrdered<kCompressionRows>);
constinit const TextMap photometricInterpretationNames(kOrdered<kPhotometricInterpretationRows>);
constinit const TextMap planarConfigurationNames(kOrdered<kPlanarConfigurationRows>);
constinit const TextMap resolutionUnitNames(kOrdered<kResolutionUnitRows>);
constinit const TextMap predictorNames(kOrdered<kPredictorRows>);
constinit const TextMap inkSetNames(kOrdered<kInkSetRows>);
constinit const TextMap jpegProcNames(kOrdered<kJPEGProcRows>);
constinit const TextMap yCbCrPositioningNames(kOrdered<kYCbCrPositioningRows>);
constinit const TextMap exposureProgramNames(kOrdered<kExposureProgramRows>);
constinit const TextMap meteringModeNames(kOrdered<kMeteringModeRows>);
constinit const TextMap lightSourceNames(kOrdered<kLightSourceRows>);
constinit const TextMap colorSpaceNames(kOrdered<kColorSpaceRows>);
constinit const TextMap sensingMethodNames(kOrdered<kSensingMethodRows>);
constinit const TextMap fileSourceNames(kOrdered<kFileSourceRows>);
constinit const TextMap sceneTypeNames(kOrdered<kSceneTypeRows>);
constinit const TextMap customRenderedNames(kOrdered<kCustomRenderedRows>);
constinit const TextMap exposureModeNames(kOrdered<kExposureModeRows>);
constinit const TextMap whiteBalanceNames(kOrdered<kWhiteBalanceRows>);
constinit const TextMap sceneCaptureTypeNames(kOrdered<kSceneCaptureTypeRows>);
constinit const TextMap gainControlNames(kOrdered<kGainControlRows>);
constinit const TextMap contrastNames(kOrdered<kContrastRows>);
constinit const TextMap saturationNames(kOrdered<kSaturationRows>);
constinit const TextMap sharpnessNames(kOrdered<kSharpnessRows>);
constinit const TextMap subjectDistanceRangeNames(kOrdered<kSubjectDistanceRangeRows>);
constinit const OrderedMap<double> grayResponseUnits(kOrdered<kGrayResponseUnitRows>);

}  // namespace ifdsweep::module
