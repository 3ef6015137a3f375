// What options make of the output and the exit status of the built program.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/csv_reader.h"
#include "support/tags.h"
#include "support/tiff_builder.h"
#include "support/whole_file.h"

namespace {

using namespace programrun;
using fixture::ByteOrder;
using fixture::Directory;
using fixture::Layout;
using fixture::TiffBuilder;
using nlohmann::json;

class Options : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::write(in("small.tif"), programfiles::image(7));
        programfiles::write(in("nested.tif"), programfiles::nestedImage());
        programfiles::write(in("damaged.tif"), programfiles::damagedImage());
        programfiles::write(in("photo.jpg"), programfiles::photo());
    }
};

TEST_F(Options, DigitsOfText) {
    const auto shown = [&](const std::string& digits) {
        const Ending given =
            run({"--digits", digits, "--tags", "ExposureTime", "--warnings", "none", "nested.tif"});
        EXPECT_EQ(given.status, 0) << given.error;
        return given.out.substr(given.out.find("1/60"));
    };
    EXPECT_EQ(shown("2"), "1/60 s (0.017)\n\n  Directory 1\n");
    EXPECT_EQ(shown("17"), "1/60 s (0.016666666666666666)\n\n  Directory 1\n");
    EXPECT_EQ(shown("all"), shown("17"));
}

TEST_F(Options, TextShowsUnitsAndDirectionsOfFieldsThatNobodyAskedFor) {
    const Directory gps{fixture::ascii(1, std::string_view("S\0", 2)),
                        fixture::numbers(2, fixture::kRational, {51, 1, 30, 1, 36, 1})};
    const Directory whole{fixture::numbers(282, fixture::kRational, {300, 1}),
                          fixture::shorts(296, {3}),
                          fixture::pointer(330, {{Directory{fixture::shorts(296, {2})}}}),
                          fixture::pointer(34853, {{gps}})};
    fixture::writeFile(in("units.tif"),
                       TiffBuilder({Layout::classic, ByteOrder::little}).add(whole).build().bytes);
    const auto shown = [&](std::vector<std::string> arguments) {
        arguments.emplace_back("units.tif");
        return run(arguments).out;
    };
    EXPECT_EQ(shown({"--tags", "GPSLatitude,XResolution"}), R"(units.tif

  Directory 0
    XResolution  300 per cm
    GPSInfo
      Directory 0/GPSInfo/0
        GPSLatitude  51° 30' 36" S (-51.51)
)");
    EXPECT_EQ(shown({"--tags", "GPSLatitude", "--format", "ndjson"}),
              R"({"file":"units.tif","initialOffset":0,"records":[{"GPSInfo":)"
              R"([{"GPSLatitude":[51,30,36]}]}],"warnings":[],"error":null})"
              "\n");
    // What is asked for as a whole is shown whole.
    EXPECT_NE(shown({"--tags", "GPSInfo"}).find("GPSLatitudeRef  S\n"), std::string::npos);
    fixture::writeFile(in("units.jpg"), TiffBuilder({Layout::classic, ByteOrder::big})
                                            .add(Directory{fixture::shorts(274, {1})})
                                            .buildInJpeg()
                                            .bytes);
    EXPECT_EQ(run({"--tags", "Height,ColorType", "units.jpg"}).out, R"(units.jpg

  Directory 0
    Height     not in this directory
    ColorType  not in this directory
)");
}

