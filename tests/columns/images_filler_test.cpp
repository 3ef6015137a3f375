// Rows of image directories: what columns take of entries, where directories lie, and what does
// not fit.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "columns/directory_paths.h"
#include "columns/table_cells.h"
#include "hostile/hostile_builders.h"
#include "ifdsweep/table_layout.h"
#include "pack/packed_files.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace {

using namespace std::string_view_literals;

using fixture::ascii;
using fixture::Cells;
using fixture::Directory;
using fixture::doubles;
using fixture::Entry;
using fixture::floats;
using fixture::longs;
using fixture::numbers;
using fixture::only;
using fixture::pointer;
using fixture::shorts;
using ifdsweep::Layout;

class ImagesFillerTest : public fixture::TiffMatrix {
protected:
    [[nodiscard]] static std::vector<Cells> rowsOf(const fixture::Chain& chain,
                                                   const ifdsweep::FillLimits& limits = {},
                                                   const ifdsweep::ReadOptions& options = {}) {
        return fixture::cellsOf(fixture::packed(fileOf(chain).bytes, options), Layout::images,
                                limits);
    }
    /// The row of a file with one directory of these entries.
    [[nodiscard]] static Cells rowOf(const Directory& directory,
                                     const ifdsweep::FillLimits& limits = {},
                                     const ifdsweep::ReadOptions& options = {}) {
        const std::vector<Cells> rows = rowsOf({directory}, limits, options);
        EXPECT_EQ(rows.size(), 1U);
        return rows.empty() ? Cells() : rows.front();
    }
};

INSTANTIATE_TEST_SUITE_P(EveryFormat, ImagesFillerTest, testing::ValuesIn(fixture::kFormats),
                         fixture::formatName);

TEST_P(ImagesFillerTest, ColumnsHaveTheTypesOfTheirTagsWhateverTheFileHas) {
    struct Row {
        Entry entry;
        Cells cells;
        std::vector<std::string> names;  ///< the columns that are looked at
    };
    const Row kRows[] = {
        {longs(256, {4294967295}), {{"Width", "4294967295"}}, {"Width"}},
        {shorts(256, {7}), {{"Width", "7"}}, {"Width"}},
        {shorts(256, {7, 8}), {}, {"Width"}},
        {shorts(258, {8, 8, 8}), {{"BitsPerSample", "[8 8 8]"}}, {"BitsPerSample"}},
        {shorts(259, {5}),
         {{"Compression", "LZW"}, {"Compression_code", "5"}},
         {"Compression", "Compression_code"}},
        {shorts(259, {64000}),
         {{"Compression", "unknown"}, {"Compression_code", "64000"}},
         {"Compression_code", "Compression"}},
        {ascii(271, "Canon\0"sv), {{"Make", "Canon"}}, {"Make"}},
        {ascii(271, "\xE9\0"sv), {{"Make", "\xC3\xA9"}}, {"Make"}},
        {ascii(271, "\0"sv), {{"Make", ""}}, {"Make"}},
        {shorts(271, {1, 2}), {{"misfit_tags", "[271]"}}, {"Make", "misfit_tags"}},
        {numbers(282, fixture::kRational, {300, 7}),
         {{"XResolution", "42.857142857142854"}},
         {"XResolution"}},
        {numbers(282, fixture::kRational, {300, 0}),
         {{"invalid_tags", "[282]"}},
         {"XResolution", "invalid_tags"}},
        {numbers(318, fixture::kRational, {1, 2, 3, 0}),
         {{"WhitePoint", "[0.5 null]"}, {"invalid_tags", "[318]"}},
         {"WhitePoint", "invalid_tags"}},
        {ascii(306, "2024:05:17 09:30:00\0"sv),
         {{"DateTime", "2024:05:17 09:30:00"}, {"DateTime_parsed", "1715938200000000"}},
         {"DateTime", "DateTime_parsed", "invalid_tags"}},
        {ascii(306, "0000:00:00 00:00:00\0"sv),
         {{"DateTime", "0000:00:00 00:00:00"}},
         {"DateTime", "DateTime_parsed", "invalid_tags"}},
        {ascii(306, "yesterday\0"sv),
         {{"DateTime", "yesterday"}, {"invalid_tags", "[306]"}},
         {"DateTime", "DateTime_parsed", "invalid_tags"}},
        {numbers(40091, fixture::kByte, {'h', 0, 'i', 0, 0, 0}), {{"XPTitle", "hi"}}, {"XPTitle"}},
        {numbers(33550, fixture::kDouble, {}), {}, {"ModelPixelScaleTag", "misfit_tags"}},
        {floats(340, {1.5F, std::numeric_limits<float>::quiet_NaN()}),
         {{"SMinSampleValue", "[1.5 NaN]"}},
         {"SMinSampleValue"}},
        {shorts(290, {3}), {{"GrayResponseUnit", "0.001"}}, {"GrayResponseUnit"}},
        {shorts(290, {7}), {{"GrayResponseUnit", "7"}}, {"GrayResponseUnit"}},
        {shorts(256, {7}), {{"GrayResponseUnit", "0.01"}}, {"GrayResponseUnit"}},
        {numbers(700, fixture::kByte, {'<', 'x', '/', '>'}), {{"XMP", "<x/>"}}, {"XMP"}},
        {ascii(36867, "2024:05:17 09:30:00\0"sv),
         {{"Exif_DateTimeOriginal_parsed", "1715938200000000"}},
         {"Exif_DateTimeOriginal_parsed"}},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE("tag " + std::to_string(row.entry.tag));
        EXPECT_EQ(only(rowOf({row.entry}), row.names), row.cells);
    }
}

