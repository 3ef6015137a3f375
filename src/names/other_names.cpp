#include "names/other_names.h"

#include <array>

namespace ifdsweep {
namespace {

// clang-format off
/// TIFF 6.0 (254 to 320, 530), TIFF/EP (ISO 12234-2: 33723, 34675), Exif 2.32 and 3.0 (34665,
/// 34853 to 40965), DNG 1.4 (50734 to 50834).
constexpr std::array kOfStandards{
    OtherName{254,   "NewSubfileType",             "NewSubFileType"},
    OtherName{255,   "SubfileType",                "SubFileType"},
    OtherName{256,   "ImageWidth",                 "Width"},
    OtherName{257,   "ImageLength",                "Height"},
    OtherName{263,   "Threshholding",              "Thresholding"},
    OtherName{320,   "ColorMap",                   "Colormap"},
    OtherName{530,   "YCbCrSubSampling",           "YCbCrSubsampling"},
    OtherName{33723, "IPTC",                       "ITPC"},
    OtherName{34665, "ExifIFDPointer",             "DigitalCamera"},
    OtherName{34675, "InterColorProfile",          "ICCProfileOffset"},
    OtherName{34853, "GPSInfoIFDPointer",          "GPSInfo"},
    OtherName{34855, "PhotographicSensitivity",    "ISOSpeedRatings"},
    OtherName{37520, "SubSecTime",                 "SubsecTime"},
    OtherName{37521, "SubSecTimeOriginal",         "SubsecTimeOriginal"},
    OtherName{37522, "SubSecTimeDigitized",        "SubsecTimeDigitized"},
    OtherName{40962, "PixelXDimension",            "CPixelXDimension"},
    OtherName{40963, "PixelYDimension",            "CPixelYDimension"},
    OtherName{40965, "InteroperabilityIFDPointer", "InteroperabilityIFD"},
    OtherName{50734, "LinearResponseLimit",        "LinearResponseUnit"},
    OtherName{50781, "RawDataUniqueID",            "AliasLayerMetadata"},
    OtherName{50834, "CurrentPreProfileMatrix",    "CurrentICCProfileMatrix"},
};

/// libtiff: tiff.h, where they begin with TIFFTAG_, and what tiffinfo calls a field. SUBFILETYPE,
/// which is 254 there, is left to TIFF 6.0, whose SubfileType is 255.
constexpr std::array kOfLibtiff{
    OtherName{255,   "OldSubfileType",                "SubFileType"},
    OtherName{262,   "Photometric",                   "PhotometricInterpretation"},
    OtherName{284,   "PlanarConfig",                  "PlanarConfiguration"},
    OtherName{292,   "Group3Options",                 "T4Options"},
    OtherName{293,   "Group4Options",                 "T6Options"},
    OtherName{330,   "SubIFD",                        "SubIFDs"},
    OtherName{434,   "ImageBaseColor",                "DefaultImageColor"},
    OtherName{513,   "JPEGIFOffset",                  "JPEGInterchangeFormat"},
    OtherName{514,   "JPEGIFByteCount",               "JPEGInterchangeFormatLength"},
    OtherName{518,   "JPEGPointTransform",            "JPEGPointTransforms"},
    OtherName{700,   "XMLPacket",                     "XMP"},
    OtherName{33300, "PIXAR_IMAGEFULLWIDTH",          "PixarImageFullWidth"},
    OtherName{33301, "PIXAR_IMAGEFULLLENGTH",         "PixarImageFullLength"},
    OtherName{33302, "PIXAR_TEXTUREFORMAT",           "PixarTextureFormat"},
    OtherName{33303, "PIXAR_WRAPMODES",               "PixarWrapModes"},
    OtherName{33304, "PIXAR_FOVCOT",                  "PixarFovCot"},
    OtherName{33305, "PIXAR_MATRIX_WORLDTOSCREEN",    "PixarMatrixWorldToScreen"},
    OtherName{33723, "RichTIFFIPTC",                  "ITPC"},
    OtherName{34665, "ExifIFD",                       "DigitalCamera"},
    OtherName{34675, "ICCProfile",                    "ICCProfileOffset"},
    OtherName{34853, "GPSIFD",                        "GPSInfo"},
    OtherName{34908, "FaxRecvParams",                 "HylaFAXFaxRecvParams"},
    OtherName{34909, "FaxSubAddress",                 "HylaFAXFaxSubAddress"},
    OtherName{34910, "FaxRecvTime",                   "HylaFAXFaxRecvTime"},
    OtherName{34929, "FEDEX_EDR",                     "FedExEdr"},
    OtherName{50215, "OCE_SCANJOB_DESCRIPTION",       "OceScanjobDescription"},
    OtherName{50216, "OCE_APPLICATION_SELECTOR",      "OceApplicationSelector"},
    OtherName{50217, "OCE_IDENTIFICATION_NUMBER",     "OceIdentificationNumber"},
    OtherName{50218, "OCE_IMAGELOGIC_CHARACTERISTICS", "OceImageLogicCharacteristics"},
    OtherName{65535, "DCSHueShiftValues",             "DCSHuesShiftValues"},
};

/// ExifTool: what `exiftool -listx` names otherwise than its standard does. Its LensInfo (42034) is
/// left to DNG, whose LensInfo is 50736, and names that depend on the camera are left out.
constexpr std::array kOfExifTool{
    OtherName{1,     "InteropIndex",                "InteroperabilityIndex"},
    OtherName{2,     "InteropVersion",              "InteroperabilityVersion"},
    OtherName{257,   "ImageHeight",                 "Height"},
    OtherName{306,   "ModifyDate",                  "DateTime"},
    OtherName{513,   "ThumbnailOffset",             "JPEGInterchangeFormat"},
    OtherName{514,   "ThumbnailLength",             "JPEGInterchangeFormatLength"},
    OtherName{700,   "ApplicationNotes",            "XMP"},
    OtherName{4098,  "RelatedImageHeight",          "RelatedImageLength"},
    OtherName{32953, "ImageReferencePoints",        "RefPts"},
    OtherName{32954, "RegionXformTackPoint",        "RegionTackPoint"},
    OtherName{32955, "WarpQuadrilateral",           "RegionWarpCorners"},
    OtherName{32956, "AffineTransformMat",          "RegionAffine"},
    OtherName{33300, "ImageFullWidth",              "PixarImageFullWidth"},
    OtherName{33301, "ImageFullHeight",             "PixarImageFullLength"},
    OtherName{33302, "TextureFormat",               "PixarTextureFormat"},
    OtherName{33303, "WrapModes",                   "PixarWrapModes"},
    OtherName{33304, "FovCot",                      "PixarFovCot"},
    OtherName{33305, "MatrixWorldToScreen",         "PixarMatrixWorldToScreen"},
    OtherName{33405, "Model2",                      "WriterSerialNumber"},
    OtherName{33550, "PixelScale",                  "ModelPixelScaleTag"},
    OtherName{33918, "IntergraphPacketData",        "INGRPacketDataTag"},
    OtherName{33919, "IntergraphFlagRegisters",     "INGRFlagRegisters"},
    OtherName{33920, "IntergraphMatrix",            "IrasBTransformationMatrix"},
    OtherName{33922, "ModelTiePoint",               "ModelTiepointTag"},
    OtherName{34016, "Site",                        "IT8Site"},
    OtherName{34017, "ColorSequence",               "IT8ColorSequence"},
    OtherName{34019, "RasterPadding",               "IT8RasterPadding"},
    OtherName{34020, "BitsPerRunLength",            "IT8BitsPerRunLength"},
    OtherName{34021, "BitsPerExtendedRunLength",    "IT8BitsPerExtendedRunLength"},
    OtherName{34022, "ColorTable",                  "IT8ColorTable"},
    OtherName{34023, "ImageColorIndicator",         "IT8ImageColorIndicator"},
    OtherName{34024, "BackgroundColorIndicator",    "IT8BKGColorIndicator"},
    OtherName{34025, "ImageColorValue",             "IT8ImageColorValue"},
    OtherName{34026, "BackgroundColorValue",        "IT8BKGColorValue"},
    OtherName{34027, "PixelIntensityRange",         "IT8PixelIntensityRange"},
    OtherName{34028, "TransparencyIndicator",       "IT8TransparencyIndicator"},
    OtherName{34029, "ColorCharacterization",       "IT8ColorCharacterization"},
    OtherName{34030, "HCUsage",                     "IT8HCUsage"},
    OtherName{34031, "TrapIndicator",               "IT8TRapIndicator"},
    OtherName{34032, "CMYKEquivalent",              "IT8CMYKEquivalent"},
    OtherName{34232, "PixelMagicJBIGOptions",       "FrameCount"},
    OtherName{34264, "ModelTransform",              "ModelTransformationTag"},
    OtherName{34665, "ExifOffset",                  "DigitalCamera"},
    OtherName{34735, "GeoTiffDirectory",            "GeoKeyDirectoryTag"},
    OtherName{34736, "GeoTiffDoubleParams",         "GeoDoubleParamsTag"},
    OtherName{34737, "GeoTiffAsciiParams",          "GeoAsciiParamsTag"},
    OtherName{34855, "ISO",                         "ISOSpeedRatings"},
    OtherName{36868, "CreateDate",                  "DateTimeDigitized"},
    OtherName{37380, "ExposureCompensation",        "ExposureBiasValue"},
    OtherName{37888, "AmbientTemperature",          "Temperature"},
    OtherName{40962, "ExifImageWidth",              "CPixelXDimension"},
    OtherName{40963, "ExifImageHeight",             "CPixelYDimension"},
    OtherName{40965, "InteropOffset",               "InteroperabilityIFD"},
    OtherName{41989, "FocalLengthIn35mmFormat",     "FocalLengthIn35mmFilm"},
    OtherName{42032, "OwnerName",                   "CameraOwnerName"},
    OtherName{42033, "SerialNumber",                "BodySerialNumber"},
    OtherName{42081, "CompositeImageCount",         "SourceImageNumberOfCompositeImage"},
    OtherName{42082, "CompositeImageExposureTimes", "SourceExposureTimesOfCompositeImage"},
    OtherName{42112, "GDALMetadata",                "GDAL_METADATA"},
    OtherName{42113, "GDALNoData",                  "GDAL_NODATA"},
    OtherName{50215, "OceScanjobDesc",              "OceScanjobDescription"},
    OtherName{50217, "OceIDNumber",                 "OceIdentificationNumber"},
    OtherName{50218, "OceImageLogic",               "OceImageLogicCharacteristics"},
    OtherName{50736, "DNGLensInfo",                 "LensInfo"},
};

/// Exiv2: what its metadata reference names otherwise than the sources above.
constexpr std::array kOfExiv2{
    OtherName{33723, "IPTCNAA",             "ITPC"},
    OtherName{34377, "ImageResources",      "Photoshop"},
    OtherName{34665, "ExifTag",             "DigitalCamera"},
    OtherName{34853, "GPSTag",              "GPSInfo"},
    OtherName{40965, "InteroperabilityTag", "InteroperabilityIFD"},
};
// clang-format on

constexpr std::array<OtherNames, 4> kAll{{
    {"standards", kOfStandards},
    {"libtiff", kOfLibtiff},
    {"ExifTool", kOfExifTool},
    {"Exiv2", kOfExiv2},
}};

}  // namespace

std::span<const OtherNames> otherNames() {
    return kAll;
}

}  // namespace ifdsweep
