// Defaults of absent baseline fields, and the two derived fields.

#include <limits>

#include "support/record_dump.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class RequiredFields : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(RequiredFields);

/// BitsPerSample, MinSampleValue, MaxSampleValue and BitDepth in one line.
std::string samples(const Call& given) {
    return given.value("BitsPerSample") + ' ' + given.value("MinSampleValue") + ' ' +
           given.value("MaxSampleValue") + ' ' + given.value("BitDepth");
}

TEST_P(RequiredFields, ADirectoryOfSizeAloneHasAllDefaults) {
    const TiffFile file = fileOf({{shorts(256, {640}), shorts(257, {480})}});
    const Call given = callEntryPoint(file.bytes);
    const bool isBigEndian = format().byteOrder == ByteOrder::big;
    const std::string version = format().isBig() ? "43" : "42";
    const Record expected{
        {"Filename", "'call.tif'"},
        {"FileModDate", "'01-Jan-1970 00:00:00'"},
        {"FileSize", std::to_string(file.bytes.size())},
        {"Format", "'tif'"},
        {"FormatVersion", "empty"},
        {"Width", "640"},
        {"Height", "480"},
        {"BitDepth", "1"},
        {"ColorType", "-1"},
        {"FormatSignature",
         isBigEndian ? "[77 77 0 " + version + ']' : "[73 73 " + version + " 0]"},
        {"ByteOrder", isBigEndian ? "'big-endian'" : "'little-endian'"},
        {"NewSubFileType", "0"},
        {"BitsPerSample", "1"},
        {"Compression", "'Uncompressed'"},
        {"PhotometricInterpretation", "empty"},
        {"StripOffsets", "empty"},
        {"SamplesPerPixel", "1"},
        {"RowsPerStrip", "4294967295"},
        {"StripByteCounts", "empty"},
        {"XResolution", "empty"},
        {"YResolution", "empty"},
        {"ResolutionUnit", "'Inch'"},
        {"Colormap", "empty"},
        {"PlanarConfiguration", "'Chunky'"},
        {"TileWidth", "empty"},
        {"TileLength", "empty"},
        {"TileOffsets", "empty"},
        {"TileByteCounts", "empty"},
        {"Orientation", "1"},
        {"FillOrder", "1"},
        {"GrayResponseUnit", "0.01"},
        {"MaxSampleValue", "1"},
        {"MinSampleValue", "0"},
        {"Thresholding", "1"},
        {"Offset", std::to_string(file.places[0].position)},
    };
    ASSERT_EQ(given.records.size(), 1U);
    EXPECT_EQ(given.records[0], expected);
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(RequiredFields, ValuesOfTheFileReplaceDefaults) {
    const Call given = callOf({{longs(254, {2}),
                                shorts(258, {4}),
                                shorts(259, {5}),
                                shorts(262, {3}),
                                shorts(263, {2}),
                                shorts(266, {2}),
                                longs(273, {8, 9}),
                                shorts(274, {6}),
                                shorts(277, {1}),
                                shorts(278, {16}),
                                shorts(279, {10, 11}),
                                shorts(280, {1}),
                                shorts(281, {14}),
                                numbers(282, kRational, {72, 1}),
                                numbers(283, kRational, {144, 2}),
                                shorts(284, {2}),
                                shorts(290, {4}),
                                shorts(296, {3}),
                                shorts(320, {0, 65535, 0}),
                                shorts(322, {32}),
                                shorts(323, {64}),
                                longs(324, {12}),
                                longs(325, {13})}});
    const std::vector<std::pair<const char*, const char*>> expected{
        {"NewSubFileType", "2"},
        {"BitsPerSample", "4"},
        {"Compression", "'LZW'"},
        {"PhotometricInterpretation", "'RGB Palette'"},
        {"StripOffsets", "[8 9]"},
        {"SamplesPerPixel", "1"},
        {"RowsPerStrip", "16"},
        {"StripByteCounts", "[10 11]"},
        {"XResolution", "72"},
        {"YResolution", "72"},
        {"ResolutionUnit", "'Centimeter'"},
        {"Colormap", "[0 1 0]"},
        {"PlanarConfiguration", "'Planar'"},
        {"TileWidth", "32"},
        {"TileLength", "64"},
        {"TileOffsets", "12"},
        {"TileByteCounts", "13"},
        {"Orientation", "6"},
        {"FillOrder", "2"},
        {"GrayResponseUnit", "1e-04"},
        {"MaxSampleValue", "14"},
        {"MinSampleValue", "1"},
        {"Thresholding", "2"},
    };
    for (const auto& [field, value] : expected) {
        EXPECT_EQ(given.value(field), value) << field;
    }
    EXPECT_EQ(given.names(), headNames());
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(RequiredFields, SampleLimitsFollowBitsPerSample) {
    EXPECT_EQ(samples(callOf({{shorts(kBitsPerSample, {8, 8, 8})}})),
              "[8 8 8] [0 0 0] [255 255 255] 24");
    EXPECT_EQ(samples(callOf({{shorts(kBitsPerSample, {16})}})), "16 0 65535 16");
    EXPECT_EQ(samples(callOf({{shorts(kBitsPerSample, {1, 0, 32})}})),
              "[1 0 32] [0 0 0] [1 0 4294967295] 33");
}

TEST_P(RequiredFields, SamplesPerPixelCountsByItsNumberOfValues) {
    const Call given = callOf({{shorts(kSamplesPerPixel, {3})}});
    EXPECT_EQ(given.value("SamplesPerPixel"), "3");
    EXPECT_EQ(samples(given), "1 0 1 1");
}

TEST_P(RequiredFields, SamplesPerPixelStoredAsTextHasNoValues) {
    const Call given = callOf({{ascii(kSamplesPerPixel, "3")}});
    EXPECT_EQ(given.value("SamplesPerPixel"), "'3'");
    EXPECT_EQ(samples(given), "empty empty empty 0");
}

TEST_P(RequiredFields, TheOrderOfTheEntriesDoesNotMatter) {
    EXPECT_EQ(samples(callOf({{ascii(315, "x"), shorts(kBitsPerSample, {4, 4})}})),
              "[4 4] [0 0] [15 15] 8");
}

TEST_P(RequiredFields, TheLaterOfTwoBitsPerSampleHolds) {
    EXPECT_EQ(samples(callOf({{shorts(kBitsPerSample, {8, 8, 8}), shorts(kBitsPerSample, {4})}})),
              "4 0 15 4");
}

TEST_P(RequiredFields, BitsPerSampleWithoutNumbersCountsAsPresent) {
    EXPECT_EQ(samples(callOf({{ascii(kBitsPerSample, "8")}})), "'8' empty empty 0");
    EXPECT_EQ(samples(callOf({{shorts(kBitsPerSample, {})}})), "empty empty empty 0");
}

TEST_P(RequiredFields, BitDepthIsTheSumOfAnyNumbers) {
    EXPECT_EQ(callOf({{doubles(kBitsPerSample, {0.5, 1.25})}}).value("BitDepth"), "1.75");
}

TEST_P(RequiredFields, EveryPhotometricInterpretationHasItsColorType) {
    const std::vector<std::pair<std::int64_t, std::string_view>> cases{{0, "'grayscale'"},
                                                                       {1, "'grayscale'"},
                                                                       {2, "'truecolor'"},
                                                                       {3, "'indexed'"},
                                                                       {4, "'Transparency Mask'"},
                                                                       {5, "'CMYK'"},
                                                                       {6, "'YCbCr'"},
                                                                       {7, "7"},
                                                                       {8, "'CIELab'"},
                                                                       {9, "'ICCLab'"},
                                                                       {10, "'ITULab'"},
                                                                       {11, "11"},
                                                                       {32802, "32802"},
                                                                       {32803, "'CFA'"},
                                                                       {32804, "32804"},
                                                                       {32843, "32843"},
                                                                       {32844, "'LogL'"},
                                                                       {32845, "'LogLuv'"},
                                                                       {32846, "32846"},
                                                                       {34891, "34891"},
                                                                       {34892, "'LinearRaw'"},
                                                                       {34893, "34893"},
                                                                       {65535, "65535"}};
    for (const auto& [value, colorType] : cases) {
        EXPECT_EQ(callOf({{shorts(kPhotometricInterpretation, {value})}}).value("ColorType"),
                  colorType);
    }
}

TEST_P(RequiredFields, PhotometricInterpretationIsTruncatedTo32Bits) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<double, std::string_view>> cases{
        {2.9, "'truecolor'"},
        {-0.9, "'grayscale'"},
        {-1.0, "-1"},
        {2147483647.5, "2147483647"},
        {2147483648.0, "-2147483648"},
        {-2147483648.9, "-2147483648"},
        {1e300, "-2147483648"},
        {infinity, "-2147483648"},
        {-infinity, "-2147483648"},
        {std::numeric_limits<double>::quiet_NaN(), "-2147483648"}};
    for (const auto& [value, colorType] : cases) {
        EXPECT_EQ(callOf({{doubles(kPhotometricInterpretation, {value})}}).value("ColorType"),
                  colorType)
            << value;
    }
    EXPECT_EQ(callOf({{longs(kPhotometricInterpretation, {4294967295})}}).value("ColorType"),
              "-2147483648");
}

TEST_P(RequiredFields, PhotometricInterpretationWithoutANumberKeepsMinusOne) {
    const Call text = callOf({{ascii(kPhotometricInterpretation, "x")}});
    EXPECT_EQ(text.value("ColorType"), "-1");
    EXPECT_EQ(text.value("PhotometricInterpretation"), "'unknown'");
    const Call empty = callOf({{shorts(kPhotometricInterpretation, {})}});
    EXPECT_EQ(empty.value("ColorType"), "-1");
    EXPECT_EQ(empty.value("PhotometricInterpretation"), "empty");
    EXPECT_EQ(
        callOf({{shorts(kPhotometricInterpretation, {2}), ascii(kPhotometricInterpretation, "x")}})
            .value("ColorType"),
        "'truecolor'");
}

TEST_P(RequiredFields, ADroppedEntryLeavesRoomForTheDefault) {
    const Call given = callOf({{shorts(259, {5}).withType(14), shorts(274, {6}).withType(0),
                                longs(254, {1, 2, 3}).withValueField(0x7FFFFFFF)}});
    EXPECT_EQ(given.value("Compression"), "'Uncompressed'");
    EXPECT_EQ(given.value("Orientation"), "1");
    EXPECT_EQ(given.value("NewSubFileType"), "0");
}

TEST_P(RequiredFields, AZeroCountEntryCountsAsPresent) {
    const Call given =
        callOf({{shorts(259, {}), shorts(274, {}), shorts(296, {}), shorts(290, {})}});
    EXPECT_EQ(given.value("Compression"), "empty");
    EXPECT_EQ(given.value("Orientation"), "empty");
    EXPECT_EQ(given.value("ResolutionUnit"), "empty");
    EXPECT_EQ(given.value("GrayResponseUnit"), "empty");
}

TEST_P(RequiredFields, EveryDirectoryHasDefaultsOfItsOwn) {
    const Call given =
        callOf({{shorts(kBitsPerSample, {8, 8, 8}), shorts(kPhotometricInterpretation, {2})},
                {shorts(256, {1})}});
    EXPECT_EQ(given.value("MaxSampleValue", 0), "[255 255 255]");
    EXPECT_EQ(given.value("MaxSampleValue", 1), "1");
    EXPECT_EQ(given.value("ColorType", 0), "'truecolor'");
    EXPECT_EQ(given.value("ColorType", 1), "-1");
    EXPECT_EQ(given.value("BitDepth", 1), "1");
}

TEST_P(RequiredFields, NestedExifGpsAndInteroperabilityHaveNoDefaults) {
    for (const std::uint16_t tag : Codes{34665, 34853, 40965}) {
        EXPECT_NE(callOf({{pointer(tag, {{{shorts(60000, {1})}}})}})
                      .added()
                      .find("=(UnknownTags=(ID=60000 Offset=0 Value=1))"),
                  std::string::npos);
    }
}

TEST(RequiredFieldsOfJpeg, AreNotSupplied) {
    for (const ByteOrder byteOrder : {ByteOrder::little, ByteOrder::big}) {
        const TiffFile plain =
            TiffBuilder({Layout::classic, byteOrder}).add({ascii(315, "x")}).buildInJpeg();
        const Call given = callEntryPoint(plain.bytes, {.initialOffset = 12});
        EXPECT_EQ(given.value("Compression"), "no field");
        EXPECT_EQ(given.value("BitDepth"), "0");
        EXPECT_EQ(given.value("ColorType"), "-1");
        const TiffFile withBits = TiffBuilder({Layout::classic, byteOrder})
                                      .add({shorts(258, {8, 8, 8}), shorts(262, {6})})
                                      .buildInJpeg();
        const Call sum = callEntryPoint(withBits.bytes, {.initialOffset = 12});
        EXPECT_EQ(sum.value("BitDepth"), "24");
        EXPECT_EQ(sum.value("ColorType"), "'YCbCr'");
        EXPECT_EQ(sum.value("MaxSampleValue"), "no field");
    }
}

}  // namespace
}  // namespace fixture