TEST_P(ImagesFillerTest, ARowHasExifGpsAndInteroperabilityDataOfItsDirectory) {
    const Directory interoperability{ascii(1, "R98\0"sv)};
    const Directory exif{
        numbers(33437, fixture::kRational, {28, 10}), ascii(36881, "+05:30\0"sv),
        numbers(37510, fixture::kUndefined, {'A', 'S', 'C', 'I', 'I', 0, 0, 0, 'h', 'i'}),
        pointer(fixture::kInterop, {{interoperability}})};
    const Directory gps{ascii(1, "S\0"sv),
                        numbers(2, fixture::kRational, {33, 1, 30, 1, 36, 1}),
                        ascii(3, "E\0"sv),
                        numbers(4, fixture::kRational, {151, 1, 15, 1, 0, 1}),
                        numbers(5, fixture::kByte, {1}),
                        numbers(6, fixture::kRational, {25, 2})};
    const Cells row = rowOf(
        {shorts(256, {1}), pointer(fixture::kExif, {{exif}}), pointer(fixture::kGps, {{gps}})});
    EXPECT_EQ(
        only(row,
             {"Exif_FNumber", "Exif_OffsetTimeOriginal", "Exif_OffsetTimeOriginal_minutes",
              "Exif_UserComment", "Interop_InteroperabilityIndex", "GPSLatitude", "GPSLatitudeRef",
              "latitude", "longitude", "altitude", "exif_directories", "gps_directories"}),
        (Cells{{"Exif_FNumber", "2.8"},
               {"Exif_OffsetTimeOriginal", "+05:30"},
               {"Exif_OffsetTimeOriginal_minutes", "330"},
               {"Exif_UserComment", "hi"},
               {"Interop_InteroperabilityIndex", "R98"},
               {"GPSLatitude", "[33 30 36]"},
               {"GPSLatitudeRef", "S"},
               {"latitude", "-33.51"},
               {"longitude", "151.25"},
               {"altitude", "-12.5"},
               {"exif_directories", "1"},
               {"gps_directories", "1"}}));
}

