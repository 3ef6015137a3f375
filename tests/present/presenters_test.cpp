// Every presenter: what it shows, and that a value of an odd shape is left to be shown as it is.

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/tag_list.h"
#include "present/present.h"
#include "write/rendering.h"

namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const std::string kPlain = "(plain)";  // what is expected where no presenter takes the value

using Numbers = std::vector<double>;
using Content = std::variant<Numbers, std::u16string>;
using Fields = std::vector<std::pair<const char*, Content>>;

ifdsweep::ValueHandle valueOf(const Content& content) {
    if (const auto* numbers = std::get_if<Numbers>(&content)) {
        return rendering::numbers(1, numbers->size(), *numbers);
    }
    return rendering::text(std::get<std::u16string>(content));
}

/// The bytes of a text, as numbers.
Numbers bytesOf(std::string_view text) {
    Numbers numbers;
    for (const char byte : text) {
        numbers.push_back(static_cast<unsigned char>(byte));
    }
    return numbers;
}

Numbers operator+(Numbers first, const Numbers& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The code units of a text, two bytes each.
Numbers lowFirst(std::u16string_view text) {
    Numbers numbers;
    for (const char16_t unit : text) {
        numbers.push_back(unit & 0xFF);
        numbers.push_back(unit >> 8);
    }
    return numbers;
}

Numbers highFirst(std::u16string_view text) {
    Numbers numbers;
    for (const char16_t unit : text) {
        numbers.push_back(unit >> 8);
        numbers.push_back(unit & 0xFF);
    }
    return numbers;
}

const Numbers kAscii = bytesOf({"ASCII\0\0\0", 8});
const Numbers kUnicode = bytesOf({"UNICODE\0", 8});
const Numbers kJis = bytesOf({"JIS\0\0\0\0\0", 8});
const Numbers kUndefined(8, 0);

struct Case {
    const char* field;
    Content value;
    std::string expected;
    Fields siblings{};
    ifdsweep::TextLimits limits{};
    ifdsweep::Described described = ifdsweep::Described::itself;
};

class Presenters : public testing::Test {
protected:
    ~Presenters() override { EXPECT_EQ(host.liveValues(), 0U); }

    static std::string shown(std::string_view field, const ifdsweep::ValueHandle& value,
                             const ifdsweep::ValueHandle& records,
                             const ifdsweep::TextLimits& limits = {},
                             ifdsweep::Described described = ifdsweep::Described::itself) {
        bool isPresented = false;
        const std::string text = rendering::rendered([&](ifdsweep::Output& output) {
            isPresented =
                ifdsweep::appendPresented(output, field, *value, *records, 0, limits, described);
        });
        EXPECT_EQ(isPresented, !text.empty()) << field << ": " << text;
        return isPresented ? text : kPlain;
    }

    static void check(const std::vector<Case>& cases) {
        for (const Case& row : cases) {
            std::vector<const char*> names{row.field};
            for (const auto& sibling : row.siblings) {
                names.push_back(sibling.first);
            }
            const auto records = rendering::records(1, names);
            for (const auto& [name, content] : row.siblings) {
                rendering::setField(records, 0, name, valueOf(content));
            }
            const auto value = valueOf(row.value);
            EXPECT_EQ(shown(row.field, value, records, row.limits, row.described), row.expected)
                << row.field;
        }
    }

    ifdsweep::Host host;
    ifdsweep::Host::Scope scope{host};
};

/// Limits with as many digits; 0 for all.
ifdsweep::TextLimits digits(unsigned count) {
    ifdsweep::TextLimits limits;
    limits.digits = count;
    return limits;
}

TEST_F(Presenters, ShowTimesAsPhotographersWriteThem) {
    check({
        {"ExposureTime", Numbers{1.0 / 60}, "1/60 s (0.01667)"},
        {"ExposureTime", Numbers{0.008}, "1/125 s (0.008)"},
        {"ExposureTime", Numbers{0.25}, "1/4 s (0.25)"},
        {"ExposureTime", Numbers{0.0166}, "1/60 s (0.0166)"},
        {"ExposureTime", Numbers{0.28}, "0.28 s"},
        {"ExposureTime", Numbers{0.3}, "0.3 s"},
        {"ExposureTime", Numbers{0.5}, "0.5 s"},
        {"ExposureTime", Numbers{4}, "4 s"},
        {"ExposureTime", Numbers{4.0 / 3}, "1.33333 s"},
        {"ExposureTime", Numbers{4294967295.0}, "4294967295 s"},
        {"ExposureTime", Numbers{1e-12}, "1e-12 s"},
        {"ExposureTime", Numbers{1.0 / 60}, "1/60 s (0.016666666666666666)", {}, digits(0)},
        {"ExposureTime", Numbers{1.0 / 60}, "1/60 s (0.016666667)", {}, digits(8)},
        {"ExposureTime", Numbers{4.0 / 3}, "1.33 s", {}, digits(3)},
        {"ExposureTime", Numbers{0}, kPlain},
        {"ExposureTime", Numbers{-0.01}, kPlain},
        {"ShutterSpeedValue", Numbers{6.965784}, "1/125 s (6.966)"},
        {"ShutterSpeedValue", Numbers{1}, "0.5 s (1)"},
        {"ShutterSpeedValue", Numbers{-5}, "32 s (-5)"},
        {"ShutterSpeedValue", Numbers{2.25}, "0.21 s (2.25)"},
        {"ShutterSpeedValue", Numbers{1.8}, "0.29 s (1.8)"},
        {"ShutterSpeedValue", Numbers{3.836}, "1/14 s (3.836)"},
        {"ShutterSpeedValue", Numbers{64}, "5.4e-20 s (64)"},
        {"ShutterSpeedValue", Numbers{64.5}, kPlain},
        {"ShutterSpeedValue", Numbers{-4294967295.0}, kPlain},
    });
}

TEST_F(Presenters, ShowAperturesAndExposureValues) {
    check({
        {"FNumber", Numbers{2.8}, "f/2.8"},
        {"FNumber", Numbers{16}, "f/16"},
        {"FNumber", Numbers{0.640234375}, "f/0.640234"},
        {"FNumber", Numbers{0}, kPlain},
        {"FNumber", Numbers{-2.8}, kPlain},
        {"ApertureValue", Numbers{2.97}, "f/2.8 (2.97)"},
        {"ApertureValue", Numbers{4.970854}, "f/5.6 (4.971)"},
        {"ApertureValue", Numbers{0}, "f/1 (0)"},
        {"ApertureValue", Numbers{1e9}, kPlain},
        {"MaxApertureValue", Numbers{4}, "f/4 (4)"},
        {"MaxApertureValue", Numbers{4.970854}, "f/5.6 (4.970854)", {}, digits(0)},
        {"ExposureBiasValue", Numbers{1.0 / 3}, "+0.33 EV"},
        {"ExposureBiasValue", Numbers{-0.6500000005960465}, "-0.65 EV"},
        {"ExposureBiasValue", Numbers{0}, "0 EV"},
        {"ExposureBiasValue", Numbers{2}, "+2 EV"},
        {"ExposureBiasValue", Numbers{0.001}, "+0.001 EV"},
        {"ExposureBiasValue", Numbers{-0.9999999995343387}, "-1 EV"},
        {"ExposureBiasValue", Numbers{1.0 / 3}, "+0.3333333333333333 EV", {}, digits(0)},
        {"ExposureBiasValue", Numbers{4294967295.0}, kPlain},
        {"BrightnessValue", Numbers{-1.98}, "-1.98 EV"},
        {"BrightnessValue", Numbers{2.8465517241379312}, "2.84655 EV"},
        {"FlashEnergy", Numbers{37.5}, "37.5 BCPS"},
    });
}

TEST_F(Presenters, ShowLengthsAndDistances) {
    check({
        {"FocalLength", Numbers{57}, "57.0 mm"},
        {"FocalLength", Numbers{8.64}, "8.64 mm"},
        {"FocalLength", Numbers{0}, kPlain},
        {"FocalLength", Numbers{-5}, kPlain},
        {"FocalLength", Numbers{4294967295.0}, kPlain},
        {"FocalLengthIn35mmFilm", Numbers{85}, "85 mm"},
        {"FocalLengthIn35mmFilm", Numbers{0}, "0 (unknown)"},
        {"FocalLengthIn35mmFilm", Numbers{-1}, kPlain},
        {"DigitalZoomRatio", Numbers{1.3}, "1.3x"},
        {"DigitalZoomRatio", Numbers{0}, "0 (not used)"},
        {"SubjectDistance", Numbers{2.5}, "2.5 m"},
        {"SubjectDistance", Numbers{0}, "0 (unknown)"},
        {"SubjectDistance", Numbers{4294967295.0}, "4294967295 (infinity)"},
        {"SubjectDistance", Numbers{42949672.95}, "42949673 (infinity)"},
        {"SubjectDistance", Numbers{4294967294.0}, "4294967294 m"},
        {"SubjectDistance", Numbers{-1}, kPlain},
        {"LensSpecification", Numbers{24, 70, 2.8, 2.8}, "24-70 mm f/2.8"},
        {"LensSpecification", Numbers{18, 55, 3.5, 5.6}, "18-55 mm f/3.5-5.6"},
        {"LensSpecification", Numbers{50, 50, 1.8, 1.8}, "50 mm f/1.8"},
        {"LensSpecification", Numbers{3.99, 3.99, 1.8, 1.8}, "3.99 mm f/1.8"},
        {"LensSpecification", Numbers{18, 55, kNotANumber, kNotANumber}, "18-55 mm f/?"},
        {"LensSpecification", Numbers{18, 55, 3.5, kNotANumber}, "18-55 mm f/3.5-?"},
        {"LensSpecification", Numbers{18, 55, 0, 0}, "18-55 mm f/?"},
        {"LensSpecification", Numbers{0, 0, 0, 0}, kPlain},
        {"LensSpecification", Numbers{18, 55, -1, 5.6}, kPlain},
        {"LensSpecification", Numbers{18, kInfinity, 3.5, 5.6}, kPlain},
        {"LensSpecification", Numbers{18, 55, 3.5}, kPlain},
        {"LensInfo", Numbers{18, 55, kNotANumber, kNotANumber}, "18-55 mm f/?"},
    });
}

TEST_F(Presenters, ShowNumbersWithTheirUnits) {
    const Content inch = u"Inch";
    check({
        {"XResolution", Numbers{300}, "300 per inch", {{"ResolutionUnit", inch}}},
        {"YResolution",
         Numbers{28.34000015743831},
         "28.34 per cm",
         {{"ResolutionUnit", u"Centimeter"}}},
        {"XResolution", Numbers{0}, "0 per inch", {{"ResolutionUnit", inch}}},
        {"XResolution", Numbers{300}, kPlain, {{"ResolutionUnit", u"None"}}},
        {"XResolution", Numbers{300}, kPlain, {{"ResolutionUnit", u"unknown"}}},
        {"XResolution", Numbers{300}, kPlain},
        {"XResolution", Numbers{300, 300}, kPlain, {{"ResolutionUnit", inch}}},
        {"FocalPlaneXResolution",
         Numbers{3954.233409610984},
         "3954.23 per inch",
         {{"FocalPlaneResolutionUnit", Numbers{2}}}},
        {"FocalPlaneYResolution",
         Numbers{94},
         "94 per cm",
         {{"FocalPlaneResolutionUnit", Numbers{3}}}},
        {"FocalPlaneYResolution", Numbers{94}, kPlain, {{"FocalPlaneResolutionUnit", Numbers{4}}}},
        {"FocalPlaneYResolution",
         Numbers{94},
         kPlain,
         {{"FocalPlaneResolutionUnit", Numbers{2, 3}}}},
        {"FocalPlaneYResolution", Numbers{94}, kPlain},
        {"FocalPlaneResolutionUnit", Numbers{2}, "2 (inch)"},
        {"FocalPlaneResolutionUnit", Numbers{4}, kPlain},
        {"CompressedBitsPerPixel", Numbers{3.6458333333333335}, "3.64583 bit/pixel"},
        {"FileSize", Numbers{48123}, "48,123 bytes"},
        {"FileSize", Numbers{0}, "0 bytes"},
        {"FileSize", Numbers{1}, "1 byte"},
        {"FileSize", Numbers{999}, "999 bytes"},
        {"FileSize", Numbers{1000}, "1,000 bytes"},
        {"FileSize", Numbers{1234567890}, "1,234,567,890 bytes"},
        {"FileSize", Numbers{9007199254740992.0}, kPlain},
        {"FileSize", Numbers{-1}, kPlain},
        {"FileSize", Numbers{0.5}, kPlain},
        {"Temperature", Numbers{21.5}, "21.5 °C"},
        {"Humidity", Numbers{40}, "40 %"},
        {"Pressure", Numbers{1013.25}, "1013.25 hPa"},
        {"WaterDepth", Numbers{-3}, "-3 m"},
        {"Acceleration", Numbers{980665}, "980665 mGal"},
        {"CameraElevationAngle", Numbers{-12.5}, "-12.5°"},
        {"GPSHPositioningError", Numbers{165}, "165 m"},
    });
}

TEST_F(Presenters, ShowVersions) {
    check({
        {"ExifVersion", bytesOf("0230"), "2.30"},
        {"ExifVersion", bytesOf("0300"), "3.00"},
        {"ExifVersion", bytesOf("1234"), "12.34"},
        {"ExifVersion", bytesOf("023"), kPlain},
        {"ExifVersion", bytesOf("02300"), kPlain},
        {"ExifVersion", bytesOf("02a0"), kPlain},
        {"ExifVersion", Numbers{220}, kPlain},
        {"ExifVersion", Numbers{48, 50, 51.5, 48}, kPlain},
        {"FlashpixVersion", bytesOf("0100"), "1.00"},
        {"FlashpixVersion", u"0100", kPlain},
        {"InteroperabilityVersion", bytesOf("0100"), "1.00"},
        {"GPSVersionID", Numbers{2, 3, 0, 0}, "2.3.0.0"},
        {"GPSVersionID", Numbers{2, 256, 0, 0}, kPlain},
        {"GPSVersionID", Numbers{2, -1, 0, 0}, kPlain},
        {"GPSVersionID", Numbers{2, 3, 0}, kPlain},
        {"DNGVersion", Numbers{1, 4, 0, 0}, "1.4.0.0"},
        {"DNGBackwardVersion", Numbers{1, 1, 0, 0}, "1.1.0.0"},
    });
}

TEST_F(Presenters, ShowCodesWithTheirWords) {
    check({
        {"NewSubFileType", Numbers{0}, "0 (full-resolution image)"},
        {"NewSubFileType", Numbers{1}, "1 (reduced-resolution image)"},
        {"NewSubFileType", Numbers{6}, "6 (page of a document, transparency mask)"},
        {"NewSubFileType", Numbers{8}, kPlain},
        {"NewSubFileType", Numbers{9}, kPlain},
        {"NewSubFileType", Numbers{-1}, kPlain},
        {"NewSubFileType", Numbers{0.5}, kPlain},
        {"NewSubFileType", Numbers{4294967296.0}, kPlain},
        {"SubFileType", Numbers{3}, "3 (page of a document)"},
        {"SubFileType", Numbers{0}, kPlain},
        {"Orientation", Numbers{1}, "1 (top left)"},
        {"Orientation", Numbers{2}, "2 (top right)"},
        {"Orientation", Numbers{3}, "3 (bottom right)"},
        {"Orientation", Numbers{4}, "4 (bottom left)"},
        {"Orientation", Numbers{5}, "5 (left top)"},
        {"Orientation", Numbers{6}, "6 (right top)"},
        {"Orientation", Numbers{7}, "7 (right bottom)"},
        {"Orientation", Numbers{8}, "8 (left bottom)"},
        {"Orientation", Numbers{0}, kPlain},
        {"Orientation", Numbers{9}, kPlain},
        {"Orientation", Numbers{1.5}, kPlain},
        {"FillOrder", Numbers{2}, "2 (low-order bits first)"},
        {"Thresholding", Numbers{1}, "1 (none)"},
        {"ExtraSamples", Numbers{1}, "1 (associated alpha)"},
        {"ExtraSamples", Numbers{2, 0}, "2 0 (unassociated alpha, unspecified)"},
        {"ExtraSamples", Numbers{2, 3}, kPlain},
        {"ExtraSamples", Numbers(16, 1.0), kPlain, {}, {.elements = 15}},
        {"T4Options", Numbers{0}, "0 (one-dimensional coding)"},
        {"T4Options", Numbers{5}, "5 (two-dimensional coding, fill bits before each EOL)"},
        {"T4Options", Numbers{8}, kPlain},
        {"T6Options", Numbers{0}, "0 (no uncompressed mode)"},
        {"T6Options", Numbers{2}, "2 (uncompressed mode)"},
        {"T6Options", Numbers{1}, kPlain},
        {"CleanFaxData", Numbers{0}, "0 (no bad lines)"},
        {"Indexed", Numbers{1}, "1 (indexed)"},
        {"CFALayout", Numbers{1}, "1 (rectangular)"},
        {"MakerNoteSafety", Numbers{1}, "1 (safe to copy)"},
        {"CalibrationIlluminant1", Numbers{17}, "17 (standard light A)"},
        {"CalibrationIlluminant2", Numbers{21}, "21 (D65)"},
        {"CalibrationIlluminant2", Numbers{99}, kPlain},
        {"ComponentsConfiguration", Numbers{1, 2, 3, 0}, "1 2 3 0 (Y, Cb, Cr, -)"},
        {"ComponentsConfiguration", Numbers{4, 5, 6, 0}, "4 5 6 0 (R, G, B, -)"},
        {"ComponentsConfiguration", Numbers{1, 2, 3, 7}, kPlain},
        {"SensitivityType", Numbers{2}, "2 (recommended exposure index)"},
        {"CompositeImage", Numbers{1}, "1 (not composite)"},
        {"GPSAltitudeRef", Numbers{0}, "0 (above sea level)"},
        {"GPSAltitudeRef", Numbers{1}, "1 (below sea level)"},
        {"GPSAltitudeRef", Numbers{4}, kPlain},
        {"GPSDifferential", Numbers{1}, "1 (with correction)"},
        {"GPSDifferential", Numbers{65535}, kPlain},
        {"GPSStatus", u"A", "A (measuring)"},
        {"GPSStatus", u"V", "V (interrupted)"},
        {"GPSStatus", u"AV", kPlain},
        {"GPSStatus", Numbers{65}, kPlain},
        {"GPSMeasureMode", u"2", "2 (two-dimensional)"},
        {"GPSMeasureMode", u"3", "3 (three-dimensional)"},
        {"GPSMeasureMode", Numbers{3}, kPlain},
        {"GPSSpeedRef", u"M", "M (mph)"},
        {"GPSTrackRef", u"T", "T (true)"},
        {"GPSImgDirectionRef", u"M", "M (magnetic)"},
        {"GPSDestBearingRef", u"t", kPlain},
        {"GPSDestDistanceRef", u"N", "N (nautical miles)"},
        {"InteroperabilityIndex", u"R98", "R98 (basic file)"},
        {"InteroperabilityIndex", u"THM", "THM (thumbnail)"},
        {"InteroperabilityIndex", u"R98\x1b", kPlain},
    });
}

TEST_F(Presenters, ShowWhatAFlashDid) {
    check({
        {"Flash", Numbers{0}, "0 (did not fire)"},
        {"Flash", Numbers{1}, "1 (fired)"},
        {"Flash", Numbers{5}, "5 (fired, return light not detected)"},
        {"Flash", Numbers{7}, "7 (fired, return light detected)"},
        {"Flash", Numbers{9}, "9 (fired, compulsory)"},
        {"Flash", Numbers{16}, "16 (did not fire, suppressed)"},
        {"Flash", Numbers{24}, "24 (did not fire, auto mode)"},
        {"Flash", Numbers{32}, "32 (did not fire, no flash function)"},
        {"Flash", Numbers{65}, "65 (fired, red-eye reduction)"},
        {"Flash", Numbers{95}, "95 (fired, return light detected, auto mode, red-eye reduction)"},
        {"Flash", Numbers{2}, "2 (did not fire, reserved)"},
        {"Flash", Numbers{128}, kPlain},
        {"Flash", Numbers{-1}, kPlain},
    });
}

TEST_F(Presenters, ShowPositionsInDegreesWithTheirDirection) {
    const Numbers london{51, 30, 40.12};
    check({
        {"GPSLatitude", london, R"(51° 30' 40.12" N (51.511144))", {{"GPSLatitudeRef", u"N"}}},
        {"GPSLatitude", london, R"(51° 30' 40.12" S (-51.511144))", {{"GPSLatitudeRef", u"S"}}},
        {"GPSLatitude", london, R"(51° 30' 40.12" (51.511144))"},
        {"GPSLatitude", london, R"(51° 30' 40.12" (51.511144))", {{"GPSLatitudeRef", u"X"}}},
        {"GPSLatitude", london, R"(51° 30' 40.12" (51.511144))", {{"GPSLatitudeRef", u"E"}}},
        {"GPSLatitude", london, R"(51° 30' 40.12" (51.511144))", {{"GPSLatitudeRef", Numbers{78}}}},
        {"GPSLongitude",
         Numbers{1, 54.85, 0},
         R"(1° 54' 51" W (-1.914167))",
         {{"GPSLongitudeRef", u"W"}}},
        {"GPSLongitude", Numbers{180, 0, 0}, R"(180° 0' 0" E (180))", {{"GPSLongitudeRef", u"E"}}},
        {"GPSLongitude", Numbers{0, 0, 0}, R"(0° 0' 0" W (0))", {{"GPSLongitudeRef", u"W"}}},
        {"GPSLongitude",
         Numbers{12, 59, 59.999},
         R"(13° 0' 0" E (13))",
         {{"GPSLongitudeRef", u"E"}}},
        {"GPSLongitude",
         Numbers{1, 54.85, 0},
         R"(1° 54.85' 0" W (-1.9141666666666666))",
         {{"GPSLongitudeRef", u"W"}},
         digits(0)},
        {"GPSLatitude", london, R"(51° 30' 40.1" N (51.5))", {{"GPSLatitudeRef", u"N"}}, digits(3)},
        {"GPSDestLatitude",
         london,
         R"(51° 30' 40.12" S (-51.511144))",
         {{"GPSDestLatitudeRef", u"S"}, {"GPSLatitudeRef", u"N"}}},
        {"GPSDestLongitude",
         london,
         R"(51° 30' 40.12" E (51.511144))",
         {{"GPSDestLongitudeRef", u"E"}}},
        {"GPSLatitude", Numbers{kNotANumber, kNotANumber, kNotANumber}, kPlain},
        {"GPSLatitude", Numbers{51, kInfinity, 0}, kPlain},
        {"GPSLatitude", Numbers{-51, 30, 40}, kPlain},
        {"GPSLatitude", Numbers{91, 0, 0}, kPlain},
        {"GPSLatitude", Numbers{51, 60, 0}, kPlain},
        {"GPSLatitude", Numbers{51, 0, 60}, kPlain},
        {"GPSLatitude", Numbers{51, 30}, kPlain},
        {"GPSLatitude", Numbers{51.5}, kPlain},
        {"GPSLongitude", Numbers{181, 0, 0}, kPlain},
        {"GPSLongitude", Numbers{4294967295.0, 4294967295.0, 4294967295.0}, kPlain},
        {"GPSLatitude", u"51, 30, 40 N", kPlain},
    });
}

