// --check of the built program: in every format, with what else chooses and counts warnings, alone
// and through workers.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/tiff_builder.h"

namespace {

using namespace programrun;
using fixture::longs;
using fixture::shorts;
using nlohmann::json;

/// A grey image of 16 x 8 pixels in two strips behind its directory.
fixture::TiffFile stripImage() {
    constexpr std::int64_t kData = 256;
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    builder.add({shorts(256, {16}), shorts(257, {8}), shorts(258, {8}), shorts(262, {1}),
                 fixture::ascii(271, std::string_view("Maker\0", 6)),
                 longs(273, {kData, kData + 64}), shorts(277, {1}), shorts(278, {4}),
                 longs(279, {64, 64})});
    fixture::TiffFile file = builder.build();
    file.bytes.resize(kData + 128);
    return file;
}

class Checking : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        fixture::Bytes bytes = stripImage().bytes;
        programfiles::write(in("sound.tif"), bytes);
        bytes.pop_back();
        programfiles::write(in("cut.tif"), bytes);
    }

    [[nodiscard]] json object(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--format", "ndjson"});
        return json::parse(bothWays(arguments).out);
    }
};

constexpr const char* kFinding =
    "  warning: Directory 0, tag 273: 1 of 2 strips reach past the end of the file, first strip 1: "
    "64 bytes at position 320 (imageDataPastEOF)\n";

TEST_F(Checking, IsNotDoneUnlessAskedFor) {
    EXPECT_EQ(bothWays({"--strict", "cut.tif"}).status, 0);
    EXPECT_EQ(object({"cut.tif"})["warnings"], json::array());
}

TEST_F(Checking, ShowsWhatItFindsInText) {
    const Ending cut = bothWays({"--check", "cut.tif"});
    EXPECT_TRUE(cut.out.ends_with(kFinding)) << cut.out;
    EXPECT_EQ(cut.status, 0);
    const Ending sound = bothWays({"--check", "--strict", "sound.tif"});
    EXPECT_EQ(sound.out.find("warning"), std::string::npos) << sound.out;
    EXPECT_EQ(sound.status, 0);
}

TEST_F(Checking, ShowsWhatItFindsInEveryOtherFormat) {
    const json warning = object({"--check", "cut.tif"})["warnings"][0];
    EXPECT_EQ(warning["id"], "ifdsweep:imageDataPastEOF");
    EXPECT_EQ(warning["arguments"], json({"strip", 1, 1, 2, 320, 64}));
    EXPECT_EQ(warning["path"], "0");
    EXPECT_EQ(warning["tag"], 273);
    EXPECT_EQ(warning["offset"], 70);
    const json typed = json::parse(bothWays({"--check", "--format", "typed", "cut.tif"}).out);
    EXPECT_EQ(typed["warnings"][0]["id"], "ifdsweep:imageDataPastEOF");
    const auto facts = linesOf(bothWays({"--check", "--format", "facts", "cut.tif"}).out);
    EXPECT_EQ(json::parse(facts.back())["warning"], warning);
    EXPECT_EQ(run({"--check", "--strict", "--format", "csv", "cut.tif"}).status, 3);
}

TEST_F(Checking, CountsAsEveryWarningDoes) {
    EXPECT_EQ(bothWays({"--check", "--strict", "cut.tif"}).status, 3);
    EXPECT_EQ(bothWays({"--check", "--strict", "sound.tif", "cut.tif"}).status, 3);
    EXPECT_EQ(bothWays({"--check", "--strict", "--ignore", "imageDataPastEOF", "cut.tif"}).status,
              0);
    EXPECT_EQ(bothWays({"--check", "--strict", "--warnings", "none", "cut.tif"}).status, 3);
    EXPECT_EQ(object({"--check", "--warnings", "count", "cut.tif"})["warnings"],
              json::parse(R"([{"id": "ifdsweep:imageDataPastEOF", "count": 1}])"));
}

TEST_F(Checking, ReadsWhatItNeedsAndShowsWhatIsAskedFor) {
    for (const std::string format : {"text", "ndjson", "typed", "csv", "facts"}) {
        const std::string plain = bothWays({"--tags", "Make", "--format", format, "sound.tif"}).out;
        EXPECT_EQ(bothWays({"--check", "--tags", "Make", "--format", format, "sound.tif"}).out,
                  plain)
            << format;
        EXPECT_EQ(bothWays({"--check", "--strict", "--tags", "Make", "--format", format, "cut.tif"})
                      .status,
                  3)
            << format;
    }
    EXPECT_EQ(object({"--check", "--tags", "Make", "cut.tif"})["records"],
              json::parse(R"([{"Make": "Maker"}])"));
}

TEST_F(Checking, LoadsLongValuesUnlessTheyAreLeftOut) {
    constexpr std::int64_t kStrips = 20'000;  // more than 64 KiB of offsets
    constexpr std::int64_t kData = 400'000;
    std::vector<std::int64_t> offsets;
    for (std::int64_t strip = 0; strip < kStrips; ++strip) {
        offsets.push_back(kData + strip);
    }
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::big});
    builder.add({shorts(256, {1}), shorts(257, {kStrips}), shorts(258, {8}), longs(273, offsets),
                 shorts(278, {1}), longs(279, std::vector<std::int64_t>(kStrips, 1))});
    fixture::Bytes bytes = builder.build().bytes;
    bytes.resize(kData + kStrips - 1);
    programfiles::write(in("long.tif"), bytes);
    const std::string found = "19999: 1 bytes at position 419999 (imageDataPastEOF)\n";
    const std::string shown = bothWays({"--check", "long.tif"}).out;
    EXPECT_TRUE(shown.ends_with(found)) << shown;
    EXPECT_EQ(shown.find("not loaded"), std::string::npos);
    const json cut = object({"--check", "--max-value", "65536", "long.tif"});
    EXPECT_EQ(cut["warnings"].back()["id"], "ifdsweep:imageDataNotChecked");
    EXPECT_EQ(cut["warnings"].back()["arguments"], json({"StripOffsets, StripByteCounts"}));
    EXPECT_EQ(bothWays({"--check", "--max-value", "65536", "--strict", "long.tif"}).status, 3);
}

}  // namespace