TEST_P(ImagesFillerTest, APositionIsWholeAndOnTheEarthOrNull) {
    struct Row {
        std::vector<std::int64_t> latitude;
        std::string_view direction;
        Cells cells;
    };
    const Row kRows[] = {
        {{90, 1, 0, 1, 0, 1}, "N\0"sv, {{"latitude", "90"}}},
        {{45, 1}, "S\0"sv, {{"latitude", "-45"}}},
        {{90, 1, 0, 1, 1, 1}, "N\0"sv, {}},
        {{45, 0, 0, 1, 0, 1}, "N\0"sv, {}},
        {{45, 1, 0, 1, 0, 1}, "W\0"sv, {}},
        {{45, 1, 0, 1, 0, 1}, "\0"sv, {}},
        {{1, 1, 1, 1, 1, 1, 1, 1}, "N\0"sv, {}},
    };
    for (const Row& row : kRows) {
        const Directory gps{ascii(1, row.direction), numbers(2, fixture::kRational, row.latitude)};
        EXPECT_EQ(only(rowOf({shorts(256, {1}), pointer(fixture::kGps, {{gps}})}),
                       {"latitude", "longitude", "altitude"}),
                  row.cells);
    }
}

TEST_P(ImagesFillerTest, EachImageDirectoryIsARowAndSaysWhereItLies) {
    const Directory thumbnail{shorts(256, {16})};
    const Directory second{shorts(256, {32}),
                           pointer(fixture::kSubIfds, {{thumbnail}, {thumbnail, thumbnail}})};
    const std::vector<Cells> rows = rowsOf({Directory{shorts(256, {64})}, second});
    ASSERT_EQ(rows.size(), 5U);
    const std::vector<std::string> kNames{"dir_path", "parent_path", "page",
                                          "depth",    "Width",       "file_id"};
    EXPECT_EQ(
        only(rows[0], kNames),
        (Cells{
            {"dir_path", "0"}, {"page", "0"}, {"depth", "0"}, {"Width", "64"}, {"file_id", "0"}}));
    EXPECT_EQ(
        only(rows[1], kNames),
        (Cells{
            {"dir_path", "1"}, {"page", "1"}, {"depth", "0"}, {"Width", "32"}, {"file_id", "0"}}));
    EXPECT_EQ(only(rows[2], kNames), (Cells{{"dir_path", "1/SubIFDs[0]/0"},
                                            {"parent_path", "1"},
                                            {"page", "0"},
                                            {"depth", "1"},
                                            {"Width", "16"},
                                            {"file_id", "0"}}));
    EXPECT_EQ(rows[4].at("dir_path"), "1/SubIFDs[1]/1");
    EXPECT_EQ(rows[4].at("page"), "1");
}

TEST_P(ImagesFillerTest, DefaultsFillTheirColumnsAndAreListed) {
    const Cells row = rowOf({shorts(256, {1}), shorts(258, {8})});
    EXPECT_EQ(row.at("Compression"), "Uncompressed");
    EXPECT_EQ(row.at("Compression_code"), "1");
    EXPECT_EQ(row.at("Orientation"), "1");
    EXPECT_EQ(row.at("default_tags").find("256"), std::string::npos);
    EXPECT_NE(row.at("default_tags").find("259"), std::string::npos);
    const Cells wide = rowOf({shorts(256, {1}), shorts(258, {32, 64}), shorts(277, {2})});
    EXPECT_EQ(only(wide, {"MinSampleValue", "MaxSampleValue", "misfit_tags"}),
              (Cells{{"MinSampleValue", "[0 0]"},
                     {"MaxSampleValue", "[4294967295 18446744073709551616]"}}));
}

TEST_P(ImagesFillerTest, OfATagThatStandsTwiceTheLastOneCounts) {
    const Cells row = rowOf({ascii(271, "first\0"sv), ascii(271, "last\0"sv)});
    EXPECT_EQ(row.at("Make"), "last");
    const Cells misfit = rowOf({ascii(315, "first\0"sv), shorts(315, {1})});
    EXPECT_EQ(only(misfit, {"Artist", "misfit_tags"}), (Cells{{"misfit_tags", "[315]"}}));
}