TEST_F(Presenters, ShowWhatElseAReceiverTells) {
    check({
        {"GPSAltitude", Numbers{12}, "12 m"},
        {"GPSAltitude", Numbers{12}, "12 m", {{"GPSAltitudeRef", Numbers{0}}}},
        {"GPSAltitude", Numbers{3}, "3 m below sea level", {{"GPSAltitudeRef", Numbers{1}}}},
        {"GPSAltitude", Numbers{3}, "3 m below sea level", {{"GPSAltitudeRef", Numbers{3}}}},
        {"GPSAltitude", Numbers{3}, "3 m", {{"GPSAltitudeRef", Numbers{9}}}},
        {"GPSAltitude", Numbers{3}, "3 m", {{"GPSAltitudeRef", Numbers{1, 1}}}},
        {"GPSAltitude", Numbers{3}, "3 m", {{"GPSAltitudeRef", u"1"}}},
        {"GPSTimeStamp", Numbers{9, 30, 5}, "09:30:05 UTC"},
        {"GPSTimeStamp", Numbers{17, 17, 58.65}, "17:17:58.65 UTC"},
        {"GPSTimeStamp", Numbers{0, 0, 0}, "00:00:00 UTC"},
        {"GPSTimeStamp", Numbers{24, 0, 0}, kPlain},
        {"GPSTimeStamp", Numbers{9.5, 0, 0}, kPlain},
        {"GPSTimeStamp", Numbers{9, 0.5, 0}, kPlain},
        {"GPSTimeStamp", Numbers{104, 52, 17.16}, kPlain},
        {"GPSTimeStamp", Numbers{9, 30, 60}, kPlain},
        {"GPSTimeStamp", Numbers{9, 30}, kPlain},
        {"GPSTimeStamp", Numbers{9, kNotANumber, 0}, kPlain},
        {"GPSSpeed", Numbers{79.63041853512705}, "79.6304 km/h", {{"GPSSpeedRef", u"K"}}},
        {"GPSSpeed", Numbers{30}, "30 mph", {{"GPSSpeedRef", u"M"}}},
        {"GPSSpeed", Numbers{30}, "30 knots", {{"GPSSpeedRef", u"N"}}},
        {"GPSSpeed", Numbers{30}, kPlain, {{"GPSSpeedRef", u""}}},
        {"GPSSpeed", Numbers{30}, kPlain},
        {"GPSDestDistance", Numbers{1.5}, "1.5 nautical miles", {{"GPSDestDistanceRef", u"N"}}},
        {"GPSTrack", Numbers{20}, "20° true", {{"GPSTrackRef", u"T"}}},
        {"GPSImgDirection",
         Numbers{297.87683484008943},
         "297.877° magnetic",
         {{"GPSImgDirectionRef", u"M"}}},
        {"GPSDestBearing", Numbers{20}, "20°"},
        {"GPSTrack", Numbers{360.5}, kPlain, {{"GPSTrackRef", u"T"}}},
        {"GPSTrack", Numbers{-1}, kPlain, {{"GPSTrackRef", u"T"}}},
    });
}