TEST_F(Options, TagsInEveryFormat) {
    const std::vector<std::string> files{"nested.tif", "damaged.tif"};
    const auto runWith = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(),
                         {"--tags", "ExposureTime,256,50000", "--warnings", "none"});
        arguments.insert(arguments.end(), files.begin(), files.end());
        const Ending given = run(arguments);
        EXPECT_EQ(given.status, 0) << given.error;
        return given.out;
    };
    EXPECT_EQ(runWith({}), R"(nested.tif

  Directory 0
    Width  4
    SubIFDs
      Directory 0/SubIFDs[0]/0
        Width  4
    DigitalCamera
      Directory 0/DigitalCamera/0
        ExposureTime  1/60 s (0.01667)

  Directory 1
    Width  4

damaged.tif

  Directory 0
    Width  4
    50000  1 2 3
)");
    const std::string objects =
        R"({"file":"nested.tif","initialOffset":0,"records":[{"Width":4,"SubIFDs":[[{"Width":4}]],)"
        R"("DigitalCamera":[{"ExposureTime":0.016666666666666666}]},)"
        R"({"Width":4,"SubIFDs":null,"DigitalCamera":null}],"warnings":[],"error":null})"
        "\n"
        R"({"file":"damaged.tif","initialOffset":0,"records":[{"Width":4,"50000":[1,2,3]}],"warnings":[],)"
        R"("error":null})"
        "\n";
    EXPECT_EQ(runWith({"--format", "ndjson"}), objects);
    const auto lines = linesOf(objects);
    const json array = json::array({json::parse(lines[0]), json::parse(lines[1])});
    EXPECT_EQ(json::parse(runWith({"--format", "json"})), array);
    EXPECT_EQ(json::parse(runWith({"--format", "json", "--pretty"})), array);
    EXPECT_EQ(json::parse(runWith({"--format", "json", "--compact"})), array);
    const auto typedLines = linesOf(runWith({"--format", "typed"}));
    ASSERT_EQ(typedLines.size(), 2U);
    EXPECT_EQ(json::parse(typedLines[0])["result"]["fields"],
              json({"Width", "SubIFDs", "DigitalCamera"}));
    EXPECT_EQ(json::parse(typedLines[1])["result"]["fields"], json({"Width", "50000"}));
    EXPECT_EQ(runWith({"--format", "csv"}),
              "File,ExposureTime,Width,50000\r\n"
              "nested.tif,0.016666666666666666,4,\r\n"
              "damaged.tif,,4,1 2 3\r\n");
    EXPECT_EQ(runWith({"--format", "csv", "--rows", "directory"}),
              "File,Directory,ExposureTime,Width,50000\r\n"
              "nested.tif,0,,4,\r\n"
              "nested.tif,1,,4,\r\n"
              "damaged.tif,0,,4,1 2 3\r\n");
    EXPECT_EQ(runWith({"--format", "csv", "--nested"}),
              "File,Directory,ExposureTime,Width,50000\r\n"
              "nested.tif,0,,4,\r\n"
              "nested.tif,0/SubIFDs[0]/0,,4,\r\n"
              "nested.tif,0/DigitalCamera/0,0.016666666666666666,,\r\n"
              "nested.tif,1,,4,\r\n"
              "damaged.tif,0,,4,1 2 3\r\n");
}

/// A photo whose Exif directory has tags that no dictionary names.
fixture::Bytes photoByALens() {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    const fixture::Directory exif{fixture::shorts(34855, {200}), fixture::ascii(42036, "F2 35")};
    const fixture::Directory gps{fixture::shorts(31, {5}), fixture::shorts(42036, {6})};
    builder.add({fixture::shorts(256, {4}), fixture::shorts(257, {3}), fixture::shorts(31, {8}),
                 fixture::pointer(fixture::kExif, {{exif}}),
                 fixture::pointer(fixture::kGps, {{gps}})});
    return builder.build().bytes;
}

