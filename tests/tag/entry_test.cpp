// Where the data of an entry lie, and what is wrong with an entry as such.

#include <limits>

#include "support/planned_faults.h"
#include "support/record_dump.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class TagEntry : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(TagEntry);

/// One field type: components as they are stored and as they are shown.
struct TypeCase {
    std::uint16_t type;
    std::vector<std::int64_t> stored;  ///< for rationals two a component
    std::vector<double> shown;
};

constexpr std::int64_t kMost64 = -1;  ///< the bits of 2^64 - 1

const std::vector<TypeCase>& typeCases() {
    static const std::vector<TypeCase> kCases{
        {kByte, {0, 1, 0x7F, 0x80, 0xFF}, {0, 1, 127, 128, 255}},
        {kShort, {0, 0x1234, 0xFFFF}, {0, 4660, 65535}},
        {kLong, {0x12345678, 0, 0xFFFFFFFF}, {305419896, 0, 4294967295}},
        {kRational, {72, 1, 1, 4, 0xFFFFFFFF, 0x10000}, {72, 0.25, 4294967295.0 / 65536}},
        {kSByte, {0x80, 0xFF, 0, 0x7F}, {-128, -1, 0, 127}},
        {kUndefined, {0, 1, 0x7F, 0x80, 0xFF}, {0, 1, 127, 128, 255}},
        {kSShort, {0xFFFF, 0x8000, 0x7FFF}, {-1, -32768, 32767}},
        {kSLong, {-1, -2147483648, 0x12345678}, {-1, -2147483648.0, 305419896}},
        {kSRational, {-1, 2, 7, -2, -2147483648, 1}, {-0.5, -3.5, -2147483648.0}},
        {kLong8, {1, 0x0000010000000001, kMost64}, {1, 1099511627777, 18446744073709551615.0}},
    };
    return kCases;
}

/// The first `count` components, beginning anew when there are no more.
template <class Item>
std::vector<Item> firstOf(const std::vector<Item>& items, std::size_t count) {
    std::vector<Item> list;
    for (std::size_t i = 0; i < count; ++i) {
        list.push_back(items[i % items.size()]);
    }
    return list;
}

