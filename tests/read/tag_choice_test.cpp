// What --tags chooses, and what it says when nothing has that name.

#include "read/tag_choice.h"

#include <algorithm>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/tag_list.h"
#include "program/program_run.h"
#include "text/nearest_names.h"

namespace {

using Names = std::vector<std::string>;

/// The chosen fields; unknown tags behind "#".
Names chosen(std::string_view list) {
    const ifdsweep::TagChoice choice = ifdsweep::chooseTags(list);
    EXPECT_EQ(choice.complaint, "") << list;
    Names names;
    for (const ifdsweep::ChosenField& field : choice.fields) {
        names.push_back((field.unknownId ? "#" : "") + field.name);
        if (field.unknownId) {
            EXPECT_EQ(field.name, std::to_string(*field.unknownId));
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
};

class TagChoice : public testing::TestWithParam<Case> {};

TEST_P(TagChoice, ChoosesInTheOrderAskedFor) {
    EXPECT_EQ(chosen(GetParam().list), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(All, TagChoice, testing::ValuesIn(kCases));

TEST(TagChoiceComplaint, Names) {
    const std::pair<const char*, const char*> rows[] = {
        {"Mkae", "--tags: no tag is named Mkae, nearest: Make"},
        {"make", "--tags: no tag is named make, nearest: Make"},
        {"Make,", "--tags: no tag is named \"\""},
        {"", "--tags: no tag is named \"\""},
        {"Make,,Model", "--tags: no tag is named \"\""},
        {" Make", "--tags: no tag is named  Make, nearest: Make"},
        {"Zzzzzzzzzzzzzzzzzzzz", "--tags: no tag is named Zzzzzzzzzzzzzzzzzzzz"},
        {"Zz*", "--tags: no tag is named Zz*"},
        {"65536", "--tags: 65536 is no tag number (0 to 65535)"},
        {"0x10000", "--tags: 0x10000 is no tag number (0 to 65535)"},
        {"0x", "--tags: 0x is no tag number (0 to 65535)"},
        {"0xg", "--tags: 0xg is no tag number (0 to 65535)"},
        {"27O", "--tags: 27O is no tag number (0 to 65535)"},
        {"99999999999999999999", "--tags: 99999999999999999999 is no tag number (0 to 65535)"},
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
    for (const ifdsweep::TagListing& listing : ifdsweep::listTags()) {
        dictionaries.insert(listing.dictionary);
        EXPECT_EQ(chosen(listing.name), Names{std::string(listing.name)});
        if (listing.id) {
            const Names byNumber = chosen(std::to_string(*listing.id));
            EXPECT_NE(std::find(byNumber.begin(), byNumber.end(), listing.name), byNumber.end())
                << listing.name;
        }
    }
    EXPECT_EQ(dictionaries,
              (std::set<std::string_view>{"TIFF", "GPS", "Interoperability", "record"}));
}

TEST(TagList, ALineForEveryName) {
    const auto lines = programrun::linesOf(ifdsweep::tagListText());
    EXPECT_EQ(lines.size(), ifdsweep::listTags().size());
    for (const char* const line :
         {"-\tBitDepth\trecord", "256\tWidth\tTIFF", "257\tHeight\tTIFF", "271\tMake\tTIFF",
          "2\tGPSLatitude\tGPS", "1\tInteroperabilityIndex\tInteroperability"}) {
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
    }
    // No field is called so, and no two lines are of one tag.
    EXPECT_EQ(ifdsweep::tagListText().find("\tLength\t"), std::string::npos);
    EXPECT_EQ(ifdsweep::tagListText().find("-\tHeight\t"), std::string::npos);
}

}  // namespace
