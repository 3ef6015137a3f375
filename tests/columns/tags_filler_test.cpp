// The rows of entries: where each stands, what it says of itself, and its value, exact.

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "columns/table_cells.h"
#include "ifdsweep/table_layout.h"
#include "pack/packed_files.h"
#include "support/chunk_builder.h"
#include "support/page_of_everything.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace {

using namespace std::string_view_literals;

using fixture::ascii;
using fixture::Bytes;
using fixture::Cells;
using fixture::Chain;
using fixture::Directory;
using fixture::doubles;
using fixture::Entry;
using fixture::floats;
using fixture::longs;
using fixture::numbers;
using fixture::pointer;
using fixture::shorts;
using ifdsweep::FillLimits;
using ifdsweep::Layout;
using ifdsweep::PackedFile;
using Rows = std::vector<Cells>;
using Names = std::vector<std::string>;

/// A value, and what is told of it.
const Names kValueNames{"type",      "type_name", "count",     "ints",         "floats",
                        "rationals", "text",      "bytes",     "first_number", "value_name",
                        "loaded",    "stored",    "warning_id"};

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
/// As an item, the LONG8 of 2^64 - 1.
constexpr std::int64_t kAllBits = -1;

std::string join(const Names& words, const std::string& between) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

constexpr const char* kNoPointerId = "Velmora:pixlore:ifdsweep:unrecognizedIfd";

class TagsFillerTest : public fixture::TiffMatrix {
protected:
    [[nodiscard]] static Rows rowsOf(const Chain& chain, const FillLimits& limits = {},
                                     const ifdsweep::ReadOptions& options = {}) {
        return fixture::cellsOf(fixture::packed(fileOf(chain).bytes, options), Layout::tags,
                                limits);
    }

    /// Some cells of the row of one entry, which stands in a directory of its own.
    [[nodiscard]] static Cells rowOf(const Entry& entry, const Names& names,
                                     const FillLimits& limits = {},
                                     const ifdsweep::ReadOptions& options = {}) {
        const Rows rows = rowsOf({{entry}}, limits, options);
        return rows.empty() ? Cells() : fixture::only(rows.front(), names);
    }
};

INSTANTIATE_TEST_SUITE_P(EveryFormat, TagsFillerTest, testing::ValuesIn(fixture::kFormats),
                         fixture::formatName);

