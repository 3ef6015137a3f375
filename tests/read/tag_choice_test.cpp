// What --tags chooses, and what it says when nothing has that name.

#include "read/tag_choice.h"

#include <algorithm>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "names/known_names.h"
#include "program/program_run.h"
#include "text/letter_case.h"
#include "text/nearest_names.h"

namespace {

using Names = std::vector<std::string>;

/// The chosen fields; unknown tags behind "#", and with their number where they have a name.
Names chosen(std::string_view list) {
    const ifdsweep::TagChoice choice = ifdsweep::chooseTags(list);
    EXPECT_EQ(choice.complaint, "") << list;
    Names names;
    for (const ifdsweep::ChosenField& field : choice.fields) {
        names.push_back((field.unknownId ? "#" : "") + field.name);
        if (field.unknownId && field.name != std::to_string(*field.unknownId)) {
            names.back() += '=' + std::to_string(*field.unknownId);
        }
    }
    return names;
}

struct Case {
    const char* list;
    Names expected;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.list;
}

const Case kCases[] = {
    {"Make", {"Make"}},
    {"Model,Make", {"Model", "Make"}},
    {"Make,Model,Make", {"Make", "Model"}},
    {"BitDepth", {"BitDepth"}},
    {"UnknownTags", {"UnknownTags"}},
    {"270", {"ImageDescription"}},
    {"0x10e", {"ImageDescription"}},
    {"0X10E", {"ImageDescription"}},
    {"00270", {"ImageDescription"}},
    {"270,ImageDescription,0x10e", {"ImageDescription"}},
    // A number has a name in each dictionary that knows it.
    {"1", {"GPSLatitudeRef", "InteroperabilityIndex"}},
    // These two tags are the size of the image, whatever their dictionary calls them.
    {"256,257", {"Width", "Height"}},
    {"Length,Height,0x101,Width", {"Height", "Width"}},
    {"Leng[t]h", {"Height"}},
    {"50000", {"#50000"}},
    {"0xC350,50000", {"#50000"}},
    {"65001,0", {"#65001", "GPSVersionID"}},
    {"GPSL*", {"GPSLatitudeRef", "GPSLatitude", "GPSLongitudeRef", "GPSLongitude"}},
    {"GPSLongitude,GPSL*", {"GPSLongitude", "GPSLatitudeRef", "GPSLatitude", "GPSLongitudeRef"}},
    {"Tile[WL]*th", {"TileWidth", "TileLength"}},
    {"Mak?", {"Make"}},
    // Numbers beside 256 and 257 that are the standard's first, and those that the record is made
    // of.
    {"254,255", {"NewSubFileType", "SubFileType"}},
    {"258,262,277", {"BitsPerSample", "PhotometricInterpretation", "SamplesPerPixel"}},
    // In any case, once.
    {"make,MAKE,mAkE", {"Make"}},
    {"filename,bitdepth,unknowntags", {"Filename", "BitDepth", "UnknownTags"}},
    {"gpsl*", {"GPSLatitudeRef", "GPSLatitude", "GPSLongitudeRef", "GPSLongitude"}},
    {"TILE[wl]*TH", {"TileWidth", "TileLength"}},
    {"gdal_?odata", {"GDAL_NODATA"}},
    // Names of standards and of other programs.
    {"ImageLength,imagewidth", {"Height", "Width"}},
    {"length", {"Height"}},
    {"NewSubfileType,SubfileType,OldSubfileType", {"NewSubFileType", "SubFileType"}},
    {"PhotographicSensitivity,ISO,ISOSpeedRatings", {"ISOSpeedRatings"}},
    {"ExifIFD,ExifTag,ExifOffset", {"DigitalCamera"}},
    {"GPSInfoIFDPointer,GPSTag", {"GPSInfo"}},
    {"InteroperabilityTag", {"InteroperabilityIFD"}},
    {"ColorMap,Photometric,IPTC", {"Colormap", "PhotometricInterpretation", "ITPC"}},
    {"CreateDate,modifydate", {"DateTimeDigitized", "DateTime"}},
    {"InteropIndex", {"InteroperabilityIndex"}},
    {"ImageL*", {"Height", "ImageLayer"}},
    // Tags that the dictionaries lack.
    {"LensModel,lensmake", {"#LensModel=42036", "#LensMake=42035"}},
    {"42036", {"#42036"}},
    {"42036,LensModel", {"#42036", "#LensModel=42036"}},
    {"31,gpshpositioningerror", {"#31", "#GPSHPositioningError=31"}},
    {"SerialNumber", {"#BodySerialNumber=42033"}},
    {"AmbientTemp*", {"#Temperature=37888"}},
    {"xp[tc]*", {"#XPTitle=40091", "#XPComment=40092"}},
    {"GPSD[OI]*,GPSH*", {"GPSDOP", "GPSDifferential", "#GPSHPositioningError=31"}},
};

class TagChoice : public testing::TestWithParam<Case> {};

TEST_P(TagChoice, ChoosesInTheOrderAskedFor) {
    EXPECT_EQ(chosen(GetParam().list), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(All, TagChoice, testing::ValuesIn(kCases));

TEST(TagChoiceComplaint, Names) {
    const std::pair<const char*, const char*> rows[] = {
        {"Mkae", "no tag is named Mkae, nearest: Make"},
        {"mkae", "no tag is named mkae, nearest: Make"},
        {"LensMoel", "no tag is named LensMoel, nearest: LensModel"},
        {"ImageWidht", "no tag is named ImageWidht, nearest: ImageWidth"},
        {"Make,", "no tag is named \"\""},
        {"", "no tag is named \"\""},
        {"Make,,Model", "no tag is named \"\""},
        {" Make", "no tag is named  Make, nearest: Make"},
        {"Zzzzzzzzzzzzzzzzzzzz", "no tag is named Zzzzzzzzzzzzzzzzzzzz"},
        {"Zz*", "no tag is named Zz*"},
        {"65536", "65536 is no tag number (0 to 65535)"},
        {"0x10000", "0x10000 is no tag number (0 to 65535)"},
        {"0x", "0x is no tag number (0 to 65535)"},
        {"0xg", "0xg is no tag number (0 to 65535)"},
        {"27O", "27O is no tag number (0 to 65535)"},
        {"99999999999999999999", "99999999999999999999 is no tag number (0 to 65535)"},
    };
    for (const auto& [list, complaint] : rows) {
        EXPECT_EQ(ifdsweep::chooseTags(list).complaint.find(complaint), 0U)
            << list << ": " << ifdsweep::chooseTags(list).complaint;
    }
}

TEST(TagChoiceComplaint, TheNearestStandFirst) {
    const auto nearest = [](std::string_view word) {
        return ifdsweep::nearestNames(word,
                                      {"Width", "Height", "CellWidth", "TileWidth", "Windth"});
    };
    EXPECT_EQ(nearest("Widht"), "Width");
    EXPECT_EQ(nearest("Widthh"), "Width, Windth");
    EXPECT_EQ(nearest("width"), "Width, Windth");
    EXPECT_EQ(nearest("TileWidht"), "TileWidth");
    EXPECT_EQ(nearest("XXXXX"), "");
    EXPECT_EQ(ifdsweep::nearestNames("a", {"a1", "a2", "a3", "a1", "a4"}), "a1, a2, a3");
    EXPECT_EQ(ifdsweep::nearestNames("a", {}), "");
}

TEST(TagList, EveryNameCanBeChosen) {
    std::set<std::string_view> dictionaries;
    for (const ifdsweep::KnownName& known : ifdsweep::listKnownNames()) {
        dictionaries.insert(known.dictionary);
        const std::string name(known.name);
        const std::string number = known.number ? std::to_string(*known.number) : "";
        const bool isField = known.place == ifdsweep::NamedPlace::field;
        const Names expected{isField ? name : '#' + name + '=' + number};
        std::vector<std::string> names(known.others.begin(), known.others.end());
        names.push_back(name);
        for (const std::string& each : names) {
            EXPECT_EQ(chosen(each), expected);
            std::string other = each;
            std::transform(other.begin(), other.end(), other.begin(), ifdsweep::lowerCase);
            EXPECT_EQ(chosen(other), expected);
        }
        if (known.number) {
            const Names byNumber = chosen(number);
            EXPECT_EQ(std::count(byNumber.begin(), byNumber.end(), isField ? name : '#' + number),
                      1)
                << name;
        }
    }
    EXPECT_EQ(dictionaries,
              (std::set<std::string_view>{"TIFF", "GPS", "Interoperability", "record"}));
}

TEST(TagList, ALineForEveryName) {
    const auto lines = programrun::linesOf(ifdsweep::tagListText());
    EXPECT_EQ(lines.size(), ifdsweep::listKnownNames().size());
    for (const char* const line :
         {"-\tBitDepth\trecord", "256\tWidth\tTIFF\talso: ImageWidth",
          "257\tHeight\tTIFF\talso: Length, ImageLength, ImageHeight", "271\tMake\tTIFF",
          "34855\tISOSpeedRatings\tTIFF\talso: PhotographicSensitivity, ISO",
          "42036\tLensModel\tTIFF, in UnknownTags",
          "42033\tBodySerialNumber\tTIFF, in UnknownTags\talso: SerialNumber",
          "31\tGPSHPositioningError\tGPS, in UnknownTags", "2\tGPSLatitude\tGPS",
          "1\tInteroperabilityIndex\tInteroperability\talso: InteropIndex"}) {
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
    }
    // No field is called so, and no two lines are of one tag.
    EXPECT_EQ(ifdsweep::tagListText().find("\tLength\t"), std::string::npos);
    EXPECT_EQ(ifdsweep::tagListText().find("-\tHeight\t"), std::string::npos);
}

}  // namespace