TEST_F(Options, TagsByEveryNameThatTheyHave) {
    programfiles::write(in("lens.tif"), photoByALens());
    const auto records = [&](const std::string& tags) {
        const Ending given = run({"--tags", tags, "--format", "ndjson", "lens.tif"});
        EXPECT_EQ(given.status, 0) << given.error;
        return json::parse(given.out)["records"].dump();
    };
    EXPECT_EQ(run({"--tags", "lensmodel,ImageLength,256,ISO,gpshPositioningError", "--format",
                   "csv", "--nested", "lens.tif"})
                  .out,
              "File,Directory,LensModel,Height,Width,ISOSpeedRatings,GPSHPositioningError\r\n"
              "lens.tif,0,,3,4,,\r\n"
              "lens.tif,0/DigitalCamera/0,F2 35,,,200,\r\n"
              "lens.tif,0/GPSInfo/0,,,,,5\r\n");
    EXPECT_EQ(records("LensModel"), R"([{"DigitalCamera":[{"LensModel":"F2 35"}]}])");
    EXPECT_EQ(records("42036"),
              R"([{"DigitalCamera":[{"42036":"F2 35"}],"GPSInfo":[{"42036":6}]}])");
    EXPECT_EQ(records("GPSHPositioningError"), R"([{"GPSInfo":[{"GPSHPositioningError":5}]}])");
    for (const char* const height : {"257", "0x101", "Height", "imagelength", "ImageHeight"}) {
        EXPECT_EQ(records(height), R"([{"Height":3}])") << height;
    }
    for (const char* const width : {"256", "width", "ImageWidth"}) {
        EXPECT_EQ(records(width), R"([{"Width":4}])") << width;
    }
    for (const char* const sensitivity : {"34855", "isospeedratings", "PhotographicSensitivity"}) {
        EXPECT_EQ(records(sensitivity), R"([{"DigitalCamera":[{"ISOSpeedRatings":200}]}])");
    }
}

TEST_F(Options, NdjsonIsWhatJsonHolds) {
    const auto array = json::parse(run({"--format", "json", "nested.tif", "damaged.tif"}).out);
    const auto lines = linesOf(run({"--format", "ndjson", "nested.tif", "damaged.tif"}).out);
    ASSERT_EQ(lines.size(), array.size());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        EXPECT_EQ(json::parse(lines[index]), array[index]);
    }
    const auto compact = run({"--format", "json", "--compact", "nested.tif", "damaged.tif"}).out;
    EXPECT_EQ(json::parse(compact), array);
    EXPECT_EQ(compact.find('\n'), compact.size() - 1);
}

TEST_F(Options, CsvWithoutTagsHasTheColumnsThatOccur) {
    const auto lines = linesOf(run({"--format", "csv", "damaged.tif", "photo.jpg"}).out);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].find("File,Directory,Filename,"), 0U);
    EXPECT_NE(lines[0].find(",Make"), std::string::npos);
    EXPECT_NE(lines[0].find(",BitsPerSample"), std::string::npos);
    EXPECT_EQ(lines[0].find("UnknownTags"), std::string::npos);
    EXPECT_EQ(lines[1].find("damaged.tif,0,damaged.tif,"), 0U);
}

class Tables : public ProgramRun {
protected:
    /// A photo, a page of two directories, a file whose texts and name a spreadsheet would run, one
    /// with a name that is no UTF-8, and one that cannot be read.
    void SetUp() override {
        ProgramRun::SetUp();
        std::filesystem::create_directory(in("archive"));
        const auto ascii = [](std::uint16_t tag, std::string_view text) {
            return fixture::ascii(tag, std::string(text) + '\0');
        };
        const fixture::Directory exif{
            fixture::numbers(33437, fixture::kRational, {28, 10}),
            ascii(36867, "2024:05:06 07:08:09"),
            fixture::pointer(40965, {{fixture::Directory{ascii(1, "R98")}}})};
        const fixture::Directory position{
            ascii(1, "N"), fixture::numbers(2, fixture::kRational, {51, 1, 28, 1, 4012, 100})};
        fixture::TiffBuilder photo({fixture::Layout::classic, fixture::ByteOrder::little});
        photo.add({ascii(271, "Maker, Ltd"), fixture::pointer(34665, {{exif}}),
                   fixture::pointer(34853, {{position}})});
        programfiles::write(in("archive/photo.jpg"), photo.buildInJpeg().bytes);
        fixture::TiffBuilder scan({fixture::Layout::big, fixture::ByteOrder::big});
        scan.add({fixture::shorts(256, {4}), ascii(271, "")});
        scan.add({fixture::shorts(256, {5}), ascii(271, "Second")});
        programfiles::write(in("archive/scan.tif"), scan.build().bytes);
        fixture::TiffBuilder formulas({fixture::Layout::classic, fixture::ByteOrder::big});
        formulas.add({ascii(271, "=cmd|' /C calc'!A0"), ascii(272, "-1"), ascii(305, "a\n;+b"),
                      fixture::numbers(65000, fixture::kSLong, {-1, -2})});
        programfiles::write(in("archive/=1.tif"), formulas.build().bytes);
        programfiles::write(in("archive/caf\xE9.tif"), programfiles::image(7));
        programfiles::write(in("archive/letter.tif"), {'d', 'e', 'a', 'r'});
    }