TEST_P(TagsFillerTest, AValueStandsInTheColumnOfItsType) {
    struct Row {
        Entry entry;
        Cells cells;  ///< but for those that all have
    };
    using enum fixture::FieldType;
    constexpr std::uint16_t kTag = fixture::kUnknownTag;
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    const Row kRows[] = {
        {numbers(kTag, kByte, {0, 255}),
         {{"type", "1"},
          {"type_name", "BYTE"},
          {"count", "2"},
          {"ints", "[0 255]"},
          {"first_number", "0"}}},
        {ascii(kTag, "one\0"sv),
         {{"type", "2"}, {"type_name", "ASCII"}, {"count", "4"}, {"text", "one"}}},
        {ascii(kTag, "\0"sv),
         {{"type", "2"}, {"type_name", "ASCII"}, {"count", "1"}, {"text", ""}}},
        {ascii(kTag, "one\0two\0\0"sv),
         {{"type", "2"},
          {"type_name", "ASCII"},
          {"count", "9"},
          {"text", std::string("one\0two"sv)}}},
        {ascii(kTag, "\xC3\xA9"sv),
         {{"type", "2"}, {"type_name", "ASCII"}, {"count", "2"}, {"text", "\xC3\xA9"}}},
        {ascii(kTag, "\xE9\x80\0"sv),
         {{"type", "2"},
          {"type_name", "ASCII"},
          {"count", "3"},
          {"text", "\xC3\xA9\xE2\x82\xAC"},
          {"bytes", std::string("\xE9\x80\0"sv)}}},
        {shorts(kTag, {65535, 1}),
         {{"type", "3"},
          {"type_name", "SHORT"},
          {"count", "2"},
          {"ints", "[65535 1]"},
          {"first_number", "65535"}}},
        {longs(kTag, {4294967295}),
         {{"type", "4"},
          {"type_name", "LONG"},
          {"count", "1"},
          {"ints", "[4294967295]"},
          {"first_number", "4294967295"}}},
        {numbers(kTag, kRational, {1, 250, 4294967295, 4294967295}),
         {{"type", "5"},
          {"type_name", "RATIONAL"},
          {"count", "2"},
          {"rationals", "[{1 250} {4294967295 4294967295}]"},
          {"first_number", "0.004"}}},
        {numbers(kTag, kRational, {1, 0, 0, 0}),
         {{"type", "5"},
          {"type_name", "RATIONAL"},
          {"count", "2"},
          {"rationals", "[{1 0} {0 0}]"}}},
        {numbers(kTag, kSByte, {-128, 127}),
         {{"type", "6"},
          {"type_name", "SBYTE"},
          {"count", "2"},
          {"ints", "[-128 127]"},
          {"first_number", "-128"}}},
        {numbers(kTag, kUndefined, {0, 255, 'a'}),
         {{"type", "7"},
          {"type_name", "UNDEFINED"},
          {"count", "3"},
          {"bytes", std::string("\0\xFF"
                                "a"sv)}}},
        {numbers(kTag, kSShort, {-32768}),
         {{"type", "8"},
          {"type_name", "SSHORT"},
          {"count", "1"},
          {"ints", "[-32768]"},
          {"first_number", "-32768"}}},
        {numbers(kTag, kSLong, {-2147483648}),
         {{"type", "9"},
          {"type_name", "SLONG"},
          {"count", "1"},
          {"ints", "[-2147483648]"},
          {"first_number", "-2147483648"}}},
        {numbers(kTag, kSRational, {-1, 4, 1, -2147483648}),
         {{"type", "10"},
          {"type_name", "SRATIONAL"},
          {"count", "2"},
          {"rationals", "[{-1 4} {1 -2147483648}]"},
          {"first_number", "-0.25"}}},
        {floats(kTag, {0.5F, -std::numeric_limits<float>::infinity()}),
         {{"type", "11"},
          {"type_name", "FLOAT"},
          {"count", "2"},
          {"floats", "[0.5 -Infinity]"},
          {"first_number", "0.5"}}},
        {doubles(kTag, {notANumber, 0.1}),
         {{"type", "12"},
          {"type_name", "DOUBLE"},
          {"count", "2"},
          {"floats", "[NaN 0.1]"},
          {"first_number", "NaN"}}},
        {numbers(kTag, kIfd, {8}),
         {{"type", "13"},
          {"type_name", "IFD"},
          {"count", "1"},
          {"ints", "[8]"},
          {"warning_id", kNoPointerId},
          {"first_number", "8"}}},
        {numbers(kTag, kLong8, {1, kMost}),
         {{"type", "16"},
          {"type_name", "LONG8"},
          {"count", "2"},
          {"ints", "[1 9223372036854775807]"},
          {"first_number", "1"}}},
        {numbers(kTag, kLong8, {1, kLeast, kAllBits}),
         {{"type", "16"},
          {"type_name", "LONG8"},
          {"count", "3"},
          {"text", "1 9223372036854775808 18446744073709551615"},
          {"first_number", "1"}}},
        {numbers(kTag, kLong8, {kLeast}),
         {{"type", "16"},
          {"type_name", "LONG8"},
          {"count", "1"},
          {"text", "9223372036854775808"},
          {"first_number", "9223372036854775808"}}},
        {numbers(kTag, kSLong8, {kLeast, -1}),
         {{"type", "17"},
          {"type_name", "SLONG8"},
          {"count", "2"},
          {"ints", "[-9223372036854775808 -1]"},
          {"first_number", "-9223372036854775808"}}},
        {numbers(kTag, kIfd8, {kMost}),
         {{"type", "18"},
          {"type_name", "IFD8"},
          {"count", "1"},
          {"ints", "[9223372036854775807]"},
          {"warning_id", kNoPointerId},
          {"first_number", "9223372036854775808"}}},
    };
    for (const Row& row : kRows) {
        Cells expected = row.cells;
        expected.insert({{"loaded", "1"}, {"stored", "1"}});
        EXPECT_EQ(rowOf(row.entry, kValueNames), expected) << row.entry.type;
    }
}