TEST_F(Presenters, ShowEncodedTexts) {
    const std::u16string coded{u"ASCII\0\0\0Hello", 13};
    const std::string longComment = std::string(256, 'x').append(" … 300 characters");
    check({
        {"UserComment", kAscii + bytesOf("Hello"), "Hello"},
        {"UserComment", kAscii + bytesOf({"Hello\0\0\0", 8}), "Hello"},
        {"UserComment", kAscii + bytesOf("Z\xC3\xBCrich"), "Zürich"},
        {"UserComment", kAscii + bytesOf("Z\xFCrich"), "Zürich"},
        {"UserComment", kAscii + bytesOf("\x1b[2J"), R"(\x1b[2J)"},
        {"UserComment", kAscii + bytesOf("   "), R"("   ")"},
        {"UserComment", kAscii, R"("")"},
        {"UserComment", kUndefined + Numbers(100, 0), R"("")"},
        {"UserComment", kUndefined + bytesOf("Hello"), "Hello"},
        {"UserComment", kUndefined + Numbers{1, 2, 3}, kPlain},
        {"UserComment", kJis + bytesOf("\x1b$B"), kPlain},
        {"UserComment", kJis + bytesOf("text"), kPlain},
        {"UserComment", bytesOf("GoogleUploaded"), "GoogleUploaded"},
        {"UserComment", bytesOf({"Hi\0\0", 4}), "Hi"},
        {"UserComment", bytesOf({"Hi\0you", 6}), kPlain},
        {"UserComment", bytesOf("Z\xFCrich"), kPlain},
        {"UserComment", bytesOf("\x1b[2J"), kPlain},
        {"UserComment", u"", kPlain},
        {"UserComment", Numbers{1, 2, 3}, kPlain},
        {"UserComment", Numbers(9, 256), kPlain},
        {"UserComment", Numbers(9, 0.5), kPlain},
        {"UserComment", u"Hello, world", kPlain},
        {"UserComment", coded, "Hello"},
        {"UserComment", kUnicode + lowFirst(u"Zürich"), "Zürich"},
        {"UserComment", kUnicode + highFirst(u"Zürich"), "Zürich"},
        {"UserComment", kUnicode + lowFirst(u"\uFEFFZ"), "Z"},
        {"UserComment", kUnicode + highFirst(u"\uFEFFZ"), "Z"},
        {"UserComment", kUnicode + highFirst(u"東京の夜"), "東京の夜"},
        {"UserComment", kUnicode + lowFirst(u"Привет, мир"), "Привет, мир"},
        {"UserComment", kUnicode + highFirst(u"Привет, мир"), "Привет, мир"},
        {"UserComment", kUnicode + lowFirst({u"Hi\0\0", 4}), "Hi"},
        {"UserComment", kUnicode + lowFirst(u"Hi") + Numbers{0}, "Hi"},
        {"UserComment", kUnicode + lowFirst(u"Hi") + Numbers{7}, kPlain},
        {"UserComment", kUnicode + lowFirst(std::u16string_view(u"a\xD800", 2)), R"(a\ud800)"},
        {"UserComment", kUnicode, R"("")"},
        {"UserComment", kAscii + Numbers(300, 'x'), longComment},
        {"GPSProcessingMethod", kAscii + bytesOf("GPS"), "GPS"},
        {"GPSProcessingMethod", u"NETWORK", kPlain},
        {"GPSAreaInformation", kUnicode + lowFirst(u"Kyiv"), "Kyiv"},
        {"XPTitle", lowFirst({u"Harbour\0", 8}), "Harbour"},
        {"XPComment", lowFirst(u"東京"), "東京"},
        {"XPAuthor", lowFirst(u"a\u202eb"), R"(a\u202eb)"},
        {"XPKeywords", lowFirst(u"sea;sky"), "sea;sky"},
        {"XPSubject", Numbers{0, 0}, R"("")"},
        {"XPSubject", Numbers{65, 0, 66}, kPlain},
        {"XPSubject", u"text", kPlain},
    });
}