    /// What is printed of the archive, by one process and by several.
    [[nodiscard]] std::string tableOf(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--all", "--format", "csv"});
        arguments.emplace_back("archive");
        const Ending one = run(arguments);
        EXPECT_EQ(one.status, 1) << one.error;
        arguments.insert(arguments.begin(), {"--jobs", "3"});
        EXPECT_EQ(run(arguments).out, one.out);
        return one.out;
    }
};

TEST_F(Tables, AFileHasOneRowWithWhatItsDirectoriesHold) {
    const std::string table =
        "File,Make,DateTimeOriginal,FNumber,GPSLatitude,InteroperabilityIndex\r\n"
        "archive/=1.tif,'=cmd|' /C calc'!A0,,,,\r\n"
        "archive/caf\\xe9.tif,,,,,\r\n"
        "archive/photo.jpg,\"Maker, Ltd\",2024:05:06 07:08:09,2.8,51 28 40.12,R98\r\n"
        "archive/scan.tif,Second,,,,\r\n";
    const std::string tags = "Make,DateTimeOriginal,FNumber,GPSLatitude,InteroperabilityIndex";
    EXPECT_EQ(tableOf({"--tags", tags}), table);
    EXPECT_EQ(tableOf({"--tags", tags, "--rows", "file"}), table);
    EXPECT_EQ(tableOf({"--tags", "271,0x9003", "--tags", "33437,GPSLatitude", "--tags",
                       "InteroperabilityInde?"}),
              table);
    EXPECT_EQ(tableOf({"--tags", "Make,FNumber", "--rows", "nested"}),
              "File,Directory,Make,FNumber\r\n"
              "archive/=1.tif,0,'=cmd|' /C calc'!A0,\r\n"
              "archive/caf\\xe9.tif,0,,\r\n"
              "archive/photo.jpg,0,\"Maker, Ltd\",\r\n"
              "archive/photo.jpg,0/DigitalCamera/0,,2.8\r\n"
              "archive/scan.tif,0,,\r\n"
              "archive/scan.tif,1,Second,\r\n");
}

TEST_F(Tables, WithoutTagsTheRowOfAFileHasEveryFieldThatOccurs) {
    const auto rows = fixture::rowsOf(tableOf({"--rows", "file"}));
    ASSERT_EQ(rows.size(), 5U);
    const auto cellOf = [&rows](std::size_t row, const char* column) {
        const auto place = std::find(rows[0].begin(), rows[0].end(), column);
        EXPECT_NE(place, rows[0].end()) << column;
        return rows[row].at(static_cast<std::size_t>(place - rows[0].begin()));
    };
    EXPECT_EQ(rows[0][0], "File");
    EXPECT_EQ(rows[0][1], "Filename");
    EXPECT_EQ(cellOf(3, "FNumber"), "2.8");
    EXPECT_EQ(cellOf(3, "GPSLatitude"), "51 28 40.12");
    EXPECT_EQ(cellOf(4, "Width"), "4");
    EXPECT_EQ(cellOf(4, "Make"), "Second");
    EXPECT_EQ(cellOf(2, "Filename"), "archive/caf\\xe9.tif");
    EXPECT_EQ(std::find(rows[0].begin(), rows[0].end(), "GPSInfo"), rows[0].end());
}

