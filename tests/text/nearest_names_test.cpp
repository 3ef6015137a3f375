// What somebody who misspelt a word may have meant.

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "text/nearest_names.h"

namespace {

struct Row {
    std::string word;
    std::vector<std::string_view> candidates;
    std::string nearest;
};

const std::vector<Row> kRows{
    {"Widht", {"Width", "Height", "Length"}, "Width"},
    {"widht", {"Width"}, "Width"},
    {"Heigth", {"Width", "Height", "Weight"}, "Height"},
    // One that is much nearer than the others was meant.
    {"GPSLattitude", {"GPSLatitude", "GPSDestLatitude", "GPSLongitude"}, "GPSLatitude"},
    // The beginning of a name stands for the name.
    {"Lens", {"LensModel", "LensMake", "Len"}, "Len, LensMake, LensModel"},
    {"shutterspeed", {"ShutterSpeedValue", "Flash"}, "ShutterSpeedValue"},
    {"Ex", {"ExposureTime"}, ""},
    // A short word is like all others when two of its letters may differ.
    {"Foo", {"ISO", "Fo", "Flash"}, "Fo"},
    {"abc", {"xyz"}, ""},
    {"", {"a"}, "a"},
    {"Make", {}, ""},
    {"Make", {"Make1", "Make1", "Make2", "Make3", "Make4"}, "Make1, Make2, Make3"},
};

TEST(NearestNames, AreFewAndNear) {
    for (const Row& row : kRows) {
        EXPECT_EQ(ifdsweep::nearestNames(row.word, row.candidates), row.nearest) << row.word;
    }
}

}  // namespace
