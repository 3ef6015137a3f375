// A count that is wrong for its tag: the end of the call, or a warning.

#include "support/record_dump.h"
#include "support/rule_rows.h"
#include "support/tag_name_rows.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"
#include "support/type_rows.h"

namespace fixture {
namespace {

constexpr Rule kRule = &ifdsweep::ReadingRules::wrongCountWarns;

struct SingleTag {
    std::uint16_t tag;
    const char* name;   ///< in the warning
    const char* field;  ///< of the record
    const char* none;   ///< the field without values
    const char* three;  ///< the field with the values 2, 1 and 7
};

constexpr SingleTag kSingleTags[] = {
    {256, "Width", "Width", "0", "2"},
    {257, "Length", "Height", "0", "2"},
    {277, "SamplesPerPixel", "SamplesPerPixel", "empty", "[2 1 7]"},
    {278, "RowsPerStrip", "RowsPerStrip", "empty", "[2 1 7]"},
    {284, "PlanarConfiguration", "PlanarConfiguration", "empty", "'Planar'"},
    {322, "TileWidth", "TileWidth", "empty", "[2 1 7]"},
    {323, "TileLength", "TileLength", "empty", "[2 1 7]"},
};

std::string wrongCount(const SingleTag& tag, std::uint64_t count) {
    return "badTagDataCount(" + std::to_string(tag.tag) + ", '" + tag.name + "', " +
           std::to_string(static_cast<std::int64_t>(count)) + ", 1)";
}

class CountRules : public TiffMatrix {
protected:
    static RuleRow rowOf(const SingleTag& tag, const Entry& entry, const Lines& before,
                         const Lines& behind) {
        const TiffFile file = fileOf({{ascii(kMake, "m"), entry, ascii(kArtist, "a")}});
        RuleRow row{tag.name, file.bytes, before, before};
        row.contract.push_back("error " + wrongCount(tag, entry.count));
        row.full.push_back(wrongCount(tag, entry.count));
        row.full.insert(row.full.end(), behind.begin(), behind.end());
        row.full.insert(row.full.end(), {"struct 1x1", "Make='m' Artist='a'"});
        return row;
    }
};
IFDSWEEP_TIFF_MATRIX(CountRules);

TEST(CountRuleRows, EveryTagWithARuleIsThere) {
    ASSERT_EQ(std::size(kSingleTags), kSingleComponentTags.size());
    for (const SingleTag& tag : kSingleTags) {
        EXPECT_EQ(std::count(kSingleComponentTags.begin(), kSingleComponentTags.end(), tag.tag), 1);
    }
}

TEST_P(CountRules, NoneOfOneIsAWarning) {
    for (const SingleTag& tag : kSingleTags) {
        const RuleRow row = rowOf(tag, shorts(tag.tag, {}),
                                  {std::string("zeroComponentCount('") + tag.name + "')"}, {});
        expectBoth(row, kRule);
        EXPECT_EQ(callReading(row.bytes, fullReading()).value(tag.field), tag.none) << tag.name;
    }
}

TEST_P(CountRules, OneOfOneIsReadInBothReadings) {
    for (const SingleTag& tag : kSingleTags) {
        const TiffFile file = fileOf({{shorts(tag.tag, {2})}});
        EXPECT_EQ(callEntryPoint(file.bytes).warnings, Lines{});
        EXPECT_EQ(callReading(file.bytes, fullReading()).text(), callEntryPoint(file.bytes).text());
    }
}

TEST_P(CountRules, SeveralOfOneAreAllKept) {
    for (const SingleTag& tag : kSingleTags) {
        for (const std::vector<std::int64_t>& values :
             {std::vector<std::int64_t>{2, 1}, std::vector<std::int64_t>{2, 1, 7}}) {
            const RuleRow row = rowOf(tag, shorts(tag.tag, values), {}, {});
            expectBoth(row, kRule);
            if (values.size() == 3) {
                EXPECT_EQ(callReading(row.bytes, fullReading()).value(tag.field), tag.three)
                    << tag.name;
            }
        }
    }
}

TEST_P(CountRules, TheWarningStandsWhereTheErrorStood) {
    for (const SingleTag& tag : kSingleTags) {
        // Before what is said about the type, and before the value.
        const std::string several = "'TIFF_SHORT, TIFF_LONG')";
        const bool isOne = tag.tag == 277 || tag.tag == 284;
        expectBoth(rowOf(tag, ascii(tag.tag, "ab"), {},
                         {(isOne ? "expectedTagDataFormat('" : "expectedTagDataFormatMultiple('") +
                          std::string(tag.name) + "', 'TIFF_ASCII', " +
                          (isOne ? "'TIFF_SHORT')" : several)}),
                   kRule);
        expectBoth(rowOf(tag, longs(tag.tag, {1, 2, 3}).withValueField(0x7FFFFFFF), {},
                         {"tagDataPastEOF(" + std::to_string(tag.tag) + ", 12)"}),
                   kRule);
    }
    const SingleTag& width = kSingleTags[0];
    const std::uint64_t most = format().isBig() ? ~std::uint64_t{0} : 0xFFFFFFFF;
    expectBoth(
        rowOf(width, shorts(256, {1, 2, 3, 4, 5}).withCount(most), {},
              {format().isBig() ? "tagDataPastEOF(256, -2)" : "tagDataPastEOF(256, 8589934590)"}),
        kRule);
}

TEST_P(CountRules, SeveralSampleCountsAreOneForTheDefaults) {
    for (const std::vector<std::int64_t>& values :
         {std::vector<std::int64_t>{3}, std::vector<std::int64_t>{3, 4, 5}}) {
        const Call given = callReading(fileOf({{shorts(277, values)}}).bytes, fullReading());
        EXPECT_EQ(given.value("BitsPerSample"), "1");
        EXPECT_EQ(given.value("BitDepth"), "1");
        EXPECT_EQ(given.value("MinSampleValue"), "0");
        EXPECT_EQ(given.value("MaxSampleValue"), "1");
    }
}

TEST_P(CountRules, NestedDirectoriesKeepTheirEntriesToo) {
    const TiffFile file = fileOf(
        {{pointer(kExif, {{{shorts(277, {1, 2}), ascii(kMake, "m")}}}),
          pointer(kSubIfds, {{{shorts(256, {3, 4}), ascii(kMake, "s")}}}), ascii(kArtist, "a")}});
    expectBoth({"nested",
                file.bytes,
                {"error " + wrongCount(kSingleTags[2], 2)},
                {wrongCount(kSingleTags[2], 2), wrongCount(kSingleTags[0], 2), "struct 1x1",
                 "Artist='a' SubIFDs={(Make='s')} DigitalCamera=(Make='m' SamplesPerPixel=[1 2])"}},
               kRule);
}

TEST_P(CountRules, AWrongCountOfALaterDirectoryKeepsTheEarlier) {
    const TiffFile file =
        fileOf({{ascii(kArtist, "a")}, {shorts(322, {1, 2}), ascii(kArtist, "b")}});
    expectBoth({"later",
                file.bytes,
                {"error " + wrongCount(kSingleTags[5], 2)},
                {wrongCount(kSingleTags[5], 2), "struct 2x1", "Artist='a'", "Artist='b'"}},
               kRule);
    EXPECT_EQ(callReading(file.bytes, fullReading()).value("TileWidth", 1), "[1 2]");
}

}  // namespace
}  // namespace fixture