TEST_F(Tables, NoTextIsRunAndNumbersStay) {
    EXPECT_EQ(run({"--format", "csv", "--tags", "Make,Model,Software,65000", "archive/=1.tif"}).out,
              "File,Directory,Make,Model,Software,65000\r\n"
              "archive/=1.tif,0,'=cmd|' /C calc'!A0,'-1,a\\n\\x3b+b,-1 -2\r\n");
    EXPECT_EQ(run({"--format", "csv", "--tags", "Make,Model,Software,65000", "--raw-cells",
                   "archive/=1.tif"})
                  .out,
              "File,Directory,Make,Model,Software,65000\r\n"
              "archive/=1.tif,0,=cmd|' /C calc'!A0,-1,\"a\n;+b\",-1 -2\r\n");
    Launch launch;
    launch.arguments = {"--format", "csv", "--tags", "Width", "=1.tif", "./caf\xE9.tif"};
    launch.prepare = [folder = in("archive")] { static_cast<void>(::chdir(folder.c_str())); };
    EXPECT_EQ(run(launch).out, "File,Directory,Width\r\n'=1.tif,0,0\r\n./caf\\xe9.tif,0,7\r\n");
}

TEST_F(Tables, AColumnThatNothingCouldFillIsWrongUsage) {
    const Ending given = run({"--format", "csv", "--tags", "Make,GPSInfo", "archive"});
    EXPECT_EQ(given.status, 2);
    EXPECT_EQ(given.out, "");
    EXPECT_EQ(given.error,
              "ifdsweep: --tags: GPSInfo holds directories, which have no cell: name their fields, "
              "or use --format json; run ifdsweep --help for help\n");
    EXPECT_EQ(run({"--format", "json", "--tags", "Make,GPSInfo", "archive/scan.tif"}).status, 0);
}

TEST_F(Tables, AnObjectHasTheBytesOfANameThatIsNoUtf8) {
    for (const char* const jobs : {"1", "2"}) {
        const auto files = json::parse(
            run({"--jobs", jobs, "--all", "--format", "json", "--tags", "Make", "archive"}).out);
        ASSERT_EQ(files.size(), 5U);
        EXPECT_EQ(files[1]["file"], "archive/caf\uFFFD.tif");
        EXPECT_EQ(files[1]["fileBytes"], "YXJjaGl2ZS9jYWbpLnRpZg==");
        EXPECT_FALSE(files[0].contains("fileBytes"));
        EXPECT_EQ(files[0]["initialOffset"], 0);
        EXPECT_FALSE(files[2]["error"].is_null());
        EXPECT_EQ(files[2]["initialOffset"], 0);
        EXPECT_EQ(files[3]["initialOffset"], 12);
    }
}

TEST_F(Options, Warnings) {
    const auto file = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--format", "ndjson", "damaged.tif"});
        return json::parse(run(arguments).out);
    };
    const json each = file({})["warnings"];
    ASSERT_EQ(each.size(), 2U);
    const std::string first = each[0]["id"];
    const std::string second = each[1]["id"];
    EXPECT_EQ(file({"--warnings", "each"})["warnings"], each);
    EXPECT_EQ(file({"--warnings", "none"})["warnings"], json::array());
    EXPECT_EQ(file({"--warnings", "count"})["warnings"],
              json::array({{{"id", first}, {"count", 1}}, {{"id", second}, {"count", 1}}}));
    const std::string shortId = first.substr(first.rfind(':') + 1);
    for (const std::string& id : {first, shortId}) {
        EXPECT_EQ(file({"--ignore", id})["warnings"], json::array({each[1]}));
    }
    EXPECT_EQ(file({"--ignore", first, "--ignore", second})["warnings"], json::array());

    const Ending text = run({"--warnings", "count", "damaged.tif"});
    EXPECT_NE(text.out.find("  warning: 1 of " + shortId + '\n'), std::string::npos) << text.out;
    EXPECT_EQ(run({"--warnings", "none", "damaged.tif"}).out.find("warning"), std::string::npos);
}

