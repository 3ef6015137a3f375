#include <array>
#include <cstddef>
#include <iterator>

#include "columns/layout_tables.h"

namespace ifdsweep {
namespace {

/// A tag and what its column takes of it. A word has a column of its numbers too, a clock and a
/// zone one of what they come to.
struct TagRow {
    std::uint16_t tag;
    TagValue takes;
    ItemType item;          ///< of a word that of its numbers
    std::string_view name;  ///< as in records
    std::string_view meaning;
};

// clang-format off
constexpr TagRow kBaseline[] = {
    {254, TagValue::item, ItemType::int64, "NewSubFileType", "Bits that tell what the image is: 1 reduced, 2 a page, 4 a mask."},
    {255, TagValue::item, ItemType::int32, "SubFileType", "What the image is: 1 full resolution, 2 reduced, 3 a page."},
    {256, TagValue::item, ItemType::int64, "Width", "Columns of the image, in pixels."},
    {257, TagValue::item, ItemType::int64, "Height", "Rows of the image, in pixels."},
    {258, TagValue::items, ItemType::int32, "BitsPerSample", "Bits of each sample of a pixel."},
    {259, TagValue::word, ItemType::int32, "Compression", "How the image data is compressed."},
    {262, TagValue::word, ItemType::int32, "PhotometricInterpretation", "What the samples stand for."},
    {263, TagValue::item, ItemType::int32, "Thresholding", "How grey levels were made black and white: 1 not, 2 dithered, 3 random."},
    {264, TagValue::item, ItemType::int32, "CellWidth", "Columns of the dithering matrix."},
    {265, TagValue::item, ItemType::int32, "CellLength", "Rows of the dithering matrix."},
    {266, TagValue::item, ItemType::int32, "FillOrder", "Order of bits in a byte: 1 high first, 2 low first."},
    {269, TagValue::text, ItemType::utf8, "DocumentName", "Name of the document that was scanned."},
    {270, TagValue::text, ItemType::utf8, "ImageDescription", "What the image shows."},
    {271, TagValue::text, ItemType::utf8, "Make", "Who made the camera or scanner."},
    {272, TagValue::text, ItemType::utf8, "Model", "Model of the camera or scanner."},
    {273, TagValue::items, ItemType::int64, "StripOffsets", "Positions of the strips in the file."},
    {274, TagValue::item, ItemType::int32, "Orientation", "Which way up the image is: 1 to 8."},
    {277, TagValue::item, ItemType::int32, "SamplesPerPixel", "Samples of a pixel."},
    {278, TagValue::item, ItemType::int64, "RowsPerStrip", "Rows of a strip."},
    {279, TagValue::items, ItemType::int64, "StripByteCounts", "Bytes of the strips."},
    {280, TagValue::items, ItemType::float64, "MinSampleValue", "Least value of each sample."},
    {281, TagValue::items, ItemType::float64, "MaxSampleValue", "Greatest value of each sample."},
    {282, TagValue::item, ItemType::float64, "XResolution", "Pixels for each unit in a row."},
    {283, TagValue::item, ItemType::float64, "YResolution", "Pixels for each unit in a column."},
    {284, TagValue::word, ItemType::int32, "PlanarConfiguration", "Whether the samples of a pixel stand together."},
    {285, TagValue::text, ItemType::utf8, "PageName", "Name of the page that was scanned."},
    {286, TagValue::item, ItemType::float64, "XPosition", "Distance of the image from the left of the page, in units."},
    {287, TagValue::item, ItemType::float64, "YPosition", "Distance of the image from the top of the page, in units."},
    {290, TagValue::factor, ItemType::float64, "GrayResponseUnit", "What a one in the grey response curve stands for, such as 0.01."},
    {291, TagValue::items, ItemType::int32, "GrayResponseCurve", "Optical density of each grey level, in that unit."},
    {292, TagValue::item, ItemType::int64, "T4Options", "Bits of options of Group 3 coding."},
    {293, TagValue::item, ItemType::int64, "T6Options", "Bits of options of Group 4 coding."},
    {296, TagValue::word, ItemType::int32, "ResolutionUnit", "Unit of the resolutions."},
    {297, TagValue::items, ItemType::int32, "PageNumber", "Number of the page, and how many there are."},
    {301, TagValue::items, ItemType::int32, "TransferFunction", "Transfer function of each sample."},
    {305, TagValue::text, ItemType::utf8, "Software", "Program that wrote the file."},
    {306, TagValue::clock, ItemType::utf8, "DateTime", "When the file was last changed."},
    {315, TagValue::text, ItemType::utf8, "Artist", "Who made the image."},
    {316, TagValue::text, ItemType::utf8, "HostComputer", "Machine and system that wrote the file."},
    {317, TagValue::word, ItemType::int32, "Predictor", "What was done before compression."},
    {318, TagValue::items, ItemType::float64, "WhitePoint", "Chromaticity of the white point."},
    {319, TagValue::items, ItemType::float64, "PrimaryChromaticities", "Chromaticities of the primary colours."},
    {320, TagValue::items, ItemType::int32, "Colormap", "Colours of a palette image: all reds, greens, blues."},
    {321, TagValue::items, ItemType::int32, "HalftoneHints", "Lightest and darkest grey to be kept."},
    {322, TagValue::item, ItemType::int64, "TileWidth", "Columns of a tile."},
    {323, TagValue::item, ItemType::int64, "TileLength", "Rows of a tile."},
    {324, TagValue::items, ItemType::int64, "TileOffsets", "Positions of the tiles in the file."},
    {325, TagValue::items, ItemType::int64, "TileByteCounts", "Bytes of the tiles."},
    {330, TagValue::items, ItemType::int64, "SubIFDs", "Positions of the directories below this one."},
    {332, TagValue::word, ItemType::int32, "InkSet", "Inks of a separated image."},
    {333, TagValue::text, ItemType::utf8, "InkNames", "Names of the inks."},
    {334, TagValue::item, ItemType::int32, "NumberOfInks", "How many inks there are."},
    {336, TagValue::items, ItemType::int32, "DotRange", "Values that stand for 0 and 100 percent of each ink."},
    {337, TagValue::text, ItemType::utf8, "TargetPrinter", "Printer that the separation is for."},
    {338, TagValue::items, ItemType::int32, "ExtraSamples", "What each further sample is: 0 anything, 1 and 2 opacity."},
    {339, TagValue::items, ItemType::int32, "SampleFormat", "How each sample is to be read: 1 unsigned, 2 signed, 3 floating point."},
    {340, TagValue::items, ItemType::float64, "SMinSampleValue", "Least value of each sample."},
    {341, TagValue::items, ItemType::float64, "SMaxSampleValue", "Greatest value of each sample."},
    {342, TagValue::items, ItemType::int32, "TransferRange", "Range of the transfer function."},
    {512, TagValue::word, ItemType::int32, "JPEGProc", "Process of old-style JPEG data."},
    {513, TagValue::item, ItemType::int64, "JPEGInterchangeFormat", "Position of a JPEG stream, often a thumbnail."},
    {514, TagValue::item, ItemType::int64, "JPEGInterchangeFormatLength", "Bytes of that stream."},
    {529, TagValue::items, ItemType::float64, "YCbCrCoefficients", "Weights that make luminance of red, green and blue."},
    {530, TagValue::items, ItemType::int32, "YCbCrSubsampling", "How often colour is sampled, across and down."},
    {531, TagValue::word, ItemType::int32, "YCbCrPositioning", "Where colour is sampled."},
    {532, TagValue::items, ItemType::float64, "ReferenceBlackWhite", "Black and white of each sample."},
    {33432, TagValue::text, ItemType::utf8, "Copyright", "Who holds the rights."},
};

constexpr TagRow kGeographic[] = {
    {33550, TagValue::items, ItemType::float64, "ModelPixelScaleTag", "Size of a pixel in the model: x, y, z."},
    {33922, TagValue::items, ItemType::float64, "ModelTiepointTag", "Points of the image and of the model, six numbers each."},
    {34264, TagValue::items, ItemType::float64, "ModelTransformationTag", "Matrix from the image to the model, 16 numbers."},
    {34735, TagValue::items, ItemType::int32, "GeoKeyDirectoryTag", "Keys of the coordinate system, four numbers each."},
    {34736, TagValue::items, ItemType::float64, "GeoDoubleParamsTag", "Numbers that the keys refer to."},
    {34737, TagValue::text, ItemType::utf8, "GeoAsciiParamsTag", "Texts that the keys refer to."},
    {42112, TagValue::text, ItemType::utf8, "GDAL_METADATA", "Metadata of GDAL, in XML."},
    {42113, TagValue::text, ItemType::utf8, "GDAL_NODATA", "Value that stands for no data."},
};

constexpr TagRow kCommon[] = {
    {18246, TagValue::item, ItemType::int32, "Rating", "Stars that somebody gave, 0 to 5."},
    {18249, TagValue::item, ItemType::int32, "RatingPercent", "The same in percent."},
    {32997, TagValue::item, ItemType::int64, "ImageDepth", "Slices of a volume."},
    {32998, TagValue::item, ItemType::int64, "TileDepth", "Slices of a tile."},
    {34232, TagValue::item, ItemType::int64, "FrameCount", "Frames of the image."},
    {40091, TagValue::wideText, ItemType::utf8, "XPTitle", "Title."},
    {40092, TagValue::wideText, ItemType::utf8, "XPComment", "Comment."},
    {40093, TagValue::wideText, ItemType::utf8, "XPAuthor", "Authors."},
    {40094, TagValue::wideText, ItemType::utf8, "XPKeywords", "Keywords."},
    {40095, TagValue::wideText, ItemType::utf8, "XPSubject", "Subject."},
};

constexpr TagRow kRaw[] = {
    {50706, TagValue::items, ItemType::int32, "DNGVersion", "Version of the format, four numbers."},
    {50707, TagValue::items, ItemType::int32, "DNGBackwardVersion", "Oldest version that a reader must know."},
    {50708, TagValue::text, ItemType::utf8, "UniqueCameraModel", "Name of the camera model, the same in all countries."},
    {50735, TagValue::text, ItemType::utf8, "CameraSerialNumber", "Serial number of the camera."},
    {50736, TagValue::items, ItemType::float64, "LensInfo", "Least and greatest focal length in millimetres, and f-numbers there."},
    {50827, TagValue::text, ItemType::utf8, "OriginalRawFileName", "Name of the raw file that this one was made of."},
};

constexpr TagRow kExif[] = {
    {33434, TagValue::item, ItemType::float64, "ExposureTime", "Exposure time, in seconds."},
    {33437, TagValue::item, ItemType::float64, "FNumber", "F-number."},
    {34850, TagValue::word, ItemType::int32, "ExposureProgram", "What set the exposure."},
    {34852, TagValue::text, ItemType::utf8, "SpectralSensitivity", "Spectral sensitivity of each channel."},
    {34855, TagValue::items, ItemType::int32, "ISOSpeedRatings", "Sensitivity by ISO 12232."},
    {34864, TagValue::item, ItemType::int32, "SensitivityType", "Which sensitivities are meant."},
    {34865, TagValue::item, ItemType::int64, "StandardOutputSensitivity", "Standard output sensitivity."},
    {34866, TagValue::item, ItemType::int64, "RecommendedExposureIndex", "Recommended exposure index."},
    {34867, TagValue::item, ItemType::int64, "ISOSpeed", "ISO speed."},
    {34868, TagValue::item, ItemType::int64, "ISOSpeedLatitudeyyy", "ISO speed latitude yyy."},
    {34869, TagValue::item, ItemType::int64, "ISOSpeedLatitudezzz", "ISO speed latitude zzz."},
    {36864, TagValue::text, ItemType::utf8, "ExifVersion", "Version of Exif, such as 0232."},
    {36867, TagValue::clock, ItemType::utf8, "DateTimeOriginal", "When the picture was taken."},
    {36868, TagValue::clock, ItemType::utf8, "DateTimeDigitized", "When it was made digital."},
    {36880, TagValue::minutes, ItemType::utf8, "OffsetTime", "Zone of DateTime."},
    {36881, TagValue::minutes, ItemType::utf8, "OffsetTimeOriginal", "Zone of DateTimeOriginal."},
    {36882, TagValue::minutes, ItemType::utf8, "OffsetTimeDigitized", "Zone of DateTimeDigitized."},
    {37122, TagValue::item, ItemType::float64, "CompressedBitsPerPixel", "Bits that a pixel takes."},
    {37377, TagValue::item, ItemType::float64, "ShutterSpeedValue", "Shutter speed, by APEX."},
    {37378, TagValue::item, ItemType::float64, "ApertureValue", "Aperture, by APEX."},
    {37379, TagValue::item, ItemType::float64, "BrightnessValue", "Brightness, by APEX."},
    {37380, TagValue::item, ItemType::float64, "ExposureBiasValue", "Exposure compensation, in steps."},
    {37381, TagValue::item, ItemType::float64, "MaxApertureValue", "Least f-number of the lens, by APEX."},
    {37382, TagValue::item, ItemType::float64, "SubjectDistance", "Distance of the subject, in metres."},
    {37383, TagValue::word, ItemType::int32, "MeteringMode", "How light was metered."},
    {37384, TagValue::word, ItemType::int32, "LightSource", "Kind of light."},
    {37385, TagValue::item, ItemType::int32, "Flash", "Bits that tell whether and how the flash fired."},
    {37386, TagValue::item, ItemType::float64, "FocalLength", "Focal length, in millimetres."},
    {37396, TagValue::items, ItemType::int32, "SubjectArea", "Where the subject is: a point, a circle or a rectangle, in pixels."},
    {37510, TagValue::codedText, ItemType::utf8, "UserComment", "Comment."},
    {37520, TagValue::text, ItemType::utf8, "SubsecTime", "Digits after the second of DateTime."},
    {37521, TagValue::text, ItemType::utf8, "SubsecTimeOriginal", "Digits after the second of DateTimeOriginal."},
    {37522, TagValue::text, ItemType::utf8, "SubsecTimeDigitized", "Digits after the second of DateTimeDigitized."},
    {37888, TagValue::item, ItemType::float64, "Temperature", "Temperature, in degrees Celsius."},
    {37889, TagValue::item, ItemType::float64, "Humidity", "Humidity, in percent."},
    {37890, TagValue::item, ItemType::float64, "Pressure", "Pressure, in hectopascals."},
    {37891, TagValue::item, ItemType::float64, "WaterDepth", "Depth under water, in metres."},
    {37892, TagValue::item, ItemType::float64, "Acceleration", "Acceleration, in milligals."},
    {37893, TagValue::item, ItemType::float64, "CameraElevationAngle", "Angle of the camera to the horizon, in degrees."},
    {40960, TagValue::text, ItemType::utf8, "FlashpixVersion", "Version of Flashpix, such as 0100."},
    {40961, TagValue::word, ItemType::int32, "ColorSpace", "Colour space."},
    {40962, TagValue::item, ItemType::int64, "CPixelXDimension", "Columns of the picture, in pixels."},
    {40963, TagValue::item, ItemType::int64, "CPixelYDimension", "Rows of the picture, in pixels."},
    {40964, TagValue::text, ItemType::utf8, "RelatedSoundFile", "Name of a sound file."},
    {41483, TagValue::item, ItemType::float64, "FlashEnergy", "Energy of the flash, in beam candle power seconds."},
    {41486, TagValue::item, ItemType::float64, "FocalPlaneXResolution", "Pixels for each unit of the sensor, in a row."},
    {41487, TagValue::item, ItemType::float64, "FocalPlaneYResolution", "The same in a column."},
    {41488, TagValue::item, ItemType::int32, "FocalPlaneResolutionUnit", "Unit of these: 1 none, 2 inch, 3 centimetre."},
    {41492, TagValue::items, ItemType::int32, "SubjectLocation", "Where the subject is: column and row, in pixels."},
    {41493, TagValue::item, ItemType::float64, "ExposureIndex", "Exposure index that was set."},
    {41495, TagValue::word, ItemType::int32, "SensingMethod", "Kind of sensor."},
    {41728, TagValue::word, ItemType::int32, "FileSource", "Where the picture is from."},
    {41729, TagValue::word, ItemType::int32, "SceneType", "Whether the picture was taken directly."},
    {41985, TagValue::word, ItemType::int32, "CustomRendered", "Whether it was specially processed."},
    {41986, TagValue::word, ItemType::int32, "ExposureMode", "How the exposure was set."},
    {41987, TagValue::word, ItemType::int32, "WhiteBalance", "How the white balance was set."},
    {41988, TagValue::item, ItemType::float64, "DigitalZoomRatio", "Digital zoom; 0 where none was used."},
    {41989, TagValue::item, ItemType::int32, "FocalLengthIn35mmFilm", "Focal length on 35 mm film, in millimetres."},
    {41990, TagValue::word, ItemType::int32, "SceneCaptureType", "Kind of scene."},
    {41991, TagValue::word, ItemType::int32, "GainControl", "Gain."},
    {41992, TagValue::word, ItemType::int32, "Contrast", "Contrast."},
    {41993, TagValue::word, ItemType::int32, "Saturation", "Saturation."},
    {41994, TagValue::word, ItemType::int32, "Sharpness", "Sharpness."},
    {41996, TagValue::word, ItemType::int32, "SubjectDistanceRange", "How far the subject is."},
    {42016, TagValue::text, ItemType::utf8, "ImageUniqueID", "Number of the picture, in 32 hexadecimal digits."},
    {42032, TagValue::text, ItemType::utf8, "CameraOwnerName", "Owner of the camera."},
    {42033, TagValue::text, ItemType::utf8, "BodySerialNumber", "Serial number of the camera."},
    {42034, TagValue::items, ItemType::float64, "LensSpecification", "Least and greatest focal length in millimetres, and f-numbers there."},
    {42035, TagValue::text, ItemType::utf8, "LensMake", "Who made the lens."},
    {42036, TagValue::text, ItemType::utf8, "LensModel", "Model of the lens."},
    {42037, TagValue::text, ItemType::utf8, "LensSerialNumber", "Serial number of the lens."},
    {42038, TagValue::text, ItemType::utf8, "ImageTitle", "Title."},
    {42039, TagValue::text, ItemType::utf8, "Photographer", "Who took the picture."},
    {42040, TagValue::text, ItemType::utf8, "ImageEditor", "Who edited it."},
    {42041, TagValue::text, ItemType::utf8, "CameraFirmware", "Firmware of the camera."},
    {42042, TagValue::text, ItemType::utf8, "RAWDevelopingSoftware", "Program that developed the raw data."},
    {42043, TagValue::text, ItemType::utf8, "ImageEditingSoftware", "Program that it was edited with."},
    {42044, TagValue::text, ItemType::utf8, "MetadataEditingSoftware", "Program that its metadata was edited with."},
    {42080, TagValue::item, ItemType::int32, "CompositeImage", "Whether it is made of several: 0 unknown, 1 no, 2 and 3 yes."},
    {42240, TagValue::item, ItemType::float64, "Gamma", "Gamma coefficient."},
};

constexpr TagRow kPosition[] = {
    {0, TagValue::items, ItemType::int32, "GPSVersionID", "Version of the GPS data, four numbers."},
    {1, TagValue::text, ItemType::utf8, "GPSLatitudeRef", "N or S."},
    {2, TagValue::items, ItemType::float64, "GPSLatitude", "Latitude: degrees, minutes, seconds."},
    {3, TagValue::text, ItemType::utf8, "GPSLongitudeRef", "E or W."},
    {4, TagValue::items, ItemType::float64, "GPSLongitude", "Longitude: degrees, minutes, seconds."},
    {5, TagValue::item, ItemType::int32, "GPSAltitudeRef", "What the altitude is above: 0 sea level, 1 it is below."},
    {6, TagValue::item, ItemType::float64, "GPSAltitude", "Altitude, in metres, without a sign."},
    {7, TagValue::items, ItemType::float64, "GPSTimeStamp", "Time in UTC: hours, minutes, seconds."},
    {8, TagValue::text, ItemType::utf8, "GPSSatellites", "Satellites that were used."},
    {9, TagValue::text, ItemType::utf8, "GPSStatus", "A while measuring, V else."},
    {10, TagValue::text, ItemType::utf8, "GPSMeasureMode", "2 or 3 dimensions."},
    {11, TagValue::item, ItemType::float64, "GPSDOP", "Dilution of precision."},
    {12, TagValue::text, ItemType::utf8, "GPSSpeedRef", "Unit of the speed: K, M or N."},
    {13, TagValue::item, ItemType::float64, "GPSSpeed", "Speed of the receiver."},
    {14, TagValue::text, ItemType::utf8, "GPSTrackRef", "North of the direction of movement: T or M."},
    {15, TagValue::item, ItemType::float64, "GPSTrack", "Direction of movement, in degrees."},
    {16, TagValue::text, ItemType::utf8, "GPSImgDirectionRef", "North of the direction of the picture: T or M."},
    {17, TagValue::item, ItemType::float64, "GPSImgDirection", "Direction of the picture, in degrees."},
    {18, TagValue::text, ItemType::utf8, "GPSMapDatum", "Geodetic survey data."},
    {19, TagValue::text, ItemType::utf8, "GPSDestLatitudeRef", "N or S."},
    {20, TagValue::items, ItemType::float64, "GPSDestLatitude", "Latitude of the destination: degrees, minutes, seconds."},
    {21, TagValue::text, ItemType::utf8, "GPSDestLongitudeRef", "E or W."},
    {22, TagValue::items, ItemType::float64, "GPSDestLongitude", "Longitude of the destination: degrees, minutes, seconds."},
    {23, TagValue::text, ItemType::utf8, "GPSDestBearingRef", "North of the bearing: T or M."},
    {24, TagValue::item, ItemType::float64, "GPSDestBearing", "Bearing of the destination, in degrees."},
    {25, TagValue::text, ItemType::utf8, "GPSDestDistanceRef", "Unit of the distance: K, M or N."},
    {26, TagValue::item, ItemType::float64, "GPSDestDistance", "Distance to the destination."},
    {27, TagValue::codedText, ItemType::utf8, "GPSProcessingMethod", "How the position was found."},
    {28, TagValue::codedText, ItemType::utf8, "GPSAreaInformation", "Name of the area."},
    {29, TagValue::text, ItemType::utf8, "GPSDateStamp", "Date in UTC, such as 2026:11:23."},
    {30, TagValue::item, ItemType::int32, "GPSDifferential", "Whether differential correction was applied."},
    {31, TagValue::item, ItemType::float64, "GPSHPositioningError", "Horizontal error, in metres."},
};

constexpr TagRow kInterop[] = {
    {1, TagValue::text, ItemType::utf8, "InteroperabilityIndex", "Rule that the file follows, such as R98."},
    {2, TagValue::text, ItemType::utf8, "InteroperabilityVersion", "Version of that rule, such as 0100."},
    {4096, TagValue::text, ItemType::utf8, "RelatedImageFileFormat", "Format of the file."},
    {4097, TagValue::item, ItemType::int64, "RelatedImageWidth", "Columns of the image, in pixels."},
    {4098, TagValue::item, ItemType::int64, "RelatedImageLength", "Rows of the image, in pixels."},
};

constexpr TagRow kSpecial[] = {
    {288, TagValue::items, ItemType::int64, "FreeOffsets", "Positions of unused bytes."},
    {289, TagValue::items, ItemType::int64, "FreeByteCounts", "How many unused bytes there are at each."},
    {300, TagValue::item, ItemType::int32, "ColorResponseUnit", "Unit of the colour response curves."},
    {326, TagValue::item, ItemType::int64, "BadFaxLines", "Lines that the fax received with errors."},
    {327, TagValue::item, ItemType::int32, "CleanFaxData", "What became of these: 0 none, 1 repaired, 2 there still."},
    {328, TagValue::item, ItemType::int64, "ConsecutiveBadFaxLines", "Most such lines one after the other."},
    {343, TagValue::bytes, ItemType::binary, "ClipPath", "Outline of the image."},
    {344, TagValue::item, ItemType::int64, "XClipPathUnits", "Units of the outline, across."},
    {345, TagValue::item, ItemType::int64, "YClipPathUnits", "Units of the outline, down."},
    {346, TagValue::item, ItemType::int32, "Indexed", "Whether the image has a palette."},
    {347, TagValue::bytes, ItemType::binary, "JPEGTables", "Tables that the JPEG data of strips and tiles share."},
    {351, TagValue::item, ItemType::int32, "OPIProxy", "Whether the image stands for one of high resolution."},
    {400, TagValue::items, ItemType::int64, "GlobalParametersIFD", "Position of a directory that concerns the whole file."},
    {401, TagValue::item, ItemType::int64, "ProfileType", "Kind of fax profile."},
    {402, TagValue::item, ItemType::int32, "FaxProfile", "Fax profile."},
    {403, TagValue::item, ItemType::int64, "CodingMethods", "Bits of the codings of the file."},
    {404, TagValue::items, ItemType::int32, "VersionYear", "Year of the fax standard, four characters."},
    {405, TagValue::item, ItemType::int32, "ModeNumber", "Version of the fax standard."},
    {433, TagValue::items, ItemType::float64, "Decode", "Ranges that samples are mapped to."},
    {434, TagValue::items, ItemType::int32, "DefaultImageColor", "Colour of missing samples."},
    {515, TagValue::item, ItemType::int32, "JPEGRestartInterval", "Restart interval of old-style JPEG data."},
    {517, TagValue::items, ItemType::int32, "JPEGLosslessPredictors", "Predictors of lossless data."},
    {518, TagValue::items, ItemType::int32, "JPEGPointTransforms", "Point transforms of lossless data."},
    {519, TagValue::items, ItemType::int64, "JPEGQTables", "Positions of the quantization tables."},
    {520, TagValue::items, ItemType::int64, "JPEGDCTables", "Positions of the DC tables."},
    {521, TagValue::items, ItemType::int64, "JPEGACTables", "Positions of the AC tables."},
    {559, TagValue::items, ItemType::int64, "StripRowCounts", "Rows of the strips."},
    {700, TagValue::bytes, ItemType::binary, "XMP", "Document of XMP, in XML."},
    {32781, TagValue::text, ItemType::utf8, "ImageID", "Name of the image of high resolution."},
    {32932, TagValue::bytes, ItemType::binary, "WangAnnotation", "Annotations."},
    {32953, TagValue::items, ItemType::int64, "RefPts", "Reference points."},
    {32954, TagValue::items, ItemType::float64, "RegionTackPoint", "Tack point of a region."},
    {32955, TagValue::items, ItemType::float64, "RegionWarpCorners", "Corners of a region."},
    {32956, TagValue::items, ItemType::float64, "RegionAffine", "Transformation of a region."},
    {32995, TagValue::item, ItemType::int32, "Matteing", "Whether there is opacity."},
    {32996, TagValue::items, ItemType::int32, "Datatype", "Type of each sample."},
    {33300, TagValue::item, ItemType::int64, "PixarImageFullWidth", "Columns of the whole image."},
    {33301, TagValue::item, ItemType::int64, "PixarImageFullLength", "Rows of the whole image."},
    {33302, TagValue::text, ItemType::utf8, "PixarTextureFormat", "Format of a texture."},
    {33303, TagValue::text, ItemType::utf8, "PixarWrapModes", "How a texture goes on beyond its edges."},
    {33304, TagValue::item, ItemType::float64, "PixarFovCot", "Cotangent of the field of view."},
    {33305, TagValue::items, ItemType::float64, "PixarMatrixWorldToScreen", "Matrix from the world to the screen."},
    {33405, TagValue::text, ItemType::utf8, "WriterSerialNumber", "Serial number of the writer."},
    {33445, TagValue::item, ItemType::int64, "MDFileTag", "Format of a gel image."},
    {33446, TagValue::item, ItemType::float64, "MDScalePixel", "Scale of a pixel."},
    {33447, TagValue::items, ItemType::int32, "MDColorTable", "Colours of a gel image."},
    {33448, TagValue::text, ItemType::utf8, "MDLabName", "Laboratory."},
    {33449, TagValue::text, ItemType::utf8, "MDSampleInfo", "Sample."},
    {33450, TagValue::text, ItemType::utf8, "MDPrepDate", "Date of preparation."},
    {33451, TagValue::text, ItemType::utf8, "MDPrepTime", "Time of preparation."},
    {33452, TagValue::text, ItemType::utf8, "MDFileUnits", "Unit of the values."},
    {33723, TagValue::bytes, ItemType::binary, "ITPC", "Records of IPTC."},
    {33918, TagValue::bytes, ItemType::binary, "INGRPacketDataTag", "Packet of vector data."},
    {33919, TagValue::items, ItemType::int64, "INGRFlagRegisters", "Flags of vector data."},
    {33920, TagValue::items, ItemType::float64, "IrasBTransformationMatrix", "Matrix from the image to the world."},
    {34016, TagValue::text, ItemType::utf8, "IT8Site", "Where the page was made."},
    {34017, TagValue::text, ItemType::utf8, "IT8ColorSequence", "Order of the colours."},
    {34018, TagValue::text, ItemType::utf8, "IT8Header", "Headers of the original."},
    {34019, TagValue::item, ItemType::int32, "IT8RasterPadding", "Padding of rows."},
    {34020, TagValue::item, ItemType::int32, "IT8BitsPerRunLength", "Bits of a short run."},
    {34021, TagValue::item, ItemType::int32, "IT8BitsPerExtendedRunLength", "Bits of a long run."},
    {34022, TagValue::items, ItemType::int32, "IT8ColorTable", "Colours."},
    {34023, TagValue::item, ItemType::int32, "IT8ImageColorIndicator", "Whether the image colour is given."},
    {34024, TagValue::item, ItemType::int32, "IT8BKGColorIndicator", "Whether the background colour is given."},
    {34025, TagValue::items, ItemType::int32, "IT8ImageColorValue", "Image colour."},
    {34026, TagValue::items, ItemType::int32, "IT8BKGColorValue", "Background colour."},
    {34027, TagValue::items, ItemType::int32, "IT8PixelIntensityRange", "Range of intensities."},
    {34028, TagValue::item, ItemType::int32, "IT8TransparencyIndicator", "Whether there is transparency."},
    {34029, TagValue::text, ItemType::utf8, "IT8ColorCharacterization", "Colour characterization."},
    {34030, TagValue::item, ItemType::int32, "IT8HCUsage", "Kind of a high resolution contour."},
    {34031, TagValue::item, ItemType::int32, "IT8TRapIndicator", "Whether there is trapping."},
    {34032, TagValue::items, ItemType::int32, "IT8CMYKEquivalent", "CMYK of the colours."},
    {34377, TagValue::bytes, ItemType::binary, "Photoshop", "Image resources of Photoshop."},
    {34665, TagValue::items, ItemType::int64, "DigitalCamera", "Positions of the Exif directories."},
    {34675, TagValue::bytes, ItemType::binary, "ICCProfileOffset", "Colour profile of ICC."},
    {34732, TagValue::items, ItemType::int64, "ImageLayer", "Layer of mixed raster content."},
    {34750, TagValue::text, ItemType::utf8, "JBIGOptions", "Options of JBIG coding."},
    {34853, TagValue::items, ItemType::int64, "GPSInfo", "Positions of the GPS directories."},
    {34908, TagValue::item, ItemType::int64, "HylaFAXFaxRecvParams", "Parameters of a received fax."},
    {34909, TagValue::text, ItemType::utf8, "HylaFAXFaxSubAddress", "Subaddress of a fax."},
    {34910, TagValue::item, ItemType::int64, "HylaFAXFaxRecvTime", "Time that a fax took, in seconds."},
    {34911, TagValue::text, ItemType::utf8, "FaxDCS", "Parameters of a fax, by T.30."},
    {34929, TagValue::text, ItemType::utf8, "FedExEdr", "Document of a carrier."},
    {37439, TagValue::item, ItemType::float64, "StoNITS", "Factor to candelas for each square metre."},
    {37724, TagValue::bytes, ItemType::binary, "ImageSourceData", "Layers of Photoshop."},
    {50215, TagValue::text, ItemType::utf8, "OceScanjobDescription", "Description of a scan job."},
    {50216, TagValue::text, ItemType::utf8, "OceApplicationSelector", "Application of a scanner."},
    {50217, TagValue::text, ItemType::utf8, "OceIdentificationNumber", "Number of a scanned image."},
    {50218, TagValue::text, ItemType::utf8, "OceImageLogicCharacteristics", "How a scanned image was made."},
    {59932, TagValue::bytes, ItemType::binary, "Padding", "Unused bytes that a program keeps."},
    {59933, TagValue::item, ItemType::int64, "OffsetSchema", "By how much a program moved data."},
    {65535, TagValue::items, ItemType::int32, "DCSHuesShiftValues", "Shifts of hues."},
};

constexpr TagRow kDevelopment[] = {
    {50709, TagValue::text, ItemType::utf8, "LocalizedCameraModel", "Name of the camera model in the language of the country."},
    {50710, TagValue::items, ItemType::int32, "CFAPlaneColor", "Colour of each plane of the filter."},
    {50711, TagValue::item, ItemType::int32, "CFALayout", "Layout of the filter."},
    {50712, TagValue::items, ItemType::int32, "LinearizationTable", "Table that makes values linear."},
    {50713, TagValue::items, ItemType::int32, "BlackLevelRepeatDim", "Size of the pattern of black levels."},
    {50714, TagValue::items, ItemType::float64, "BlackLevel", "Black levels."},
    {50715, TagValue::items, ItemType::float64, "BlackLevelDeltaH", "Differences of the black level for columns."},
    {50716, TagValue::items, ItemType::float64, "BlackLevelDeltaV", "Differences of the black level for rows."},
    {50717, TagValue::items, ItemType::int64, "WhiteLevel", "White level of each sample."},
    {50718, TagValue::items, ItemType::float64, "DefaultScale", "Scale of pixels, across and down."},
    {50719, TagValue::items, ItemType::float64, "DefaultCropOrigin", "Where the final image begins, column and row."},
    {50720, TagValue::items, ItemType::float64, "DefaultCropSize", "Size of the final image, columns and rows."},
    {50721, TagValue::items, ItemType::float64, "ColorMatrix1", "Matrix from XYZ to the camera, first light."},
    {50722, TagValue::items, ItemType::float64, "ColorMatrix2", "Matrix from XYZ to the camera, second light."},
    {50723, TagValue::items, ItemType::float64, "CameraCalibration1", "Calibration of this camera, first light."},
    {50724, TagValue::items, ItemType::float64, "CameraCalibration2", "Calibration of this camera, second light."},
    {50725, TagValue::items, ItemType::float64, "ReductionMatrix1", "Reduction to three colours, first light."},
    {50726, TagValue::items, ItemType::float64, "ReductionMatrix2", "Reduction to three colours, second light."},
    {50727, TagValue::items, ItemType::float64, "AnalogBalance", "Gain of each channel."},
    {50728, TagValue::items, ItemType::float64, "AsShotNeutral", "Neutral colour when taken, in the camera."},
    {50729, TagValue::items, ItemType::float64, "AsShotWhiteXY", "Neutral colour when taken, by chromaticity."},
    {50730, TagValue::item, ItemType::float64, "BaselineExposure", "Exposure to be added, in steps."},
    {50731, TagValue::item, ItemType::float64, "BaselineNoise", "Noise, relative."},
    {50732, TagValue::item, ItemType::float64, "BaselineSharpness", "Sharpening, relative."},
    {50733, TagValue::item, ItemType::int64, "BayerGreenSplit", "Difference of the two greens."},
    {50734, TagValue::item, ItemType::float64, "LinearResponseUnit", "Fraction at which sensors are not linear."},
    {50737, TagValue::item, ItemType::float64, "ChromaBlurRadius", "Blur of colour, relative."},
    {50738, TagValue::item, ItemType::float64, "AntiAliasStrength", "Strength of the filter against aliasing."},
    {50739, TagValue::item, ItemType::float64, "ShadowScale", "Scale of shadows."},
    {50740, TagValue::bytes, ItemType::binary, "DNGPrivateData", "Data of who made the camera."},
    {50741, TagValue::item, ItemType::int32, "MakerNoteSafety", "Whether the maker note can be moved."},
    {50778, TagValue::item, ItemType::int32, "CalibrationIlluminant1", "First light."},
    {50779, TagValue::item, ItemType::int32, "CalibrationIlluminant2", "Second light."},
    {50780, TagValue::item, ItemType::float64, "BestQualityScale", "Scale that gives the best quality."},
    {50781, TagValue::bytes, ItemType::binary, "AliasLayerMetadata", "Metadata of layers."},
    {50828, TagValue::bytes, ItemType::binary, "OriginalRawFileData", "Raw file that this one was made of."},
    {50829, TagValue::items, ItemType::int64, "ActiveArea", "Rectangle of pixels that are seen by light."},
    {50830, TagValue::items, ItemType::int64, "MaskedAreas", "Rectangles of pixels that are not."},
    {50831, TagValue::bytes, ItemType::binary, "AsShotICCProfile", "Colour profile when taken."},
    {50832, TagValue::items, ItemType::float64, "AsShotPreProfileMatrix", "Matrix before that profile."},
    {50833, TagValue::bytes, ItemType::binary, "CurrentICCProfile", "Colour profile now."},
    {50834, TagValue::items, ItemType::float64, "CurrentICCProfileMatrix", "Matrix before that profile."},
};

constexpr TagRow kExifBlobs[] = {
    {34856, TagValue::bytes, ItemType::binary, "OECF", "Opto-electric conversion function."},
    {37121, TagValue::items, ItemType::int32, "ComponentsConfiguration", "Meaning of the four channels."},
    {37500, TagValue::bytes, ItemType::binary, "MakerNote", "Data of who made the camera."},
    {40965, TagValue::items, ItemType::int64, "InteroperabilityIFD", "Positions of the Interoperability directories."},
    {41484, TagValue::bytes, ItemType::binary, "SpatialFrequencyResponse", "Spatial frequency response."},
    {41730, TagValue::bytes, ItemType::binary, "CFAPattern", "Pattern of the filter."},
    {41995, TagValue::bytes, ItemType::binary, "DeviceSettingDescription", "Settings of the camera."},
    {42081, TagValue::items, ItemType::int32, "SourceImageNumberOfCompositeImage", "How many pictures it was made of, and of how many used."},
    {42082, TagValue::bytes, ItemType::binary, "SourceExposureTimesOfCompositeImage", "Exposure times of these."},
};

// Columns that are no tag of their own; their numbers lie below those of tags.
const Column kKeys[] = {
    {"file_id", {ItemType::int64}, 1, "Number of the file, the same in all tables that are made together.", "the table"},
    {"file_path", {ItemType::utf8}, 2, "Name of the file as it was found; what is no UTF-8 in it becomes U+FFFD.", "the system"},
    {"container", {ItemType::word}, 3, "Format of the file that carries the TIFF stream, such as png; null for a TIFF file.", "the file"},
    {"stream", {ItemType::word}, 4, "Name of the TIFF stream in that file, such as Exif item 3.", "the file"},
    {"dir_path", {ItemType::utf8}, 5, "Way to the directory, such as 0/SubIFDs[1]/0.", "the file"},
    {"parent_path", {ItemType::utf8}, 6, "Way to the directory that leads to it; null in the primary chain.", "the file"},
    {"page", {ItemType::int32}, 7, "Place of the directory in its chain, from 0.", "the file"},
    {"depth", {ItemType::int16}, 8, "How many directories lead to it; 0 in the primary chain.", "the file"},
    {"dir_offset", {ItemType::int64}, 9, "Position of the directory, in bytes from the start of the file, of an embedded stream from that of the stream.", "the file"},
    {"entry_count", {ItemType::int32}, 10, "Entries of the directory as the file says.", "the file"},
    {"BitDepth", {ItemType::int32}, 11, "Bits of a pixel, of all samples together.", "the record's field BitDepth"},
    {"ColorType", {ItemType::word}, 12, "grayscale, truecolor, indexed and so on.", "the record's field ColorType"},
    {"strip_or_tile_count", {ItemType::int64}, 13, "Strips or tiles that the directory lists.", "StripOffsets, TileOffsets"},
    {"data_bytes", {ItemType::int64}, 14, "Bytes of all strips or tiles, and of a JPEG stream that it names; null where their list was not read.", "StripByteCounts, TileByteCounts"},
};
const Column kDerived[] = {
    {"exif_directories", {ItemType::int16}, 20, "Exif directories below the directory; columns show the first.", "the file"},
    {"gps_directories", {ItemType::int16}, 21, "GPS directories below the directory; columns show the first.", "the file"},
    {"latitude", {ItemType::float64}, 22, "Latitude in degrees, north positive; null unless it is whole and from -90 to 90.", "GPSLatitude, GPSLatitudeRef"},
    {"longitude", {ItemType::float64}, 23, "Longitude in degrees, east positive; null unless it is whole and from -180 to 180.", "GPSLongitude, GPSLongitudeRef"},
    {"altitude", {ItemType::float64}, 24, "Metres above sea level, below it negative.", "GPSAltitude, GPSAltitudeRef"},
    {"default_tags", {ItemType::int32, true}, 25, "Tags that the directory lacks and whose columns have the default of TIFF 6.0.", "the reading"},
    {"invalid_tags", {ItemType::int32, true}, 26, "Tags whose columns are null, or lack a number, because a denominator is 0 or a date is none.", "the reading"},
    {"misfit_tags", {ItemType::int32, true}, 27, "Tags whose columns are null because type or number of the values is another; the table of tags has them.", "the reading"},
    {"described_tags", {ItemType::int32, true}, 28, "Tags whose columns are null because the value is too long or was not loaded.", "the reading"},
    {"stream_offset", {ItemType::int64}, 30, "Position of the TIFF header in the file, from which the positions that values of the stream hold are counted; 0 for a TIFF file, and of an embedded stream its place in the stream.", "the file"},
    {"unknown", {ItemType::unknownTag, true}, 29, "Entries whose tags have no name in records; texts and numbers as many as one value may have.", "the file"},
};
// clang-format on

struct TagGroup {
    std::span<const TagRow> rows;
    std::string_view prefix;  ///< of its names
    std::string_view source;
    DirectoryKind kind;
    bool isCore;
};

constexpr TagGroup kGroups[] = {
    {kBaseline, "", "TIFF 6.0", DirectoryKind::primary, true},
    {kGeographic, "", "GeoTIFF 1.1, GDAL", DirectoryKind::primary, true},
    {kCommon, "", "registered private tags", DirectoryKind::primary, true},
    {kRaw, "", "DNG 1.7", DirectoryKind::primary, true},
    {kExif, "Exif_", "Exif 3.0", DirectoryKind::exif, true},
    {kPosition, "", "Exif 3.0", DirectoryKind::gps, true},
    {kInterop, "Interop_", "DCF 2.0, Exif 3.0", DirectoryKind::interoperability, true},
    {kSpecial, "", "TIFF 6.0 supplements, registered private tags", DirectoryKind::primary, false},
    {kDevelopment, "", "DNG 1.7", DirectoryKind::primary, false},
    {kExifBlobs, "Exif_", "Exif 3.0", DirectoryKind::exif, false},
};

constexpr std::int32_t kTagIds = 1000;
constexpr std::int32_t kKinds = 4;
constexpr std::int32_t kParts = 8;

/// The columns of a tag have numbers that follow from it.
std::int32_t columnId(DirectoryKind kind, std::uint16_t tag, std::int32_t part) {
    return kTagIds + (tag * kKinds + static_cast<std::int32_t>(kind)) * kParts + part;
}

bool isList(TagValue takes) {
    return takes == TagValue::items;
}

void addTag(std::vector<Column>& columns, const TagGroup& group, const TagRow& row) {
    const std::string name = std::string(group.prefix).append(row.name);
    const auto add = [&](std::int32_t part, const char* suffix, ColumnType type,
                         std::string_view meaning, TagValue takes) {
        columns.push_back({name + suffix, type, columnId(group.kind, row.tag, part), meaning,
                           group.source, group.isCore, takes, group.kind, row.tag});
    };
    switch (row.takes) {
        case TagValue::word:
            add(0, "", {ItemType::word}, row.meaning, TagValue::word);
            add(1, "_code", {row.item}, "The number that stands for it in the file.",
                TagValue::item);
            return;
        case TagValue::clock:
            add(0, "", {ItemType::utf8}, row.meaning, TagValue::text);
            add(1, "_parsed", {ItemType::time},
                "The same as a time of a clock whose zone it does not tell.", TagValue::clock);
            return;
        case TagValue::minutes:
            add(0, "", {ItemType::utf8}, row.meaning, TagValue::text);
            add(1, "_minutes", {ItemType::int16}, "The same in minutes, east positive.",
                TagValue::minutes);
            return;
        default:
            add(0, "", {row.item, isList(row.takes)}, row.meaning, row.takes);
    }
}

std::vector<Column> makeTable() {
    std::vector<Column> columns(std::begin(kKeys), std::end(kKeys));
    const auto addGroups = [&columns](bool areCore) {
        for (const TagGroup& group : kGroups) {
            for (const TagRow& row : group.rows) {
                if (group.isCore == areCore) {
                    addTag(columns, group, row);
                }
            }
        }
    };
    addGroups(true);
    columns.insert(columns.end(), std::begin(kDerived), std::end(kDerived));
    addGroups(false);
    return columns;
}

}  // namespace

std::span<const Column> imagesTable() {
    static const std::vector<Column> kTable = makeTable();
    return kTable;
}

}  // namespace ifdsweep