TEST_P(ImagesFillerTest, ValuesThatAreTooLongAreDescribed) {
    const std::vector<std::int64_t> offsets(9, 8);
    const ifdsweep::FillLimits limits{.valueItems = 8, .valueBytes = 100};
    const Directory directory{shorts(256, {1}), longs(273, offsets), longs(279, offsets),
                              ascii(270, std::string(101, 'x')), longs(60000, offsets)};
    const Cells row = rowOf(directory, limits);
    EXPECT_EQ(only(row, {"StripOffsets", "StripByteCounts", "ImageDescription", "described_tags",
                         "strip_or_tile_count", "data_bytes"}),
              (Cells{{"described_tags", "[273 279 270]"},
                     {"strip_or_tile_count", "9"},
                     {"data_bytes", "72"}}));
    EXPECT_NE(row.at("unknown").find("{60000 4 9 "), std::string::npos);
    EXPECT_NE(row.at("unknown").find(" null null}"), std::string::npos);
    const Cells unread = rowOf(directory, {}, {.longestValue = 20});
    EXPECT_EQ(only(unread, {"StripOffsets", "described_tags", "data_bytes"}),
              (Cells{{"described_tags", "[273 279 270]"}}));
}

TEST_P(ImagesFillerTest, TagsWithoutANameAreListedWithWhatTheyHold) {
    struct Row {
        Entry entry;
        std::string_view begin;  ///< of the struct, until the position of the value
        std::string_view end;    ///< text and numbers
    };
    const Row kRows[] = {
        {ascii(60000, "text\0"sv), "60000 2 5", "text null"},
        {shorts(60001, {1, 2}), "60001 3 2", "null [1 2]"},
        {numbers(60002, fixture::kRational, {1, 2, 1, 0}), "60002 5 2", "null [0.5 null]"},
        {numbers(60003, fixture::kUndefined, {5}), "60003 7 1", "null [5]"},
        {shorts(60004, {1, 2, 3}), "60004 3 3", "null null"},
        {shorts(60005, {6}), "60005 3 1", "null [6]"},
        {shorts(60006, {7}), "60006 3 1", "null null"},
        {ascii(60007, "long\0"sv), "60007 2 5", "null null"},
        {ascii(60008, "abc"sv), "60008 2 3", "abc null"},
    };
    const ifdsweep::FillLimits limits{.valueItems = 6, .valueBytes = 8};
    Directory directory{shorts(256, {1})};
    for (const Row& row : kRows) {
        directory.entries.push_back(row.entry);
    }
    const fixture::TiffFile file = fileOf({directory});
    std::string expected = "[";
    for (std::size_t number = 0; number < std::size(kRows); ++number) {
        const Row& row = kRows[number];
        expected.append(number > 0 ? " {" : "{").append(row.begin).append(" ");
        expected.append(std::to_string(file.places[0].data[number + 1])).append(" ");
        expected.append(row.end).append("}");
    }
    const std::vector<Cells> rows =
        fixture::cellsOf(fixture::packed(file.bytes), Layout::images, limits);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].at("unknown"), expected + "]");
}

TEST_P(ImagesFillerTest, PositionsOfTheEquatorAreNotNegative) {
    const Directory gps{ascii(1, "S\0"sv),
                        numbers(2, fixture::kRational, {0, 1, 0, 1, 0, 1}),
                        ascii(3, "W\0"sv),
                        numbers(4, fixture::kRational, {0, 1, 30, 1, 0, 1}),
                        numbers(5, fixture::kByte, {1}),
                        numbers(6, fixture::kRational, {0, 1})};
    EXPECT_EQ(only(rowOf({shorts(256, {1}), pointer(fixture::kGps, {{gps}})}),
                   {"latitude", "longitude", "altitude"}),
              (Cells{{"latitude", "0"}, {"longitude", "-0.5"}, {"altitude", "0"}}));
}