TEST_F(Options, Strict) {
    const std::string first = "expectedTagDataFormat";
    const std::string second = "tagDataPastEOF";
    const std::pair<std::vector<std::string>, int> rows[] = {
        {{"damaged.tif"}, 0},
        {{"--strict", "damaged.tif"}, 3},
        {{"--strict", "damaged.tif", "small.tif"}, 3},
        {{"--strict", "small.tif", "nested.tif"}, 0},
        {{"--strict", "--warnings", "none", "damaged.tif"}, 3},
        {{"--strict", "--warnings", "count", "damaged.tif", "small.tif"}, 3},
        {{"--strict", "--ignore", first, "damaged.tif"}, 3},
        {{"--strict", "--ignore", first, "--ignore", second, "damaged.tif"}, 0},
        {{"--strict", "--ignore", first, "--ignore", second, "damaged.tif", "small.tif"}, 0},
        {{"--strict", "damaged.tif", "none.tif"}, 1},
        {{"--strict", "none.tif"}, 1},
        {{"--strict", "--bogus", "damaged.tif"}, 2},
    };
    for (const auto& [arguments, status] : rows) {
        EXPECT_EQ(run(arguments).status, status) << testing::PrintToString(arguments);
    }
}

TEST_F(Options, TheSummaryTellsOfMoreThanOneFile) {
    EXPECT_EQ(run({"damaged.tif"}).error, "");
    EXPECT_EQ(run({"--jobs", "2", "damaged.tif"}).error, "");
    EXPECT_EQ(run({"damaged.tif", "nested.tif", "damaged.tif"}).error,
              "ifdsweep: 3 files read, 0 failed, 4 directories\n"
              "ifdsweep:   2 warnings expectedTagDataFormat\n"
              "ifdsweep:   2 warnings tagDataPastEOF\n");
    EXPECT_EQ(
        run({"--warnings", "none", "--ignore", "tagDataPastEOF", "damaged.tif", "none.tif"}).error,
        "ifdsweep: none.tif: the file does not exist "
        "(statFailure)\n"
        "ifdsweep: 1 file read, 1 failed, 1 directory\n"
        "ifdsweep:   1 warning expectedTagDataFormat\n");
}

TEST_F(Options, QuietLeavesOutTheSummaryAndNoFailure) {
    const Ending loud = run({"damaged.tif", "none.tif"});
    const Ending quiet = run({"-q", "damaged.tif", "none.tif"});
    EXPECT_EQ(quiet.out, loud.out);
    EXPECT_EQ(quiet.status, 1);
    EXPECT_EQ(quiet.error, linesOf(loud.error)[0] + '\n');
    EXPECT_EQ(run({"--quiet", "damaged.tif", "nested.tif"}).error, "");
}

TEST_F(Options, ColoursAreWhereTheyAreAskedFor) {
    const auto isColoured = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--color", "always", "small.tif"});
        const Ending given = run(arguments);
        EXPECT_EQ(given.status, 0) << given.error;
        return given.out.find("\x1b[") != std::string::npos;
    };
    EXPECT_TRUE(isColoured({}));
    EXPECT_TRUE(isColoured({"nested.tif"}));
    EXPECT_FALSE(isColoured({"--json"}));
    EXPECT_FALSE(isColoured({"--json", "nested.tif"}));
    EXPECT_FALSE(isColoured({"--csv", "nested.tif"}));
    EXPECT_EQ(run({"small.tif", "nested.tif"}).out.find('\x1b'), std::string::npos);
    EXPECT_EQ(run({"--color", "always", "-o", "text", "small.tif"}).status, 0);
    EXPECT_EQ(fixture::readFile(in("text")), run({"--color=always", "small.tif"}).out);
}