TEST_P(TagsFillerTest, PositionsAreThoseOfTheFile) {
    const Directory directory{shorts(256, {4}), longs(273, {1, 2, 3}),
                              ascii(fixture::kMake, "longer than a word\0"sv),
                              shorts(fixture::kUnknownTag, {1}).withType(99)};
    const fixture::TiffFile file = fileOf({directory}, fixture::kFar);
    const Rows rows = fixture::cellsOf(fixture::packed(file.bytes), Layout::tags);
    ASSERT_GE(rows.size(), 4U);
    const auto cellsOf = [&](std::size_t entry, bool isOutside) {
        Cells cells{{"entry_offset", std::to_string(file.places[0].entries[entry])}};
        if (isOutside) {
            cells["value_offset"] = std::to_string(file.places[0].data[entry]);
        }
        return cells;
    };
    const Names names{"entry_offset", "value_offset"};
    EXPECT_EQ(fixture::only(rows[0], names), cellsOf(0, false));
    EXPECT_EQ(fixture::only(rows[1], names), cellsOf(1, true));
    EXPECT_EQ(fixture::only(rows[2], names), cellsOf(2, true));
    EXPECT_EQ(fixture::only(rows[3], names), cellsOf(3, false));  // its width is not known
}

TEST_P(TagsFillerTest, EntriesStandDirectoryByDirectoryInTheirOrder) {
    const Directory interoperability{ascii(1, "R98\0"sv)};
    const Directory exif{shorts(37383, {5}), pointer(fixture::kInterop, {{interoperability}}),
                         ascii(42036, "a lens\0"sv)};
    const Directory gps{ascii(1, "N\0"sv)};
    const Directory small{shorts(256, {1})};
    Names lines;
    for (const Cells& row : rowsOf({{pointer(fixture::kSubIfds, {{small, small}, {small}}),
                                     pointer(fixture::kExif, {{exif}}),
                                     pointer(fixture::kGps, {{gps}}), shorts(60000, {1})},
                                    small})) {
        if (row.at("stored") == "1") {
            const auto name = row.find("name");
            lines.push_back(join({row.at("dir_path"), row.at("dir_kind"), row.at("ordinal"),
                                  row.at("tag"), name == row.end() ? "-" : name->second},
                                 " "));
        }
    }
    const std::string index = "InteroperabilityIndex";
    EXPECT_EQ(
        lines,
        (Names{"0 primary 0 330 SubIFDs", "0 primary 1 34665 DigitalCamera",
               "0 primary 2 34853 GPSInfo", "0 primary 3 60000 -",
               "0/SubIFDs[0]/0 primary 0 256 Width", "0/SubIFDs[0]/1 primary 0 256 Width",
               "0/SubIFDs[1]/0 primary 0 256 Width", "0/DigitalCamera/0 exif 0 37383 MeteringMode",
               "0/DigitalCamera/0 exif 1 40965 InteroperabilityIFD",
               "0/DigitalCamera/0 exif 2 42036 -",
               "0/DigitalCamera/0/InteroperabilityIFD/0 interoperability 0 1 " + index,
               "0/GPSInfo/0 gps 0 1 GPSLatitudeRef", "1 primary 0 256 Width"}));
}

TEST_P(TagsFillerTest, TagsThatRecordsLeaveWithoutANameHaveTheirPublicOne) {
    const auto namesOf = [](const Entry& entry) { return rowOf(entry, {"name", "public_name"}); };
    EXPECT_EQ(namesOf(shorts(256, {1})), (Cells{{"name", "Width"}}));
    EXPECT_EQ(namesOf(ascii(42036, "a lens\0"sv)), (Cells{{"public_name", "LensModel"}}));
    EXPECT_EQ(namesOf(shorts(fixture::kUnknownTag, {1})), Cells());
    const Rows gps = rowsOf({{pointer(fixture::kGps, {{{numbers(31, fixture::kRational, {1, 2}),
                                                        ascii(42036, "no lens\0"sv)}}})}});
    Names found;
    for (const Cells& row : gps) {
        if (row.at("dir_kind") == "gps") {
            const auto name = row.find("public_name");
            found.push_back(row.at("tag") + ' ' + (name == row.end() ? "-" : name->second));
        }
    }
    EXPECT_EQ(found, (Names{"31 GPSHPositioningError", "42036 -"}));
}