TEST_P(ImagesFillerTest, NumbersThatAreNoneAreNoPosition) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double number : {kNan, kInfinity, -kInfinity, -1.0, 1e300}) {
        const Directory gps{ascii(1, "N\0"sv), doubles(2, {number, 0, 0}), ascii(3, "E\0"sv),
                            doubles(4, {1, number, 0}), doubles(6, {number})};
        const Cells row =
            rowOf({shorts(256, {1}), doubles(282, {number}), pointer(fixture::kGps, {{gps}})});
        EXPECT_EQ(row.count("latitude") + row.count("longitude"), 0U) << number;
        EXPECT_EQ(row.count("altitude"), std::isfinite(number) ? 1U : 0U) << number;
        EXPECT_EQ(row.count("XResolution"), 1U) << number;
    }
}

TEST_P(ImagesFillerTest, OfSeveralExifDirectoriesTheFirstOneCounts) {
    const Directory first{ascii(42033, "first\0"sv)};
    const Directory second{ascii(42033, "second\0"sv), ascii(42034, "more\0"sv)};
    const Directory gps{ascii(29, "2024:05:17\0"sv)};
    const std::vector<std::string> kNames{"Exif_BodySerialNumber", "exif_directories",
                                          "gps_directories", "GPSDateStamp"};
    EXPECT_EQ(
        only(rowOf({shorts(256, {1}), pointer(fixture::kExif, {{first}}),
                    pointer(fixture::kExif, {{second}}), pointer(fixture::kGps, {{gps}, {gps}})}),
             kNames),
        (Cells{{"Exif_BodySerialNumber", "first"},
               {"exif_directories", "2"},
               {"gps_directories", "2"},
               {"GPSDateStamp", "2024:05:17"}}));
}

TEST_P(ImagesFillerTest, ExifDataIsThatOfItsOwnDirectory) {
    const Directory exif{ascii(42033, "page\0"sv)};
    const Directory ofThumbnail{ascii(42033, "thumbnail\0"sv)};
    const Directory thumbnail{shorts(256, {16}), pointer(fixture::kExif, {{ofThumbnail}})};
    const std::vector<Cells> rows =
        rowsOf({Directory{shorts(256, {64}), pointer(fixture::kSubIfds, {{thumbnail}}),
                          pointer(fixture::kExif, {{exif}})},
                Directory{shorts(256, {32})}});
    ASSERT_EQ(rows.size(), 3U);
    const std::vector<std::string> kNames{"dir_path", "Exif_BodySerialNumber", "exif_directories"};
    EXPECT_EQ(
        only(rows[0], kNames),
        (Cells{{"dir_path", "0"}, {"Exif_BodySerialNumber", "page"}, {"exif_directories", "1"}}));
    EXPECT_EQ(only(rows[1], kNames), (Cells{{"dir_path", "0/SubIFDs[0]/0"},
                                            {"Exif_BodySerialNumber", "thumbnail"},
                                            {"exif_directories", "1"}}));
    EXPECT_EQ(only(rows[2], kNames), (Cells{{"dir_path", "1"}, {"exif_directories", "0"}}));
}

TEST_P(ImagesFillerTest, AFileHasNothingOfTheOneBeforeIt) {
    const Directory exif{ascii(42033, "serial\0"sv)};
    const Directory rich{shorts(256, {1}), ascii(271, "Maker\0"sv), shorts(60000, {1}),
                         pointer(fixture::kExif, {{exif}})};
    const auto shared = [](const fixture::Chain& chain) {
        return std::make_shared<const ifdsweep::PackedFile>(fixture::packed(fileOf(chain).bytes));
    };
    const auto plain = shared({Directory{shorts(257, {2})}});
    const auto schema =
        ifdsweep::TableSchema::of(Layout::images, {ifdsweep::ColumnChoice::Which::all});
    const Cells alone = fixture::cellsOf({plain}, schema).at(0);
    const std::vector<Cells> rows = fixture::cellsOf({shared({rich, rich}), plain}, schema);
    ASSERT_EQ(rows.size(), 3U);
    Cells after = rows[2];
    EXPECT_EQ(std::exchange(after.at("file_id"), "0"), "1");
    EXPECT_EQ(after, alone);
    EXPECT_EQ(rows[1].at("Exif_BodySerialNumber"), "serial");
}