TEST_F(Options, OnlyImagesOfAFolderAreRead) {
    const std::pair<const char*, std::string> rows[] = {
        {"letter.txt", "Dear sir"},
        {"empty.tif", ""},
        {"short.tif", "II*"},
        {"plain.jpg", "\xFF\xD8\xFF\xE0" + std::string("\0\4ab", 4) + "\xFF\xD9"},
        {"wrong.tif", std::string("II\0*\0\0\0\0", 8)},
    };
    for (const auto& [name, bytes] : rows) {
        fixture::writeFile(in(name), bytes);
    }
    fixture::TiffBuilder big({fixture::Layout::big, fixture::ByteOrder::little});
    programfiles::write(in("no_ending"), big.add(fixture::Directory{}).build().bytes);
    const Ending sniffed = run({"--format", "ndjson", "."});
    EXPECT_EQ(sniffed.status, 0) << sniffed.error;
    EXPECT_EQ(linesOf(sniffed.out).size(), 5U);
    EXPECT_EQ(linesOf(sniffed.error)[0],
              "ifdsweep: 5 files read, 0 failed, 5 directories; no images: 5 files");
    const Ending all = run({"--format", "ndjson", "--all", "."});
    EXPECT_EQ(all.status, 1);
    EXPECT_EQ(linesOf(all.out).size(), 10U);
    EXPECT_NE(all.error.find("ifdsweep: 5 files read, 5 failed, 5 directories\n"),
              std::string::npos)
        << all.error;
}

TEST_F(Options, Shorten) {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    std::vector<std::int64_t> values(20);
    builder.add(fixture::Directory{fixture::longs(273, values),
                                   fixture::ascii(315, std::string(300, 'x'))});
    programfiles::write(in("long.tif"), builder.build().bytes);
    const auto text = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--tags", "StripOffsets,Artist", "long.tif"});
        return run(arguments).out;
    };
    EXPECT_NE(text({}).find(" … 20 values, all 0\n"), std::string::npos);
    EXPECT_NE(text({}).find(" … 300 characters\n"), std::string::npos);
    EXPECT_NE(text({"--shorten", "3"}).find("StripOffsets  0 0 0 … 20 values, all 0\n"),
              std::string::npos);
    EXPECT_NE(text({"--shorten", "3"})
                  .find("Artist        " + std::string(48, 'x') + " … 300 characters\n"),
              std::string::npos);
    for (const char* const most : {"20", "all", "18446744073709551615"}) {
        EXPECT_EQ(text({"--shorten", most}).find("..."), std::string::npos) << most;
        EXPECT_EQ(text({"--shorten", most}).find("…"), std::string::npos) << most;
    }
    EXPECT_NE(text({"--shorten", "19"}).find("… 20 values"), std::string::npos);
}

TEST_F(Options, InformationIsPrinted) {
    const Ending tags = run({"--list-tags"});
    EXPECT_EQ(tags.status, 0);
    EXPECT_EQ(linesOf(tags.out).size(), 362U);
    EXPECT_NE(tags.out.find("\n42036\tLensModel\tTIFF, in UnknownTags\n"), std::string::npos);
    EXPECT_EQ(tags.error, "");
    const Ending message = run({"--explain", "tagDataPastEOF"});
    EXPECT_EQ(message.status, 0);
    EXPECT_EQ(linesOf(message.out).size(), 4U);
    const Ending misspelt = run({"--explain", "tagDataPastEOV"});
    EXPECT_EQ(misspelt.status, 2);
    EXPECT_NE(misspelt.error.find("nearest: tagDataPastEOF"), std::string::npos);
    const Ending name = run({"--tags", "Widht", "none.tif"});
    EXPECT_EQ(name.status, 2);
    EXPECT_EQ(linesOf(name.error).size(), 1U);
    EXPECT_NE(name.error.find("no tag is named Widht, nearest: Width"), std::string::npos);
}

}  // namespace
