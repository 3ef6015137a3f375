#include "dict/value_names.h"

namespace ifdsweep::module {

namespace {

// clang-format off
constexpr Row<const char*> compressionNames[] = {
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

constexpr Row<const char*> photometricInterpretationNames[] = {
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

constexpr Row<const char*> planarConfigurationNames[] = {
    {1, "Chunky"},
    {2, "Planar"},
};

// Tag 296.
constexpr Row<const char*> kResolutionUnitRows[] = {
    {1, "None"},
    {2, "Inch"},
    {3, "Centimeter"},
};

constexpr Row<const char*> predictorNames[] = {
    {1, "None"},
    {2, "Horizontal differencing"},
    {3, "Floating point differencing"},
};

constexpr Row<const char*> inkSetNames[] = {
    {1, "CMYK"},
    {2, "not CMYK"},
};

constexpr Row<const char*> jpegProcNames[] = {
    {1, "Baseline sequential process"},
    {14, "Lossless process with Huffman coding"},
};

constexpr Row<const char*> yCbCrPositioningNames[] = {
    {1, "Centered"},
    {2, "Co-sited"},
};

constexpr Row<const char*> exposureProgramNames[] = {
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

constexpr Row<const char*> meteringModeNames[] = {
    {0, "Unknown"},
    {1, "Average"},
    {2, "CenterWeightedAverage"},
    {3, "Spot"},
    {4, "Multispot"},
    {5, "Pattern"},
    {6, "Partial"},
    {255, "Other"},
};

constexpr Row<const char*> lightSourceNames[] = {
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

constexpr Row<const char*> colorSpaceNames[] = {
    {1, "sRGB"},
    {65535, "Uncalibrated"},
};

constexpr Row<const char*> sensingMethodNames[] = {
    {1, "Not defined"},
    {2, "One-chip color area sensor"},
    {3, "Two-chip color area sensor"},
    {4, "Three-chip color area sensor"},
    {5, "Color sequential area sensor"},
    {7, "Trilinear sensor"},
    {8, "Color sequential linear sensor"},
};

constexpr Row<const char*> fileSourceNames[] = {
    {3, "DSC"},
};

constexpr Row<const char*> sceneTypeNames[] = {
    {1, "A directly photographed image"},
};

constexpr Row<const char*> customRenderedNames[] = {
    {0, "Normal process"},
    {1, "Custom process"},
};

constexpr Row<const char*> exposureModeNames[] = {
    {0, "Auto exposure"},
    {1, "Manual exposure"},
    {2, "Auto bracket"},
};

constexpr Row<const char*> whiteBalanceNames[] = {
    {0, "Auto white balance"},
    {1, "Manual white balance"},
};

constexpr Row<const char*> sceneCaptureTypeNames[] = {
    {0, "Standard"},
    {1, "Landscape"},
    {2, "Portrait"},
    {3, "Night scene"},
};

constexpr Row<const char*> gainControlNames[] = {
    {0, "None"},
    {1, "Low gain up"},
    {2, "High gain up"},
    {3, "High gain down"},
};

constexpr Row<const char*> contrastNames[] = {
    {0, "Normal"},
    {1, "Soft"},
    {2, "Hard"},
};

constexpr Row<const char*> saturationNames[] = {
    {0, "Normal"},
    {1, "Low Saturation"},
    {2, "High Saturation"},
};

constexpr Row<const char*> sharpnessNames[] = {
    {0, "Normal"},
    {1, "Soft"},
    {2, "Hard"},
};

constexpr Row<const char*> subjectDistanceRangeNames[] = {
    {0, "unknown"},
    {1, "Macro"},
    {2, "Close view"},
};

// Tag 339: TIFF 6.0 section 19, and the complex types of its supplement.
constexpr Row<const char*> kSampleFormatRows[] = {
    {1, "Unsigned integer"},
    {2, "Two's complement signed integer"},
    {3, "IEEE floating point"},
    {4, "Undefined"},
    {5, "Complex integer"},
    {6, "Complex IEEE floating point"},
};

// ColorType by tag 262: TIFF 6.0 section 8, its supplements and DNG.
constexpr Row<const char*> kColorTypeRows[] = {
    {0, "grayscale"},
    {1, "grayscale"},
    {2, "truecolor"},
    {3, "indexed"},
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

// The tags that are shown by the name of their value.
constexpr Row<TextMap> kValueNameRows[] = {
    {259, kOrdered<compressionNames>},
    {262, kOrdered<photometricInterpretationNames>},
    {284, kOrdered<planarConfigurationNames>},
    {317, kOrdered<predictorNames>},
    {332, kOrdered<inkSetNames>},
    {512, kOrdered<jpegProcNames>},
    {531, kOrdered<yCbCrPositioningNames>},
    {34850, kOrdered<exposureProgramNames>},
    {37383, kOrdered<meteringModeNames>},
    {37384, kOrdered<lightSourceNames>},
    {40961, kOrdered<colorSpaceNames>},
    {41495, kOrdered<sensingMethodNames>},
    {41728, kOrdered<fileSourceNames>},
    {41729, kOrdered<sceneTypeNames>},
    {41985, kOrdered<customRenderedNames>},
    {41986, kOrdered<exposureModeNames>},
    {41987, kOrdered<whiteBalanceNames>},
    {41990, kOrdered<sceneCaptureTypeNames>},
    {41991, kOrdered<gainControlNames>},
    {41992, kOrdered<contrastNames>},
    {41993, kOrdered<saturationNames>},
    {41994, kOrdered<sharpnessNames>},
    {41996, kOrdered<subjectDistanceRangeNames>},
};
// clang-format on

constexpr OrderedMap<TextMap> kValueNames(kOrdered<kValueNameRows>);

constexpr Row<double> kGrayResponseUnitRows[] = {
    {1, 0.1}, {2, 0.01}, {3, 0.001}, {4, 0.0001}, {5, 0.00001},
};

}  // namespace

constinit const TextMap resolutionUnitNames(kOrdered<kResolutionUnitRows>);
constinit const TextMap sampleFormatNames(kOrdered<kSampleFormatRows>);
constinit const TextMap colorTypeNames(kOrdered<kColorTypeRows>);
constinit const OrderedMap<double> grayResponseUnits(kOrdered<kGrayResponseUnitRows>);

const TextMap* valueNames(std::uint16_t tagId) {
    return kValueNames.find(tagId);
}

}  // namespace ifdsweep::module