TEST_P(TagsFillerTest, ALongValueIsToldOfAndNotHeld) {
    struct Row {
        Entry entry;
        bool isHeld;
        std::string first;  ///< its first number
    };
    constexpr std::uint16_t kTag = fixture::kUnknownTag;
    const FillLimits limits{.valueItems = 3, .valueBytes = 20};
    const Row kRows[] = {
        {shorts(kTag, {7, 8, 9}), true, "7"},
        {shorts(kTag, {7, 8, 9, 10}), false, "7"},
        {numbers(kTag, fixture::kRational, {6, 2, 1, 1}), true, "3"},
        {numbers(kTag, fixture::kRational, {6, 2, 1, 1, 1, 1}), false, "3"},
        {ascii(kTag, std::string(20, 'x')), true, ""},
        {ascii(kTag, std::string(21, 'x')), false, ""},
        {numbers(kTag, fixture::kByte, std::vector<std::int64_t>(20, 5)), true, "5"},
        {numbers(kTag, fixture::kByte, std::vector<std::int64_t>(21, 5)), false, "5"},
        {numbers(kTag, fixture::kUndefined, std::vector<std::int64_t>(20, 5)), true, ""},
        {numbers(kTag, fixture::kUndefined, std::vector<std::int64_t>(21, 5)), false, ""},
    };
    for (const Row& row : kRows) {
        Cells cells = rowOf(
            row.entry,
            {"ints", "floats", "rationals", "text", "bytes", "loaded", "count", "first_number"},
            limits);
        EXPECT_EQ(cells["first_number"], row.first);
        EXPECT_EQ(cells["count"], std::to_string(row.entry.count));
        EXPECT_EQ(cells["loaded"], row.isHeld ? "1" : "0");
        EXPECT_EQ(cells.size(), row.isHeld ? 4U : 3U) << row.entry.type << ' ' << row.entry.count;
    }
}

TEST_P(TagsFillerTest, AValueThatWasNotReadIsToldOf) {
    EXPECT_EQ(rowOf(shorts(fixture::kUnknownTag, std::vector<std::int64_t>(50, 8)), kValueNames, {},
                    {.longestValue = 99}),
              (Cells{{"type", "3"},
                     {"type_name", "SHORT"},
                     {"count", "50"},
                     {"stored", "1"},
                     {"loaded", "0"}}));
    EXPECT_EQ(rowOf(ascii(fixture::kMake, "much"sv).withCount(1000000), kValueNames),
              (Cells{{"type", "2"},
                     {"type_name", "ASCII"},
                     {"count", "1000000"},
                     {"stored", "1"},
                     {"loaded", "0"},
                     {"warning_id", "Velmora:pixlore:ifdsweep:tagDataPastEOF"}}));
    EXPECT_EQ(rowOf(shorts(fixture::kUnknownTag, {1}).withType(99), {"type", "count", "loaded"}),
              (Cells{{"type", "99"}, {"count", "1"}, {"loaded", "0"}}));
}

TEST_P(TagsFillerTest, DefaultsHaveNumbersAndNoPlace) {
    Rows rows = rowsOf({{shorts(256, {4}), shorts(257, {2}), shorts(277, {2})}});
    ASSERT_GT(rows.size(), 3U);
    Names lines;
    for (const Cells& row : rows) {
        if (row.at("stored") == "0") {
            lines.push_back(row.at("tag") + ' ' + row.at("name") + ' ' + row.at("floats") + ' ' +
                            row.at("first_number"));
            for (const char* const absent :
                 {"type", "type_name", "count", "entry_offset", "value_offset", "ints", "rationals",
                  "text", "bytes"}) {
                EXPECT_FALSE(row.contains(absent)) << absent;
            }
            EXPECT_EQ(row.at("loaded"), "1");
            EXPECT_EQ(row.at("ordinal"), std::to_string(lines.size() + 2));
        }
    }
    EXPECT_EQ(lines,
              (Names{"254 NewSubFileType [0] 0", "258 BitsPerSample [1] 1", "259 Compression [1] 1",
                     "263 Thresholding [1] 1", "266 FillOrder [1] 1", "274 Orientation [1] 1",
                     "278 RowsPerStrip [4294967295] 4294967295", "280 MinSampleValue [0] 0",
                     "281 MaxSampleValue [1] 1", "284 PlanarConfiguration [1] 1",
                     "290 GrayResponseUnit [0.01] 0.01", "296 ResolutionUnit [2] 2"}));
}

TEST_P(TagsFillerTest, EnumeratedValuesHaveTheirReadableName) {
    EXPECT_EQ(rowOf(shorts(259, {5}), {"ints", "value_name"}),
              (Cells{{"ints", "[5]"}, {"value_name", "LZW"}}));
    EXPECT_EQ(rowOf(shorts(274, {6}), {"ints", "value_name"}), (Cells{{"ints", "[6]"}}));
}