TEST_P(ImagesFillerTest, AColumnIsTheSameAloneAndBesideOthers) {
    const Directory exif{numbers(33437, fixture::kRational, {28, 0}), ascii(42033, "x\0"sv)};
    const Directory gps{ascii(1, "N\0"sv), numbers(2, fixture::kRational, {1, 1, 2, 1, 3, 1}),
                        numbers(6, fixture::kRational, {5, 2})};
    const auto file = std::make_shared<const ifdsweep::PackedFile>(fixture::packed(
        fileOf({Directory{shorts(256, {2}), shorts(258, {8}), shorts(262, {1}),
                          ascii(271, "Maker\0"sv), longs(273, {8, 9}), longs(279, {3, 4}),
                          ascii(306, "2024:05:17 09:30:00\0"sv), shorts(60000, {1}),
                          pointer(fixture::kExif, {{exif}}), pointer(fixture::kGps, {{gps}})},
                Directory{shorts(256, {3}), longs(514, {77})}})
            .bytes));
    const auto all =
        ifdsweep::TableSchema::of(Layout::images, {ifdsweep::ColumnChoice::Which::all});
    const std::vector<Cells> beside = fixture::cellsOf({file}, all);
    ASSERT_EQ(beside.size(), 2U);
    for (const ifdsweep::Column& column : all.columns) {
        // Which tags something became of is known of the columns that are there.
        if (column.name.ends_with("_tags")) {
            continue;
        }
        const auto alone = fixture::cellsOf(
            {file}, ifdsweep::TableSchema::of(
                        Layout::images, {ifdsweep::ColumnChoice::Which::named, {column.name}}));
        ASSERT_EQ(alone.size(), 2U);
        EXPECT_EQ(alone[0], only(beside[0], {column.name}));
        EXPECT_EQ(alone[1], only(beside[1], {column.name}));
    }
    EXPECT_EQ(beside[0].at("data_bytes"), "7");
    EXPECT_EQ(beside[0].at("strip_or_tile_count"), "2");
    EXPECT_EQ(beside[1].at("data_bytes"), "77");
    EXPECT_EQ(beside[0].at("BitDepth"), "8");
    EXPECT_EQ(beside[0].at("ColorType"), "grayscale");
}

TEST_P(ImagesFillerTest, DataThatNoNumberTellsHasNoSize) {
    if (!format().isBig()) {
        return;
    }
    constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max();
    struct Row {
        std::vector<std::int64_t> sizes;
        Cells cells;
    };
    const Row kRows[] = {
        {{kHuge}, {{"data_bytes", "9223372036854775807"}}},
        {{kHuge, 1}, {}},
        {{-1}, {{"misfit_tags", "[279]"}}},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(only(rowOf({shorts(256, {1}), numbers(279, fixture::kLong8, row.sizes)}),
                       {"data_bytes", "misfit_tags"}),
                  row.cells);
    }
}

TEST_P(ImagesFillerTest, CountsAndTypesThatLieGiveNoValue) {
    const std::vector<std::string> kNames{"Make",           "StripOffsets",
                                          "entry_count",    "strip_or_tile_count",
                                          "described_tags", "misfit_tags"};
    EXPECT_EQ(only(rowOf({shorts(256, {1}), longs(273, {8, 9}).withCount(1U << 30U)}), kNames),
              (Cells{{"entry_count", "2"}, {"described_tags", "[273]"}}));
    EXPECT_EQ(only(rowOf({shorts(256, {1}), ascii(271, "Maker\0"sv).withType(99)}), kNames),
              (Cells{{"entry_count", "2"}, {"misfit_tags", "[271]"}}));
    EXPECT_EQ(
        only(rowOf(Directory{shorts(256, {1}), ascii(271, "M\0"sv)}.withEntryCount(1)), kNames),
        (Cells{{"entry_count", "1"}}));
}

