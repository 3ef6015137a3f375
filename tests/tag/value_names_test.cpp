// Readable names of enumerated values and the other special treatments.

#include <limits>
#include <map>
#include <set>

#include "support/tag_name_rows.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"
#include "support/value_name_rows.h"

namespace fixture {
namespace {

using namespace std::string_view_literals;

class ValueNames : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(ValueNames);

/// Values by tag, from the rows.
const std::map<std::uint16_t, std::map<std::uint16_t, std::string_view>>& namesByTag() {
    static const auto kNames = [] {
        std::map<std::uint16_t, std::map<std::uint16_t, std::string_view>> names;
        for (const ValueNameRow& row : kValueNameRows) {
            names[row.tag].emplace(row.value, row.name);
        }
        return names;
    }();
    return kNames;
}

/// The name of a tag of a primary directory.
std::string tagName(std::uint16_t tag) {
    for (const NameRow& row : kPrimaryRows) {
        if (row.id == tag) {
            return std::string(row.name);
        }
    }
    return "no name";
}

/// Text as a dump quotes it.
std::string inQuotes(std::string_view text) {
    return '\'' + std::string(text) + '\'';
}

TEST(ValueNameRows, CoverTwentyFourTags) {
    EXPECT_EQ(namesByTag().size(), 24U);
}

TEST_P(ValueNames, EveryValueHasItsNameAndEveryOtherIsUnknown) {
    std::set<std::uint16_t> values;
    for (std::uint16_t value = 0; value <= 300; ++value) {
        values.insert(value);
    }
    for (const ValueNameRow& row : kValueNameRows) {
        for (const int step : {-1, 0, 1}) {
            values.insert(static_cast<std::uint16_t>(row.value + step));
        }
    }
    for (const std::uint16_t value : values) {
        Directory directory;
        for (const auto& [tag, names] : namesByTag()) {
            directory.entries.push_back(shorts(tag, {value}));
        }
        const Call given = callOf({directory});
        ASSERT_EQ(given.warnings, Lines{});
        for (const auto& [tag, names] : namesByTag()) {
            const auto name = names.find(value);
            EXPECT_EQ(given.value(tagName(tag)),
                      inQuotes(name == names.end() ? "unknown" : name->second))
                << "tag " << tag << " value " << value;
        }
    }
}

TEST_P(ValueNames, ExifDirectoriesNameValuesToo) {
    for (const ValueNameRow& row : kValueNameRows) {
        EXPECT_EQ(callOf({{pointer(kExif, {{{shorts(row.tag, {row.value})}}})}}).added(),
                  "DigitalCamera=(" + tagName(row.tag) + '=' + inQuotes(row.name) + ')');
    }
}

TEST_P(ValueNames, GpsAndInteroperabilityDirectoriesNameNone) {
    for (const auto& [tag, name] :
         {std::pair{kGps, "GPSInfo"}, {kInterop, "InteroperabilityIFD"}}) {
        EXPECT_EQ(
            callOf({{pointer(tag, {{{shorts(259, {1}), shorts(290, {3}), ascii(270, "ab")}}})}})
                .added(),
            std::string(name) +
                "=(UnknownTags=(ID=259 Offset=0 Value=1)(ID=290 Offset=0 Value=3)"
                "(ID=270 Offset=0 Value='ab'))");
    }
}

TEST_P(ValueNames, TheFirstOfSeveralValuesIsNamed) {
    EXPECT_EQ(callOf({{shorts(259, {5, 1, 1})}}).value("Compression"), "'LZW'");
}

TEST_P(ValueNames, TheLow16BitsAreLookedUp) {
    EXPECT_EQ(callOf({{longs(kColorSpace, {65537})}}).added(), "ColorSpace='sRGB'");
    EXPECT_EQ(callOf({{longs(kColorSpace, {4294967295})}}).added(), "ColorSpace='Uncalibrated'");
    EXPECT_EQ(callOf({{numbers(kColorSpace, kSShort, {-1})}}).added(), "ColorSpace='Uncalibrated'");
    EXPECT_EQ(callOf({{numbers(kColorSpace, kSLong, {-65535})}}).added(), "ColorSpace='sRGB'");
    EXPECT_EQ(callOf({{numbers(kColorSpace, kLong8, {0x7FFFFFFF00010001})}}).added(),
              "ColorSpace='unknown'");  // as a double it has no low bits left
}

TEST_P(ValueNames, FractionsAreTruncatedAndWhatIsNoNumberIsZero) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<double, std::string_view>> cases{
        {1.9, "Manual"},
        {-0.9, "Not defined"},
        {65538.5, "Normal program"},
        {-65535.5, "Manual"},
        {1e300, "Not defined"},
        {-1e300, "Not defined"},
        {infinity, "Not defined"},
        {-infinity, "Not defined"},
        {std::numeric_limits<double>::quiet_NaN(), "Not defined"},
        {-1.0, "unknown"},
        {4294967297.0, "Manual"},
        {18446744073709551616.0 + 4096.0, "unknown"}};
    for (const auto& [value, name] : cases) {
        EXPECT_EQ(callOf({{doubles(kExposureProgram, {value})}}).added(),
                  "ExposureProgram=" + inQuotes(name))
            << value;
    }
}

TEST_P(ValueNames, RationalsAreTruncated) {
    EXPECT_EQ(callOf({{numbers(kExposureProgram, kRational, {5, 2})}}).added(),
              "ExposureProgram='Normal program'");
}

TEST_P(ValueNames, AnEnumeratedTagStoredAsTextIsUnknown) {
    for (const auto& [tag, names] : namesByTag()) {
        const std::string expected = tag == 296 ? "'c'" : "'unknown'";
        EXPECT_EQ(callOf({{ascii(tag, "c")}}).value(tagName(tag)), expected);
    }
}

TEST_P(ValueNames, AnEnumeratedTagOfCountZeroHasNoValue) {
    for (const auto& [tag, names] : namesByTag()) {
        if (tag == 284) {
            continue;  // must hold one component
        }
        const Call given = callOf({{shorts(tag, {})}});
        EXPECT_EQ(given.value(tagName(tag)), "empty");
        EXPECT_EQ(given.warnings, (Lines{"zeroComponentCount('" + tagName(tag) + "')"}));
    }
}

TEST_P(ValueNames, GrayResponseUnitBecomesItsFactor) {
    const std::vector<std::pair<std::int64_t, std::string_view>> cases{
        {0, "0"},     {1, "0.1"},   {2, "0.01"}, {3, "0.001"},
        {4, "1e-04"}, {5, "1e-05"}, {6, "6"},    {9, "9"}};
    for (const auto& [value, shown] : cases) {
        EXPECT_EQ(callOf({{shorts(290, {value})}}).value("GrayResponseUnit"), shown);
    }
    EXPECT_EQ(callOf({{shorts(290, {3, 3})}}).value("GrayResponseUnit"), "[0.001 3]");
    EXPECT_EQ(callOf({{doubles(290, {3.5})}}).value("GrayResponseUnit"), "3.5");
    EXPECT_EQ(callOf({{doubles(290, {3.0, 7.0})}}).value("GrayResponseUnit"), "[0.001 7]");
    EXPECT_EQ(callOf({{longs(290, {65539})}}).value("GrayResponseUnit"), "65539");
    EXPECT_EQ(callOf({{numbers(290, kRational, {6, 2})}}).value("GrayResponseUnit"), "0.001");
    EXPECT_EQ(callOf({{shorts(290, {})}}).value("GrayResponseUnit"), "empty");
    EXPECT_EQ(callOf({{ascii(290, "3")}}).value("GrayResponseUnit"), "'3'");
}

TEST_P(ValueNames, ImageDescriptionLosesItsLastCharacter) {
    const std::vector<std::pair<std::string_view, std::string_view>> cases{
        {"abc\0"sv, "'abc'"},   {"abc"sv, "'ab'"}, {"\0"sv, "empty"},     {"\0\0"sv, "char(0x0)"},
        {"abc\0\0"sv, "'abc'"}, {"a"sv, "empty"},  {"\0a"sv, "char(0x0)"}};
    for (const auto& [stored, shown] : cases) {
        EXPECT_EQ(callOf({{ascii(270, stored)}}).value("ImageDescription"), shown);
    }
    EXPECT_EQ(callOf({{ascii(270, "")}}).value("ImageDescription"), "empty");
    EXPECT_EQ(callOf({{shorts(270, {7, 8})}}).value("ImageDescription"), "[7 8]");
    EXPECT_EQ(callOf({{pointer(kExif, {{{ascii(270, "abc\0"sv)}}})}}).added(),
              "DigitalCamera=(ImageDescription='abc')");
}

TEST_P(ValueNames, XmpBytesBecomeText) {
    const auto xmp = [](const Entry& entry) { return callOf({{entry}}).value("XMP"); };
    EXPECT_EQ(xmp(numbers(kXmp, kByte, {'<', 'x', 0xE9, '>', 0})), "'<x\\uFFE9>'");
    EXPECT_EQ(xmp(numbers(kXmp, kUndefined, {'a', 0, 'b', 0, 0})), "'a\\u0000b'");
    EXPECT_EQ(xmp(numbers(kXmp, kByte, {0, 0})), "char(0x0)");
    EXPECT_EQ(xmp(numbers(kXmp, kByte, {})), "empty");
    EXPECT_EQ(xmp(ascii(kXmp, "text\0"sv)), "'text'");
    EXPECT_EQ(xmp(shorts(kXmp, {0x141, 0x42})), "'AB'");
    EXPECT_EQ(xmp(numbers(kXmp, kSByte, {'A', 0xFF})), "'A\\uFFFF'");
    EXPECT_EQ(
        xmp(doubles(kXmp, {65.9, std::numeric_limits<double>::quiet_NaN(), -190.0, 1e300, 67})),
        "'A\\u0000B\\u0000C'");
}

TEST_P(ValueNames, IccProfileShowsWhereItLies) {
    const TiffFile file =
        fileOf({{numbers(kIccProfile, kUndefined, std::vector<std::int64_t>(20, 7)),
                 numbers(60000, kUndefined, {1})}});
    EXPECT_EQ(callEntryPoint(file.bytes).value("ICCProfileOffset"),
              std::to_string(file.places[0].data[0]));
    EXPECT_EQ(callOf({{numbers(kIccProfile, kUndefined, {1, 2, 3})}}).value("ICCProfileOffset"),
              "0");
    EXPECT_EQ(callOf({{numbers(kIccProfile, kUndefined, {})}}).value("ICCProfileOffset"), "empty");
    EXPECT_EQ(callOf({{ascii(kIccProfile, "text as it is\0"sv)}}).value("ICCProfileOffset"),
              "'text as it is'");
}

TEST_P(ValueNames, IccProfileOffsetCountsFromTheTiffHeader) {
    if (format().isBig()) {
        GTEST_SKIP() << "a JPEG file holds a classic stream";
    }
    const TiffFile file =
        TiffBuilder(format())
            .add({numbers(kIccProfile, kUndefined, std::vector<std::int64_t>(20, 7))})
            .buildInJpeg();
    EXPECT_EQ(callEntryPoint(file.bytes, {.initialOffset = 12}).value("ICCProfileOffset"),
              std::to_string(file.places[0].data[0] - 12));
}

TEST_P(ValueNames, AFractionOfAFileIsNamedOnce) {
    EXPECT_EQ(callOf({{shorts(41728, {3}), ascii(kArtist, "x")}}).added(),
              "Artist='x' FileSource='DSC'");
}

}  // namespace
}  // namespace fixture
