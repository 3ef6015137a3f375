// The two readings of the built program, and what is left in the file: long values, tags that
// nobody asked for.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/tiff_builder.h"

namespace {

using namespace programrun;
using fixture::ascii;
using fixture::Directory;
using fixture::shorts;
using nlohmann::json;

class Readings : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::write(in("damaged.tif"), programfiles::damagedImage());
        std::filesystem::create_directory(in("raw"));
    }

    /// The object of the one file that is read.
    [[nodiscard]] json object(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--format", "ndjson"});
        return json::parse(bothWays(arguments).out);
    }
};

TEST_F(Readings, APyramidOfEightBytePointersIsReadInFull) {
    for (const fixture::ByteOrder order : {fixture::ByteOrder::little, fixture::ByteOrder::big}) {
        fixture::TiffBuilder builder({fixture::Layout::big, order});
        const fixture::Chain level{{shorts(256, {4})}};
        builder.add(
            {shorts(256, {8}), fixture::pointer(330, {level, level, level}, fixture::kIfd8)});
        programfiles::write(in("pyramid.tif"), builder.build().bytes);
        const json full = object({"pyramid.tif"});
        EXPECT_EQ(full["records"][0]["SubIFDs"].size(), 3U);
        EXPECT_TRUE(full["error"].is_null());
        EXPECT_EQ(object({"--reading", "full", "pyramid.tif"}), full);
        EXPECT_EQ(
            object({"--reading", "contract", "pyramid.tif"})["records"][0].contains("SubIFDs"),
            false);
    }
}

TEST_F(Readings, WarningsOfAFullReadingSayWhere) {
    const json full = object({"damaged.tif"});
    const json contract = object({"--reading", "contract", "damaged.tif"});
    ASSERT_EQ(full["warnings"].size(), 2U);
    json without = full;
    for (std::size_t index = 0; index < 2; ++index) {
        const json& warning = full["warnings"][index];
        EXPECT_EQ(warning["path"], "0");
        EXPECT_EQ(warning["tag"], index == 0 ? 315 : 50001);
        EXPECT_TRUE(warning["offset"].is_number_unsigned());
        for (const char* const member : {"path", "tag", "offset"}) {
            without["warnings"][index].erase(member);
        }
    }
    EXPECT_EQ(without, contract);
}

TEST_F(Readings, TagsThatAreNotAskedForAreNotChecked) {
    EXPECT_EQ(object({"--tags", "Width", "damaged.tif"})["warnings"], json::array());
    EXPECT_EQ(object({"--tags", "Width,50001", "damaged.tif"})["warnings"].size(), 1U);
    EXPECT_EQ(object({"--tags", "Artist,UnknownTags", "damaged.tif"})["warnings"].size(), 2U);
    EXPECT_EQ(
        object({"--reading", "contract", "--tags", "Width", "damaged.tif"})["warnings"].size(), 2U);
    EXPECT_EQ(run({"--strict", "--tags", "Width", "damaged.tif"}).status, 0);
}

TEST_F(Readings, LongValuesStayInTheFile) {
    constexpr std::size_t kOfText = 65536;
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::big});
    builder.add({ascii(270, std::string(kOfText, 'x')), ascii(271, std::string(kOfText + 1, 'y')),
                 fixture::longs(60000, std::vector<std::int64_t>(kOfText, 7))});
    const auto text = [&](std::vector<std::string> arguments) {
        arguments.emplace_back("long.tif");
        return bothWays(arguments).out;
    };
    const fixture::TiffFile file = builder.build();
    programfiles::write(in("long.tif"), file.bytes);
    const std::string unknown =
        "60000 (65536 x TIFF_LONG at " + std::to_string(file.places[0].data[2]) + ')';
    const std::string described =
        "Make (65537 x TIFF_ASCII at " + std::to_string(file.places[0].data[1]) + "), " + unknown;
    const std::string warning =
        "  warning: values longer than 65536 bytes are not loaded, 2 of them: " + described +
        " (valuesNotLoaded)\n";
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"--max-value", "65536"}, {"--shorten", "4096"}}) {
        const std::string shown = text(arguments);
        EXPECT_TRUE(shown.ends_with(warning)) << shown;
        EXPECT_NE(shown.find("  ImageDescription "), std::string::npos) << shown;
        EXPECT_EQ(shown.find("  Make "), std::string::npos) << shown;
    }
    EXPECT_NE(text({"--max-value", "65537"}).find(" are not loaded, 1 of them: " + unknown),
              std::string::npos);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--max-value", "all"},
          {"--shorten", "all"},
          {"--reading", "contract"}}) {
        EXPECT_EQ(text(arguments).find("not loaded"), std::string::npos);
        EXPECT_NE(text(arguments).find("  Make "), std::string::npos);
    }
    // What nobody asked for is no damage.
    EXPECT_EQ(bothWays({"--strict", "long.tif"}).status, 0);
    const json all = object({"long.tif"});
    EXPECT_EQ(all["records"][0]["Make"].get<std::string>().size(), kOfText + 1);
    const json cut = object({"--max-value", "65536", "long.tif"});
    EXPECT_TRUE(cut["records"][0]["Make"].is_null());
    EXPECT_TRUE(cut["records"][0]["UnknownTags"][0]["Value"].is_null());
    EXPECT_EQ(cut["warnings"][0]["id"], "ifdsweep:valuesNotLoaded");
    EXPECT_EQ(cut["warnings"][0]["arguments"], json({2, 65536, described}));
}

TEST_F(Readings, FoldersAreSearchedForTheRelativesOfTiffToo) {
    const struct {
        const char* name;
        std::uint16_t version;
        fixture::ByteOrder order;
    } kRelatives[]{{"a.rw2", 0x55, fixture::ByteOrder::little},
                   {"b.orf", 0x4F52, fixture::ByteOrder::little},
                   {"c.orf", 0x5352, fixture::ByteOrder::little},
                   {"d.orf", 0x4F52, fixture::ByteOrder::big},
                   {"e.jxr", 0x01BC, fixture::ByteOrder::little},
                   {"f.dcp", 0x4352, fixture::ByteOrder::little}};
    std::string lines = "File,Directory,Width\r\n";
    for (const auto& relative : kRelatives) {
        fixture::TiffBuilder builder({fixture::Layout::classic, relative.order});
        builder.add({shorts(256, {4})}).withVersion(relative.version);
        const std::string name = std::string("raw/") + relative.name;
        programfiles::write(in(name), builder.build().bytes);
        lines += name + ",0,4\r\n";
        for (const char* const option : {"--output", "--failures", "--resume"}) {
            const Ending given =
                run({option, name, "--format", "csv", "--tags", "Width", "damaged.tif"});
            EXPECT_EQ(given.status, 2) << name;
            EXPECT_EQ(given.error, "ifdsweep: " + name + " is an image and is left as it is\n");
        }
    }
    EXPECT_EQ(run({"--format", "csv", "--tags", "Width", "raw"}).out, lines);
    const Ending contract =
        run({"--reading", "contract", "--format", "csv", "--tags", "Width", "raw"});
    EXPECT_EQ(contract.out, "File,Directory,Width\r\n");
    EXPECT_NE(contract.error.find("no images: 6 files"), std::string::npos) << contract.error;
}

}  // namespace