TEST_P(ImagesFillerTest, ADirectoryThatLeadsToItselfIsARowAsOftenAsItWasRead) {
    fixture::TiffFile circle = fileOf({Directory{shorts(256, {1})}, Directory{shorts(256, {2})}});
    circle.setOffset(circle.places[1].next, circle.offsetOf(circle.places[0].position));
    const fixture::TiffFile files[] = {
        fixture::pointsAtItself(format(), fixture::kSubIfds),
        fixture::pointsAtItself(format(), fixture::kSubIfds, fixture::kLong, 100), circle};
    for (const fixture::TiffFile& bytes : files) {
        ifdsweep::PackedFile file = fixture::packed(bytes.bytes);
        std::set<std::string> kept;
        for (const ifdsweep::PackedDirectoryRow& directory : file.directories()) {
            if (directory.isKept != 0) {
                kept.insert(directoryPath(file, directory));
            }
        }
        std::set<std::string> shown;
        for (const Cells& row : fixture::cellsOf(std::move(file), Layout::images)) {
            EXPECT_TRUE(shown.insert(row.at("dir_path")).second) << row.at("dir_path");
        }
        EXPECT_EQ(shown, kept);
        EXPECT_GT(shown.size(), 10U);
    }
}

TEST_P(ImagesFillerTest, RowsOfDirectoriesThatLieDeepAreBounded) {
    const std::vector<Cells> rows =
        fixture::cellsOf(fixture::packed(fixture::levels(format(), 400, 1).bytes), Layout::images);
    ASSERT_GT(rows.size(), 10U);
    EXPECT_LE(rows.size(), 256U);
    std::string path = "0";
    for (std::size_t depth = 0; depth < rows.size(); ++depth) {
        EXPECT_EQ(rows[depth].at("depth"), std::to_string(depth));
        EXPECT_EQ(rows[depth].at("dir_path"), path);
        if (depth > 0) {
            EXPECT_EQ(rows[depth].at("parent_path"), rows[depth - 1].at("dir_path"));
        }
        path += "/SubIFDs[0]/0";
    }
}

TEST_P(ImagesFillerTest, ADirectoryFullOfOneTagIsOneRow) {
    constexpr std::size_t kEntries = 60'000;
    std::vector<Entry> entries(kEntries, shorts(258, {8}));
    entries.back() = shorts(258, {16});
    const Cells named = rowOf(Directory{entries});
    EXPECT_EQ(named.at("BitsPerSample"), "[16]");
    EXPECT_EQ(named.at("entry_count"), std::to_string(kEntries));
    const Cells unnamed =
        rowOf(Directory{std::vector<Entry>(kEntries, shorts(fixture::kUnknownTag, {7}))});
    const std::string& unknown = unnamed.at("unknown");
    EXPECT_EQ(std::count(unknown.begin(), unknown.end(), '{'), kEntries);
    EXPECT_EQ(std::count(unknown.begin(), unknown.end(), '['), 1 + 1024);
}

TEST(ImagesOfContainersTest, RowsOfAStreamSayWhoseItIs) {
    const fixture::TiffFile file =
        fixture::TiffBuilder({}).add(Directory{ascii(271, "Maker\0"sv)}).buildInJpeg();
    const std::vector<Cells> rows = fixture::cellsOf(fixture::packed(file.bytes), Layout::images);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(only(rows[0], {"Make", "stream", "container", "dir_path", "file_path"}),
              (Cells{{"Make", "Maker"},
                     {"stream", "Exif"},
                     {"container", "jpeg"},
                     {"dir_path", "0"},
                     {"file_path", fixture::kPackedName}}));
}

}  // namespace