TEST_F(Presenters, SayWhatADirectoryOfAJpegLacks) {
    const std::pair<const char*, Content> jpg{"Format", u"jpg"};
    const std::pair<const char*, Content> tif{"Format", u"tif"};
    const std::string lacks = "not in this directory";
    check({
        {"Width", Numbers{0}, lacks, {jpg}},
        {"Height", Numbers{0}, lacks, {jpg}},
        {"BitDepth", Numbers{0}, lacks, {jpg}},
        {"ColorType", Numbers{-1}, lacks, {jpg}},
        {"Width", Numbers{160}, kPlain, {jpg}},
        {"ColorType", Numbers{32}, kPlain, {jpg}},
        {"ColorType", u"YCbCr", kPlain, {jpg}},
        {"Width", Numbers{0}, kPlain, {tif}},
        {"Height", Numbers{0}, kPlain, {tif}},
        {"BitDepth", Numbers{0}, kPlain, {tif}},
        {"ColorType", Numbers{-1}, kPlain, {tif}},
        {"Width", Numbers{0}, kPlain},
        // The tag is there, and says nothing else.
        {"Width", Numbers{0}, kPlain, {jpg, {"Width", Numbers{0}}}},
        {"Height", Numbers{0}, kPlain, {jpg, {"Length", Numbers{0}}}},
        {"BitDepth", Numbers{0}, kPlain, {jpg, {"BitsPerSample", Numbers{0}}}},
        {"ColorType", Numbers{-1}, kPlain, {jpg, {"PhotometricInterpretation", u"unknown"}}},
    });
}