TEST_P(TagsFillerTest, EveryEntryHasOneRowAndItsValueStandsInOneColumn) {
    const Bytes bytes = fileOf({fixture::pageOfEverything(), fixture::pageOfEverything()}).bytes;
    // Cut short anywhere, and with a byte changed.
    for (std::size_t place = 0; place < bytes.size(); place += 70) {
        for (const Bytes& damaged :
             {fixture::truncated(bytes, place), fixture::flipped(bytes, place, 0x11)}) {
            PackedFile file = fixture::packed(damaged);
            const std::size_t entries = file.entries().size();
            const Rows rows = fixture::cellsOf(std::move(file), Layout::tags);
            ASSERT_EQ(rows.size(), entries) << place;
            for (const Cells& row : rows) {
                const std::size_t columns =
                    fixture::only(row, {"ints", "floats", "rationals", "text", "bytes"}).size();
                const bool isBoth = row.contains("text") && row.contains("bytes");
                ASSERT_EQ(columns - (isBoth ? 1 : 0), row.at("loaded") == "1" ? 1U : 0U) << place;
            }
        }
    }
}

TEST(TagsFiller, HasTheEntriesOfEveryStream) {
    const auto tiffOf = [](std::string_view make) {
        fixture::TiffBuilder builder({});
        builder.add({ascii(fixture::kMake, make)});
        return builder.build().bytes;
    };
    const Bytes png = fixture::pngFile({fixture::pngChunk("eXIf", tiffOf("one\0"sv)),
                                        fixture::pngChunk("eXIf", fixture::bytesOf("no TIFF")),
                                        fixture::pngChunk("eXIf", tiffOf("two\0"sv)),
                                        fixture::pngChunk("IEND", {})});
    const ifdsweep::ReadOptions options{.streams = ifdsweep::StreamChoice::all};
    const PackedFile file = fixture::packed(png, options);
    ASSERT_EQ(file.streams().size(), 3U);
    const Rows rows = fixture::cellsOf(fixture::packed(png, options), Layout::tags);
    ASSERT_EQ(rows.size(), 2U);
    const Names names{"container", "stream", "dir_path", "text", "ordinal"};
    EXPECT_EQ(fixture::only(rows[0], names),
              (Cells{{"container", "png"},
                     {"stream", std::string(file.textOf(file.streams()[0].name))},
                     {"dir_path", "0"},
                     {"ordinal", "0"},
                     {"text", "one"}}));
    EXPECT_EQ(fixture::only(rows[1], names),
              (Cells{{"container", "png"},
                     {"stream", std::string(file.textOf(file.streams()[2].name))},
                     {"dir_path", "0"},
                     {"ordinal", "0"},
                     {"text", "two"}}));
}

TEST(TagsFiller, HasNoRowsOfFilesWithoutEntries) {
    const auto packed = [](const char* text) {
        return std::make_shared<const PackedFile>(fixture::packed(fixture::bytesOf(text)));
    };
    fixture::TiffBuilder builder({});
    builder.add({shorts(60000, {4})});
    const auto image = std::make_shared<const PackedFile>(fixture::packed(builder.build().bytes));
    const Rows rows = fixture::cellsOf({packed(""), image, packed("text"), image, packed("")},
                                       ifdsweep::TableSchema::of(Layout::tags));
    Names lines;
    for (const Cells& row : rows) {
        if (row.at("stored") == "1") {
            lines.push_back(row.at("file_id") + ' ' + row.at("tag"));
        }
    }
    EXPECT_EQ(lines, (Names{"1 60000", "3 60000"}));
}

TEST(TagsFiller, FillsTheColumnsThatThereAre) {
    fixture::TiffBuilder builder({});
    builder.add(fixture::pageOfEverything());
    const auto file = std::make_shared<const PackedFile>(fixture::packed(builder.build().bytes));
    const Rows whole = fixture::cellsOf({file}, ifdsweep::TableSchema::of(Layout::tags));
    for (const ifdsweep::Column& column : ifdsweep::allColumns(Layout::tags)) {
        const Rows alone = fixture::cellsOf(
            {file}, ifdsweep::TableSchema::of(
                        Layout::tags, {ifdsweep::ColumnChoice::Which::named, {column.name}}));
        ASSERT_EQ(alone.size(), whole.size()) << column.name;
        for (std::size_t row = 0; row < alone.size(); ++row) {
            EXPECT_EQ(alone[row], fixture::only(whole[row], {column.name})) << column.name;
        }
    }
}

}  // namespace