/// What a file shows of one unknown and one known tag of the same data.
void expectBoth(const Entry& entry, const std::string& value, const Format& format, bool isInline) {
    Entry known = entry;
    known.tag = kMakerNote;
    const TiffFile file = TiffBuilder(format).add({known, entry}).build();
    const Call given = callEntryPoint(file.bytes);
    const std::size_t offset = isInline ? 0 : file.places[0].data[1];
    EXPECT_EQ(given.added(), "MakerNote=" + value + " UnknownTags=(ID=60000 Offset=" +
                                 std::to_string(offset) + " Value=" + value + ')');
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(TagEntry, EveryNumberTypeIsReadInlineAndOutOfLine) {
    for (const TypeCase& each : typeCases()) {
        const std::size_t itemsPerComponent = each.stored.size() / each.shown.size();
        for (std::size_t count = 1; count <= 9; ++count) {
            SCOPED_TRACE("type " + std::to_string(each.type) + " count " + std::to_string(count));
            const Entry entry =
                numbers(kUnknownTag, each.type, firstOf(each.stored, count * itemsPerComponent));
            const bool isInline = entry.items.size() * entry.itemSize <= format().offsetSize();
            expectBoth(entry, rowText(firstOf(each.shown, count)), format(), isInline);
        }
    }
}

TEST_P(TagEntry, FloatsAreReadInlineAndOutOfLine) {
    const std::vector<float> values{1.5F, -0.25F, std::numeric_limits<float>::infinity()};
    const std::vector<double> shown{1.5, -0.25, std::numeric_limits<double>::infinity()};
    for (std::size_t count = 1; count <= 3; ++count) {
        expectBoth(floats(kUnknownTag, firstOf(values, count)), rowText(firstOf(shown, count)),
                   format(), 4 * count <= format().offsetSize());
    }
}

TEST_P(TagEntry, DoublesAreReadInlineAndOutOfLine) {
    const std::vector<double> values{1e300, -0.1, std::numeric_limits<double>::quiet_NaN()};
    for (std::size_t count = 1; count <= 3; ++count) {
        expectBoth(doubles(kUnknownTag, firstOf(values, count)), rowText(firstOf(values, count)),
                   format(), 8 * count <= format().offsetSize());
    }
}

TEST_P(TagEntry, TextIsReadInlineAndOutOfLine) {
    const std::string letters = "abcdefghij";
    for (std::size_t count = 1; count <= letters.size(); ++count) {
        const std::string text = letters.substr(0, count);
        expectBoth(ascii(kUnknownTag, text), '\'' + text + '\'', format(),
                   count <= format().offsetSize());
    }
}

TEST_P(TagEntry, SLong8IsReadAsHalvesOfItsFirstComponents) {
    const Call given = callOf(
        {{numbers(kMakerNote, kSLong8, {5, 7}), numbers(60001, kSLong8, {5}),
          numbers(60002, kSLong8, {-1}), numbers(60003, kSLong8, {0x0000000200000001, 9, 9})}});
    EXPECT_EQ(given.value("MakerNote"), "[5 0]");
    const std::string unknown = given.value("UnknownTags");
    EXPECT_NE(unknown.find("Value=5)"), std::string::npos) << unknown;
    EXPECT_NE(unknown.find("Value=-1)"), std::string::npos) << unknown;
    EXPECT_NE(unknown.find("Value=[1 2 9])"), std::string::npos) << unknown;
}

TEST_P(TagEntry, IfdTypesOutsideThePointersAreDropped) {
    const Call given = callOf({{numbers(kMakerNote, kIfd, {8}), numbers(kUnknownTag, kIfd8, {8}),
                                numbers(60001, kIfd, {8, 8, 8}), ascii(kArtist, "kept")}});
    EXPECT_EQ(given.added(), "Artist='kept'");
    EXPECT_EQ(given.warnings, (Lines{"unrecognizedIfd(37500)", "unrecognizedIfd(60000)",
                                     "unrecognizedIfd(60001)"}));
}

TEST_P(TagEntry, ACheckedTagOfAnIfdTypeWarnsTwiceAndIsDropped) {
    const Call given = callOf({{numbers(kArtist, kIfd, {8}), numbers(259, kIfd8, {8})}});
    EXPECT_EQ(given.added(), "");
    EXPECT_EQ(given.value("Compression"), "'Uncompressed'");
    EXPECT_EQ(
        given.warnings,
        (Lines{"expectedTagDataFormat('Artist', 'TIFF_IFD', 'TIFF_ASCII')", "unrecognizedIfd(315)",
               "expectedTagDataFormat('Compression', 'TIFF_IFD8', 'TIFF_SHORT')",
               "unrecognizedIfd(259)"}));
}

TEST_P(TagEntry, UnrecognizedTypesDropTheEntry) {
    for (const std::uint16_t type : Codes{14, 15, 19, 20, 255, 256, 65535}) {
        const Call given =
            callOf({{ascii(kArtist, "gone").withType(type), shorts(kUnknownTag, {1})}});
        EXPECT_EQ(given.added(), "UnknownTags=(ID=60000 Offset=0 Value=1)");
        EXPECT_EQ(given.warnings, (Lines{"unrecognizedTagFormatId(" + std::to_string(type) + ')'}));
    }
}

TEST_P(TagEntry, TypeZeroDropsTheEntryAndNamesIt) {
    const Call given = callOf(
        {{ascii(kArtist, "gone").withType(kNoType), shorts(kUnknownTag, {1}).withType(kNoType)}});
    EXPECT_EQ(given.added(), "");
    EXPECT_EQ(given.warnings, (Lines{"noTypeFormatId('Artist')", "noTypeFormatId('')"}));
}

TEST_P(TagEntry, ZeroCountWarnsAndKeepsAnEmptyTag) {
    const Call given = callOf({{ascii(kArtist, ""), shorts(kUnknownTag, {}), ascii(60001, "")}});
    EXPECT_EQ(given.value("Artist"), "empty");
    EXPECT_EQ(given.value("UnknownTags"),
              "(ID=60000 Offset=0 Value=double(1x0))(ID=60001 Offset=0 Value=double(1x0))");
    EXPECT_EQ(given.warnings, (Lines{"zeroComponentCount('Artist')", "zeroComponentCount('')",
                                     "zeroComponentCount('')"}));
}

TEST_P(TagEntry, AZeroCountOfAWrongTypeWarnsTwice) {
    const Call given = callOf({{shorts(kArtist, {})}});
    EXPECT_EQ(given.warnings,
              (Lines{"zeroComponentCount('Artist')",
                     "expectedTagDataFormat('Artist', 'TIFF_SHORT', 'TIFF_ASCII')"}));
}

TEST_P(TagEntry, AZeroCountDoesNotHideAnUnrecognizedType) {
    const Call given = callOf({{ascii(kArtist, "").withType(14), ascii(kArtist, "").withType(0),
                                ascii(kArtist, "").withType(kIfd)}});
    EXPECT_EQ(given.warnings, (Lines{"unrecognizedTagFormatId(14)", "noTypeFormatId('Artist')",
                                     "zeroComponentCount('Artist')",
                                     "expectedTagDataFormat('Artist', 'TIFF_IFD', 'TIFF_ASCII')",
                                     "unrecognizedIfd(315)"}));
}

TEST_P(TagEntry, DataThatEndWithTheFileAreRead) {
    const TiffFile file = fileOf({{ascii(kArtist, "at the very end")}});
    ASSERT_EQ(file.bytes.back(), 'd');
    EXPECT_EQ(callEntryPoint(file.bytes).added(), "Artist='at the very end'");

    const Call shortened = callEntryPoint(truncated(file.bytes, file.bytes.size() - 1));
    EXPECT_EQ(shortened.added(), "");
    EXPECT_EQ(shortened.warnings, (Lines{"tagDataPastEOF(315, 15)"}));
}

TEST_P(TagEntry, DataPastTheEndGiveNoTypeWarning) {
    const Call given = callOf({{shorts(kArtist, {1}).withCount(5000), shorts(kUnknownTag, {1})}});
    EXPECT_EQ(given.added(), "UnknownTags=(ID=60000 Offset=0 Value=1)");
    EXPECT_EQ(given.warnings, (Lines{"tagDataPastEOF(315, 10000)"}));
}

TEST_P(TagEntry, AnOffsetPastTheEndIsPastTheEnd) {
    const Call given = callOf({{ascii(kArtist, "0123456789").withValueField(0x7FFFFFFF)}});
    EXPECT_EQ(given.warnings, (Lines{"tagDataPastEOF(315, 10)"}));
}

TEST_P(TagEntry, TheLargestCountIsPastTheEndWithoutReservingMemory) {
    const std::uint64_t most = format().isBig() ? 0x0FFFFFFFFFFFFFFF : 0xFFFFFFFF;
    const Call given = callOf({{ascii(kArtist, "0123456789").withCount(most)}});
    EXPECT_EQ(given.warnings, (Lines{"tagDataPastEOF(315, " + std::to_string(most) + ')'}));
}

TEST_P(TagEntry, AReadThatFailsNamesTheTagOrItsNumber) {
    const TiffFile file = fileOf({{ascii(kUnknownTag, "0123456789"), ascii(kArtist, "0123456789"),
                                   ascii(316, "still there")}},
                                 kFar);
    const auto given = [&](std::uint64_t read) {
        return callEntryPoint(file.bytes, {}, [&](ifdsweep::Host& host) {
            fixture::setFaultPlan(host, {{fixture::Fault::Operation::read, read,
                                          fixture::Fault::Effect::deliverShort, 3}});
        });
    };
    // The reads before are the module's own affair; the first that hits data is looked for.
    Lines seen;
    for (std::uint64_t read = 1; read <= 20; ++read) {
        const Call each = given(read);
        for (const std::string& warning : each.warnings) {
            if (warning.rfind("unableToReadTiffTag", 0) == 0) {
                seen.push_back(warning);
                EXPECT_EQ(each.warnings.size(), 1U);
            }
        }
    }
    EXPECT_EQ(
        seen,
        (Lines{"unableToReadTiffTag('60000', " + std::to_string(file.places[0].data[0]) + ')',
               "unableToReadTiffTag('Artist', " + std::to_string(file.places[0].data[1]) + ')',
               "unableToReadTiffTag('HostComputer', " + std::to_string(file.places[0].data[2]) +
                   ')'}));
}

TEST_P(TagEntry, DataAreReadAtAnyDistance) {
    const std::string text = "0123456789", odd = "01234567890";
    for (std::size_t gap = 0; gap <= kFar; ++gap) {
        const TiffFile file =
            fileOf({{ascii(kArtist, text), ascii(316, odd), ascii(kUnknownTag, text)}}, gap);
        const Call given = callEntryPoint(file.bytes);
        EXPECT_EQ(given.added(),
                  "Artist='" + text + "' HostComputer='" + odd + "' UnknownTags=(ID=60000 Offset=" +
                      std::to_string(file.places[0].data[2]) + " Value='" + text + "')")
            << "gap " << gap;
        EXPECT_EQ(given.warnings, Lines{}) << "gap " << gap;
    }
}

TEST_P(TagEntry, DataAreSoughtWhereWhatLiesBeforeThemCannotBeRead) {
    const TiffFile file = fileOf({{ascii(kArtist, "0123456789")}});
    // The access that begins at the directory ends with the table: what follows it, the next
    // offset, lies between it and the data.
    const std::uint64_t directoryAccess = format().isBig() ? 5 : 4;  // after header and first looks
    const std::size_t table = file.format.entryCountSize() + file.format.entrySize();
    const Call given = callEntryPoint(file.bytes, {}, [&](ifdsweep::Host& host) {
        fixture::setFaultPlan(host, {{fixture::Fault::Operation::read, directoryAccess,
                                      fixture::Fault::Effect::deliverShort, table}});
    });
    EXPECT_EQ(given.added(), "Artist='0123456789'");
    EXPECT_EQ(given.warnings, Lines{});
    const Call shorter = callEntryPoint(file.bytes, {}, [&](ifdsweep::Host& host) {
        fixture::setFaultPlan(host, {{fixture::Fault::Operation::read, directoryAccess,
                                      fixture::Fault::Effect::deliverShort, table - 1}});
    });
    EXPECT_EQ(shorter.error, "badIFDread('IFD #1')") << "the plan is for another access";
}

class TagEntryBigTiff : public TiffMatrix {};
INSTANTIATE_TEST_SUITE_P(Formats, TagEntryBigTiff, testing::Values(kFormats[2], kFormats[3]),
                         formatName);

TEST_P(TagEntryBigTiff, AnOffsetThatCannotBeSoughtIsABadSeek) {
    constexpr std::uint64_t kLastPosition = 0x7FFFFFFFFFFFFFFF;
    const Call given = callOf({{ascii(kArtist, "0123456789").withValueField(kLastPosition),
                                ascii(kArtist, "0123456789").withValueField(kLastPosition + 1),
                                ascii(kArtist, "0123456789").withValueField(~std::uint64_t{0}),
                                ascii(316, "still there")}});
    EXPECT_EQ(given.added(), "HostComputer='still there'");
    EXPECT_EQ(given.warnings, (Lines{"tagDataPastEOF(315, 10)", "badTagDataOffsetSeek(315)",
                                     "badTagDataOffsetSeek(315)"}));
}

TEST_P(TagEntryBigTiff, AnOffsetThatOverflowsWithTheBaseIsABadSeek) {
    TiffBuilder builder(format());
    builder.add({ascii(kArtist, "0123456789").withValueField(~std::uint64_t{0} - 5)});
    const TiffFile file = builder.buildBehind(Bytes(64, 'x'));
    const Call given = callEntryPoint(file.bytes, {.initialOffset = 64});
    EXPECT_EQ(given.warnings, (Lines{"badTagDataOffsetSeek(315)"}));
}

TEST_P(TagEntryBigTiff, SizesThatDoNotFitAreReportedByTheirLow64Bits) {
    const Call given =
        callOf({{longs(kUnknownTag, {1, 2, 3}).withCount(std::uint64_t{1} << 62U),
                 numbers(kUnknownTag, kLong8, {1, 2}).withCount((std::uint64_t{1} << 61U) + 1),
                 numbers(kUnknownTag, kRational, {1, 2, 3, 4}).withCount(std::uint64_t{1} << 61U),
                 ascii(kUnknownTag, "0123456789").withCount(~std::uint64_t{0})}});
    EXPECT_EQ(given.warnings, (Lines{"tagDataPastEOF(60000, 0)", "tagDataPastEOF(60000, 8)",
                                     "tagDataPastEOF(60000, 0)", "tagDataPastEOF(60000, -1)"}));
}

}  // namespace
}  // namespace fixture