TEST_F(Presenters, SayWhatADirectoryInAContainerLacks) {
    constexpr ifdsweep::Described kContainer = ifdsweep::Described::container;
    const std::pair<const char*, Content> tif{"Format", u"tif"};
    const std::string lacks = "not in this directory";
    check({
        {"Width", Numbers{0}, lacks, {tif}, {}, kContainer},
        {"Height", Numbers{0}, lacks, {}, {}, kContainer},
        {"BitDepth", Numbers{0}, lacks, {tif}, {}, kContainer},
        {"ColorType", Numbers{-1}, lacks, {tif}, {}, kContainer},
        {"Width", Numbers{160}, kPlain, {tif}, {}, kContainer},
        {"Width", Numbers{0}, kPlain, {tif, {"Width", Numbers{0}}}, {}, kContainer},
        {"Height", Numbers{0}, kPlain, {tif, {"Length", Numbers{0}}}, {}, kContainer},
    });
}

TEST_F(Presenters, LeaveEveryOddShapeAsItIs) {
    const auto records = rendering::records(1, {"Format"});
    rendering::setField(records, 0, "Format", rendering::text(u"jpg"));
    for (const std::string_view field : ifdsweep::presentedFields()) {
        const auto isPlain = [&](ifdsweep::ValueHandle value) {
            EXPECT_EQ(shown(field, value, records), kPlain) << field;
        };
        isPlain(rendering::noRecords());
        isPlain(rendering::numbers(1, 0, {}));
        isPlain(rendering::number(kNotANumber));
        isPlain(rendering::number(kInfinity));
        isPlain(rendering::number(-kInfinity));
        isPlain(rendering::numbers(1, 4, {kNotANumber, 1, 1, 1}));
        isPlain(rendering::numbers(1, 5, {-1, -1, -1, -1, -1}));
        isPlain(rendering::numbers(1, 3, {1e300, -1e300, 0.5}));
        isPlain(rendering::text(u"text"));
        isPlain(rendering::emptyText());
        isPlain(rendering::bytes({1, 2, 3, 4}));
        isPlain(rendering::cells(rendering::number(1)));
        isPlain(rendering::cells());
        isPlain(rendering::records(1, {"Format"}));
    }
}

TEST_F(Presenters, AreForFieldsThatThereAre) {
    // Tags that the dictionaries lack.
    std::set<std::string_view> names{"Acceleration",   "CameraElevationAngle",
                                     "CompositeImage", "GPSHPositioningError",
                                     "Humidity",       "LensSpecification",
                                     "Pressure",       "SensitivityType",
                                     "Temperature",    "WaterDepth",
                                     "XPAuthor",       "XPComment",
                                     "XPKeywords",     "XPSubject",
                                     "XPTitle"};
    for (const ifdsweep::TagListing& tag : ifdsweep::listTags()) {
        names.insert(tag.name);
    }
    for (const std::string_view field : ifdsweep::presentedFields()) {
        EXPECT_TRUE(names.contains(field)) << field;
    }
}

TEST_F(Presenters, TakeNoFieldThatHasNone) {
    const auto records = rendering::records(1, {"Make"});
    for (const char* const field : {"", "Make", "ISOSpeedRatings", "MakerNote", "exifversion",
                                    "ExifVersion2", "DateTime", "\xFF", "zzz"}) {
        EXPECT_EQ(shown(field, rendering::number(1), records), kPlain) << field;
    }
}

}  // namespace
