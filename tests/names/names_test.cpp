// The tables of names: none stands twice, and none is in the way of a field's own name.

#include <algorithm>
#include <cctype>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/tag_list.h"
#include "names/known_names.h"
#include "names/other_names.h"
#include "names/public_tags.h"

namespace {

using ifdsweep::DirectoryKind;
using ifdsweep::KnownName;
using ifdsweep::NamedPlace;
using ifdsweep::OtherName;
using ifdsweep::OtherNames;
using ifdsweep::PublicTag;
using ifdsweep::TagListing;

constexpr DirectoryKind kKinds[]{DirectoryKind::primary, DirectoryKind::gps,
                                 DirectoryKind::interoperability, DirectoryKind::exif};

std::string_view dictionaryOf(DirectoryKind kind) {
    return kind == DirectoryKind::gps                ? "GPS"
           : kind == DirectoryKind::interoperability ? "Interoperability"
                                                     : "TIFF";
}

std::string lowerCase(std::string_view name) {
    std::string lower;
    std::transform(name.begin(), name.end(), std::back_inserter(lower),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return lower;
}

/// Whether a name can stand in a list of --tags and in a completion without quotes.
bool isWord(std::string_view name) {
    return !name.empty() && std::isalpha(static_cast<unsigned char>(name.front())) != 0 &&
           std::all_of(name.begin(), name.end(), [](unsigned char letter) {
               return std::isalnum(letter) != 0 || letter == '_';
           });
}

TEST(PublicTags, AscendWithoutRepetition) {
    for (const DirectoryKind kind : kKinds) {
        const auto tags = ifdsweep::publicTags(kind);
        const auto place = std::adjacent_find(tags.begin(), tags.end(),
                                              [](const PublicTag& left, const PublicTag& right) {
                                                  return left.number >= right.number;
                                              });
        EXPECT_EQ(place, tags.end()) << place->name;
    }
}

TEST(PublicTags, AreWhatTheDictionariesLack) {
    const std::vector<TagListing> listings = ifdsweep::listTags();
    for (const DirectoryKind kind : kKinds) {
        for (const PublicTag& tag : ifdsweep::publicTags(kind)) {
            EXPECT_TRUE(isWord(tag.name)) << tag.name;
            EXPECT_TRUE(std::none_of(listings.begin(), listings.end(), [&](const TagListing& row) {
                return row.id == tag.number && row.dictionary == dictionaryOf(kind);
            })) << tag.name;
        }
    }
}

TEST(PublicTags, HaveNamesInTheirKindOfDirectoryAlone) {
    struct Case {
        std::uint16_t tag;
        std::string_view inTiff;
        std::string_view inGps;
    };
    constexpr Case kCases[]{{42036, "LensModel", ""},
                            {42032, "CameraOwnerName", ""},
                            {42044, "MetadataEditingSoftware", ""},
                            {42045, "", ""},
                            {40093, "XPAuthor", ""},
                            {519, "JPEGQTables", ""},
                            {518, "", ""},
                            {59933, "OffsetSchema", ""},
                            {31, "", "GPSHPositioningError"},
                            {30, "", ""},
                            {271, "", ""},  // the dictionary names it
                            {0, "", ""},
                            {65535, "", ""}};
    for (const Case& row : kCases) {
        EXPECT_EQ(ifdsweep::publicTagName(DirectoryKind::primary, row.tag), row.inTiff) << row.tag;
        EXPECT_EQ(ifdsweep::publicTagName(DirectoryKind::exif, row.tag), row.inTiff) << row.tag;
        EXPECT_EQ(ifdsweep::publicTagName(DirectoryKind::gps, row.tag), row.inGps) << row.tag;
        EXPECT_EQ(ifdsweep::publicTagName(DirectoryKind::interoperability, row.tag), "") << row.tag;
    }
}

/// The tags that Exif 2.32 and 3.0 have beyond Exif 2.2, by their numbers in the standards.
TEST(PublicTags, HaveAllThatExifAddedSinceVersion22) {
    const std::map<std::uint16_t, std::string_view> added{
        {0x8830, "SensitivityType"},
        {0x8831, "StandardOutputSensitivity"},
        {0x8832, "RecommendedExposureIndex"},
        {0x8833, "ISOSpeed"},
        {0x8834, "ISOSpeedLatitudeyyy"},
        {0x8835, "ISOSpeedLatitudezzz"},
        {0x9010, "OffsetTime"},
        {0x9011, "OffsetTimeOriginal"},
        {0x9012, "OffsetTimeDigitized"},
        {0x9400, "Temperature"},
        {0x9401, "Humidity"},
        {0x9402, "Pressure"},
        {0x9403, "WaterDepth"},
        {0x9404, "Acceleration"},
        {0x9405, "CameraElevationAngle"},
        {0xA430, "CameraOwnerName"},
        {0xA431, "BodySerialNumber"},
        {0xA432, "LensSpecification"},
        {0xA433, "LensMake"},
        {0xA434, "LensModel"},
        {0xA435, "LensSerialNumber"},
        {0xA436, "ImageTitle"},
        {0xA437, "Photographer"},
        {0xA438, "ImageEditor"},
        {0xA439, "CameraFirmware"},
        {0xA43A, "RAWDevelopingSoftware"},
        {0xA43B, "ImageEditingSoftware"},
        {0xA43C, "MetadataEditingSoftware"},
        {0xA460, "CompositeImage"},
        {0xA461, "SourceImageNumberOfCompositeImage"},
        {0xA462, "SourceExposureTimesOfCompositeImage"},
        {0xA500, "Gamma"}};
    for (const auto& [tag, name] : added) {
        EXPECT_EQ(ifdsweep::publicTagName(DirectoryKind::exif, tag), name);
    }
}

TEST(OtherNames, AscendInEachSource) {
    for (const OtherNames& source : ifdsweep::otherNames()) {
        EXPECT_TRUE(std::is_sorted(source.rows.begin(), source.rows.end(),
                                   [](const OtherName& left, const OtherName& right) {
                                       return left.number < right.number;
                                   }))
            << source.source;
    }
}

TEST(OtherNames, AreOfTheTagThatTheirFieldIsNamedAfter) {
    const std::vector<KnownName> known = ifdsweep::listKnownNames();
    for (const OtherNames& source : ifdsweep::otherNames()) {
        for (const OtherName& row : source.rows) {
            EXPECT_TRUE(isWord(row.name)) << row.name;
            EXPECT_EQ(std::count_if(known.begin(), known.end(),
                                    [&](const KnownName& each) {
                                        return each.name == row.field && each.number == row.number;
                                    }),
                      1)
                << row.number << ' ' << row.name << ' ' << row.field;
        }
    }
}

/// So a name in any case of its letters can mean one thing only.
TEST(KnownNames, DifferInMoreThanCase) {
    std::map<std::string, std::string_view> fieldOf;
    for (const KnownName& known : ifdsweep::listKnownNames()) {
        std::vector<std::string_view> names = known.others;
        names.push_back(known.name);
        std::set<std::string_view> own;
        for (const std::string_view name : names) {
            EXPECT_TRUE(own.insert(name).second) << name << " stands twice";
            const auto [place, isNew] = fieldOf.emplace(lowerCase(name), known.name);
            EXPECT_TRUE(isNew || place->second == known.name)
                << name << " is " << place->second << " and " << known.name;
        }
    }
}

TEST(KnownNames, AreTheFieldsAndAmongThemThePublicTags) {
    const std::vector<KnownName> known = ifdsweep::listKnownNames();
    std::vector<KnownName> fields;
    std::copy_if(known.begin(), known.end(), std::back_inserter(fields),
                 [](const KnownName& each) { return each.place == NamedPlace::field; });
    const std::vector<TagListing> listings = ifdsweep::listTags();
    ASSERT_EQ(fields.size(), listings.size());
    for (std::size_t row = 0; row < listings.size(); ++row) {
        EXPECT_EQ(fields[row].name, listings[row].name);
        EXPECT_EQ(fields[row].number, listings[row].id);
        EXPECT_EQ(fields[row].dictionary, listings[row].dictionary);
    }
    EXPECT_EQ(known.size() - fields.size(), ifdsweep::publicTags(DirectoryKind::exif).size() +
                                                ifdsweep::publicTags(DirectoryKind::gps).size());
    for (std::size_t row = 1; row < known.size(); ++row) {
        if (known[row].dictionary == known[row - 1].dictionary && known[row].number) {
            EXPECT_LT(known[row - 1].number, known[row].number) << known[row].name;
        }
    }
}

TEST(KnownNames, StandEachOnceInTheListOfAll) {
    const std::vector<KnownName> known = ifdsweep::listKnownNames();
    const std::vector<std::string_view> names = ifdsweep::allNames(known);
    EXPECT_EQ(std::set<std::string_view>(names.begin(), names.end()).size(), names.size());
    for (const std::string_view name :
         {"BitDepth", "Width", "ImageWidth", "Length", "LensModel", "GPSHPositioningError", "ISO",
          "PhotographicSensitivity", "ExifIFD", "UnknownTags"}) {
        EXPECT_EQ(std::count(names.begin(), names.end(), name), 1) << name;
    }
}

}  // namespace
