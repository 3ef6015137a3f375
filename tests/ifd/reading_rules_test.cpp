// Damage to tables and chains: the end of the call, or of what is damaged.

#include "files/file_bytes.h"
#include "host/host_parts.h"
#include "support/rule_rows.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

using ifdsweep::ReadingRules;

constexpr Rule kCut = &ReadingRules::cutTablesAreRead;
constexpr Rule kInside = &ReadingRules::damageStaysInside;
constexpr Rule kSegment = &ReadingRules::segmentLimitEndsChain;

const std::string kNoTable = "badIFDread('IFD #1')";

Directory named(std::string_view artist) {
    return {ascii(kArtist, artist)};
}

/// Entries of unknown tags that lie in the table, told apart by their value.
Directory numbered(std::size_t count) {
    Directory directory;
    for (std::size_t i = 0; i < count; ++i) {
        directory.entries.push_back(shorts(kUnknownTag, {static_cast<std::int64_t>(i)}));
    }
    return directory;
}

/// The first entries of such a directory in a record.
std::string numberedText(std::size_t count) {
    std::string text = "UnknownTags=";
    for (std::size_t i = 0; i < count; ++i) {
        text += "(ID=60000 Offset=0 Value=" + std::to_string(i) + ')';
    }
    return text;
}

std::string cut(const TiffFile& file, std::size_t place, std::uint64_t read,
                std::uint64_t announced) {
    return "ifdsweep:directoryCut(" + std::to_string(file.places[place].position) + ", " +
           std::to_string(read) + ", " + std::to_string(static_cast<std::int64_t>(announced)) + ')';
}

/// A file that the contract's reading gives up for a table that is not whole.
RuleRow givenUp(std::string name, Bytes bytes, Lines full, const Numbers& numbers = {}) {
    return {std::move(name), std::move(bytes), {"error " + kNoTable}, std::move(full), numbers};
}

class CutTables : public TiffMatrix {
protected:
    static constexpr std::size_t kEntries = 3;

    /// Lengths of a file whose last directory is that of `place`, and how many of its entries lie
    /// in it whole: every length inside the table.
    static std::vector<std::pair<std::size_t, std::size_t>> cuts(const TiffFile& file,
                                                                 std::size_t place) {
        std::vector<std::pair<std::size_t, std::size_t>> all;
        const std::size_t table = file.places[place].entries[0];
        for (std::size_t length = 0; length < kEntries * format().entrySize(); ++length) {
            all.emplace_back(table + length, length / format().entrySize());
        }
        return all;
    }
    static std::size_t tableEnd(const TiffFile& file, std::size_t place) {
        return file.places[place].next;
    }
};
IFDSWEEP_TIFF_MATRIX(CutTables);

TEST_P(CutTables, TheWholeEntriesOfTheFirstDirectoryAreRead) {
    const TiffFile file = fileOf({numbered(kEntries)});
    for (const auto& [length, whole] : cuts(file, 0)) {
        RuleRow row =
            givenUp(std::to_string(length), truncated(file.bytes, length), {"error " + kNoTable});
        if (whole > 0) {
            row.full = {cut(file, 0, whole, kEntries), "struct 1x1", numberedText(whole)};
        }
        expectBoth(row, kCut);
    }
    const Lines all{"nextIfdOffsetReadError(" + std::to_string(tableEnd(file, 0)) + ')',
                    "struct 1x1", numberedText(kEntries)};
    expectBoth({"the byte behind", truncated(file.bytes, tableEnd(file, 0)), all, all}, kCut);
}

TEST_P(CutTables, TheWholeEntriesOfALaterDirectoryAreRead) {
    const TiffFile file = fileOf({named("a"), numbered(kEntries)});
    for (const auto& [length, whole] : cuts(file, 1)) {
        RuleRow row = givenUp(std::to_string(length), truncated(file.bytes, length),
                              {kNoTable, "struct 1x1", "Artist='a'"});
        if (whole == 0) {
            expectBoth(row, kInside);
            continue;
        }
        row.full = {cut(file, 1, whole, kEntries), "struct 2x1", "Artist='a'", numberedText(whole)};
        expectBoth(row, kCut);
    }
}

TEST_P(CutTables, TheWholeEntriesOfANestedDirectoryAreRead) {
    for (const auto& [tag, name] :
         {std::pair(kExif, "DigitalCamera"), std::pair(kGps, "GPSInfo"),
          std::pair(kInterop, "InteroperabilityIFD"), std::pair(kSubIfds, "SubIFDs")}) {
        const TiffFile file = fileOf({{ascii(kArtist, "a"), pointer(tag, {{numbered(kEntries)}})}});
        for (const auto& [length, whole] : cuts(file, 1)) {
            RuleRow row = givenUp(name + std::to_string(length), truncated(file.bytes, length),
                                  {kNoTable, "struct 1x1", "Artist='a'"});
            if (whole == 0) {
                expectBoth(row, kInside);
                continue;
            }
            const std::string nested = '(' + numberedText(whole) + ')';
            const std::string field =
                std::string(name) + '=' + (tag == kSubIfds ? '{' + nested + '}' : nested);
            row.full = {cut(file, 1, whole, kEntries), "struct 1x1", "Artist='a' " + field};
            expectBoth(row, kCut);
        }
    }
}

TEST_P(CutTables, TheWarningComesBeforeThoseOfTheEntries) {
    const TiffFile file = fileOf({{shorts(kUnknownTag, {1}).withType(14), ascii(kArtist, "a"),
                                   shorts(kUnknownTag, {1}).withType(15)}});
    const std::size_t second = file.places[0].entries[2];
    expectBoth(
        givenUp("cut", truncated(file.bytes, second),
                {cut(file, 0, 2, 3), "unrecognizedTagFormatId(14)", "struct 1x1", "Artist='a'"}),
        kCut);
}

TEST_P(CutTables, AnEntryThatIsThereCanStillLackItsValue) {
    const TiffFile file = fileOf({{ascii(kArtist, "0123456789"), shorts(kUnknownTag, {1})}});
    const std::size_t second = file.places[0].entries[1];
    expectBoth(givenUp("cut", truncated(file.bytes, second + 1),
                       {cut(file, 0, 1, 2), "tagDataPastEOF(315, 10)", "struct 1x1", ""}),
               kCut);
}

TEST_P(CutTables, CountsUpToTheLargestAreCut) {
    TiffFile file = fileOf({numbered(kEntries)});
    file.bytes.resize(tableEnd(file, 0));
    std::vector<std::uint64_t> counts{kEntries + 1, 0x7FFF, 0x8000, 0xFFFF};
    if (format().isBig()) {
        // 20 bytes an entry: the size of the table wraps at 2^64 / 20, and at 2^62 and 2^61.
        counts.insert(counts.end(), {0xFFFFFFFF, std::uint64_t{1} << 32U, ~std::uint64_t{0} / 20,
                                     ~std::uint64_t{0} / 20 + 1, std::uint64_t{1} << 61U,
                                     std::uint64_t{1} << 62U, (std::uint64_t{1} << 62U) + kEntries,
                                     ~std::uint64_t{0} >> 1U, ~std::uint64_t{0}});
    }
    for (const std::uint64_t count : counts) {
        setWord(file.bytes, file.places[0].position, format().entryCountSize(), count,
                format().byteOrder);
        expectBoth(givenUp(std::to_string(count), file.bytes,
                           {cut(file, 0, kEntries, count), "struct 1x1", numberedText(kEntries)}),
                   kCut);
    }
}

TEST_P(CutTables, TheChainEndsBehindACutTable) {
    // What stands behind the whole entries would lead back to the first directory.
    TiffFile file = fileOf({named("a"), numbered(2).withEntryCount(kEntries)});
    file.bytes.resize(tableEnd(file, 1));
    appendWord(file.bytes, format().offsetSize(), file.offsetOf(file.places[0].position),
               format().byteOrder);
    expectBoth(givenUp("next", file.bytes,
                       {cut(file, 1, 2, kEntries), "struct 2x1", "Artist='a'", numberedText(2)}),
               kCut);
}

TEST_P(CutTables, TheDirectoriesAroundGoOn) {
    // The cut directory is the last in the file, and the second that is read.
    TiffFile file = fileOf({{longs(kSubIfds, {0, 0}), ascii(kArtist, "0")},
                            named("1"),
                            named("2").withNext(0),
                            numbered(kEntries)});
    for (std::size_t i = 0; i < 2; ++i) {
        setWord(file.bytes, file.places[0].data[0] + 4 * i, 4,
                file.offsetOf(file.places[3 - i].position), format().byteOrder);
    }
    for (const auto& [length, whole] : cuts(file, 3)) {
        const std::string first = whole == 0 ? "" : '(' + numberedText(whole) + "), ";
        const RuleRow row =
            givenUp(std::to_string(length), truncated(file.bytes, length),
                    {whole == 0 ? kNoTable : cut(file, 3, whole, kEntries), "struct 3x1",
                     "Artist='0' SubIFDs={" + first + "(Artist='2')}", "Artist='1'", "Artist='2'"});
        expectBoth(row, whole == 0 ? kInside : kCut);
    }
}

TEST_P(CutTables, ThePositionIsThatInTheFile) {
    const TiffFile file =
        TiffBuilder(format())
            .add(numbered(kEntries))
            .buildBehind(format().isBig() ? Bytes(24, 'x') : Bytes{0x4D, 0x4D, 0, 42, 1, 2});
    expectBoth(givenUp("behind", truncated(file.bytes, tableEnd(file, 0) - 1),
                       {cut(file, 0, 2, 3), "struct 1x1", numberedText(2)},
                       {.initialOffset = static_cast<double>(file.base)}),
               kCut);
}

TEST_P(CutTables, AfterSkippedDirectoriesTheFirstIsTheFirstThatIsRead) {
    const TiffFile file = fileOf({named("skipped"), numbered(kEntries)});
    for (const auto& [length, whole] : cuts(file, 1)) {
        RuleRow row = givenUp(std::to_string(length), truncated(file.bytes, length),
                              {"error " + kNoTable}, {.firstIfdIndex = 1});
        if (whole > 0) {
            row.full = {cut(file, 1, whole, kEntries), "struct 1x1", numberedText(whole)};
        }
        expectBoth(row, kCut);
    }
}

class DamageInside : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(DamageInside);

/// A directory whose table cannot be there, as the last of the file: no entry of it is.
TiffFile withoutTable(TiffFile file, std::size_t place) {
    file.bytes.resize(file.places[place].entries[0]);
    return file;
}

TEST_P(DamageInside, AFirstDirectoryWithoutATableIsAnError) {
    const TiffFile file = withoutTable(fileOf({named("a")}), 0);
    expectBoth(givenUp("first", file.bytes, {"error " + kNoTable}), kInside);
}

TEST_P(DamageInside, AThirdDirectoryWithoutATableKeepsTwo) {
    const TiffFile file = withoutTable(fileOf({named("a"), named("b"), named("c")}), 2);
    expectBoth(givenUp("third", file.bytes, {kNoTable, "struct 2x1", "Artist='a'", "Artist='b'"}),
               kInside);
}

TEST_P(DamageInside, DamageAtEveryLevelKeepsWhatIsAround) {
    const TiffFile file = withoutTable(
        fileOf({{ascii(kMake, "0"),
                 pointer(kExif, {{{ascii(kMake, "1"), pointer(kInterop, {{named("x")}})}}})}}),
        2);
    expectBoth(givenUp("deepest", file.bytes,
                       {kNoTable, "struct 1x1", "Make='0' DigitalCamera=(Make='1')"}),
               kInside);
}

TEST_P(DamageInside, OtherChainsOfAPointerAreRead) {
    TiffFile file = fileOf({{longs(kSubIfds, {0, 0, 0}), ascii(kMake, "m")},
                            named("a"),
                            named("b").withNext(0),
                            named("x")});
    const std::size_t order[] = {1, 3, 2};
    for (std::size_t i = 0; i < 3; ++i) {
        setWord(file.bytes, file.places[0].data[0] + 4 * i, 4,
                file.offsetOf(file.places[order[i]].position), format().byteOrder);
    }
    file = withoutTable(std::move(file), 3);
    expectBoth(givenUp("the second of three", file.bytes,
                       {kNoTable, "struct 3x1",
                        "Make='m' SubIFDs={(Artist='a')(Artist='b'), (Artist='b')}", "Artist='a'",
                        "Artist='b'"}),
               kInside);
}

TEST_P(DamageInside, ALaterDirectoryOfANestedChainKeepsTheEarlier) {
    const TiffFile file = withoutTable(
        fileOf({{pointer(kSubIfds, {{named("a"), named("x")}}), ascii(kMake, "m")}}), 2);
    expectBoth(givenUp("nested chain", file.bytes,
                       {kNoTable, "struct 1x1", "Make='m' SubIFDs={(Artist='a')}"}),
               kInside);
}

TEST_P(DamageInside, TheChainBehindADamagedNestGoesOn) {
    TiffFile file = fileOf({{longs(kExif, {0}), ascii(kMake, "m")}, named("a"), named("x")});
    file.setOffset(file.places[1].next, 0);
    setWord(file.bytes, file.places[0].data[0], 4, file.offsetOf(file.places[2].position),
            format().byteOrder);
    file = withoutTable(std::move(file), 2);
    expectBoth(givenUp("chain", file.bytes, {kNoTable, "struct 2x1", "Make='m'", "Artist='a'"}),
               kInside);
}

TEST_P(DamageInside, ADateThatCannotBeWrittenIsEmpty) {
    const TiffFile file = fileOf({{pointer(kSubIfds, {{named("s")}}), ascii(kMake, "m")}});
    const auto served = [&](std::int64_t stamp) {
        return [&file, stamp](ifdsweep::Host& host) {
            qxFileStatus status;
            status.type = qxFileType::regular;
            status.fileSize = file.bytes.size();
            status.timeStamps.fill(stamp);
            filesOf(host).serve(kFileName,
                                {std::make_shared<ifdsweep::MemoryBytes>(file.bytes), status});
        };
    };
    constexpr std::int64_t kLast = 971890963199999999;
    for (const ifdsweep::Reading& reading : {fullReading(), readingBy(kInside)}) {
        const Call at = callReading(file.bytes, reading, {}, served(kLast));
        EXPECT_EQ(at.value("FileModDate"), "'31-Dec-32767 23:59:59'");
        EXPECT_EQ(at.warnings, Lines{});
        const Call behind = callReading(file.bytes, reading, {}, served(kLast + 1));
        EXPECT_EQ(behind.value("FileModDate"), "char(1x0)");
        EXPECT_EQ(behind.outcome(),
                  (Lines{"strftimeFailure()", "struct 1x1", "Make='m' SubIFDs={(Artist='s')}"}));
    }
    EXPECT_EQ(callReading(file.bytes, {}, {}, served(kLast + 1)).error, "strftimeFailure()");
    EXPECT_EQ(callEntryPoint(file.bytes, {}, served(kLast + 1)).error, "strftimeFailure()");
}

class SegmentLimit : public testing::TestWithParam<ByteOrder> {
protected:
    // 5,461 entries of 12 bytes are the most that a segment of 65,536 bytes can hold.
    static constexpr std::uint64_t kMost = 5461;

    static TiffFile inJpeg(const Chain& chain) {
        TiffBuilder builder({Layout::classic, GetParam()});
        for (const Directory& directory : chain) {
            builder.add(directory);
        }
        return builder.buildInJpeg();
    }
    static std::string exceeded(std::uint64_t count) {
        return "jpegApp1MaximumLengthExceeded(" + std::to_string(count) + ')';
    }
    static constexpr Numbers kNumbers{.initialOffset = 12};
    static inline const std::string kNothing = "error unableToReadTagData()";
};
INSTANTIATE_TEST_SUITE_P(ByteOrders, SegmentLimit,
                         testing::Values(ByteOrder::little, ByteOrder::big));

TEST_P(SegmentLimit, ALaterDirectoryBeyondItEndsTheChain) {
    for (const std::uint64_t count : {kMost + 1, kMost + 2, std::uint64_t{0xFFFF}}) {
        const TiffFile file = inJpeg({named("a"), named("b").withEntryCount(count), named("c")});
        expectBoth({std::to_string(count),
                    file.bytes,
                    {exceeded(count), kNothing},
                    {exceeded(count), "struct 1x1", "Artist='a'"},
                    kNumbers},
                   kSegment);
    }
}

TEST_P(SegmentLimit, ADirectoryAtItIsRead) {
    // As many entries as fit, all the same: the last that is set is shown.
    Directory most;
    most.entries.assign(kMost, shorts(274, {1}));
    const TiffFile file = inJpeg({named("a"), most, named("c")});
    const Lines all = callEntryPoint(file.bytes, kNumbers).outcome();
    EXPECT_EQ(all.front(), "struct 3x1");
    expectBoth({"at the limit", file.bytes, all, all, kNumbers}, kSegment);
    // As many announced and few there: the table is cut.
    const TiffFile lying = inJpeg({named("a"), named("b").withEntryCount(kMost)});
    EXPECT_EQ(callEntryPoint(lying.bytes, kNumbers).error, kNoTable);
    EXPECT_EQ(callReading(lying.bytes, fullReading(), kNumbers).warnings.front(),
              cut(lying, 1, 1, kMost));
}

TEST_P(SegmentLimit, TheVeryFirstDirectoryBeyondItIsAnError) {
    const TiffFile file = inJpeg({named("a").withEntryCount(kMost + 1), named("b")});
    expectBoth({"first",
                file.bytes,
                {exceeded(kMost + 1), kNothing},
                {exceeded(kMost + 1), kNothing},
                kNumbers},
               kSegment);
}

TEST_P(SegmentLimit, BehindADirectoryThatIsNotKeptItIsNoError) {
    // Of a JPEG a directory of sizes alone is read and not kept: the next is not the first.
    const TiffFile file = inJpeg({{shorts(256, {1})}, named("b").withEntryCount(kMost + 1)});
    expectBoth({"second",
                file.bytes,
                {exceeded(kMost + 1), kNothing},
                {exceeded(kMost + 1), "double 0x0"},
                kNumbers},
               kSegment);
    const TiffFile cutFile = inJpeg({{shorts(256, {1})}, named("b")});
    const Bytes bytes = truncated(cutFile.bytes, cutFile.places[1].entries[0]);
    expectBoth(givenUp("without a table", bytes, {kNoTable, "double 0x0"}, kNumbers), kInside);
}

TEST_P(SegmentLimit, ANestedChainBeyondItKeepsWhatWasRead) {
    const TiffFile file = inJpeg(
        {{pointer(kSubIfds, {{named("a"), named("x").withEntryCount(kMost + 1)}, {named("b")}}),
          pointer(kExif, {{named("x").withEntryCount(kMost + 1)}}), ascii(kMake, "m")},
         named("c")});
    expectBoth({"nested",
                file.bytes,
                {exceeded(kMost + 1), exceeded(kMost + 1), "struct 2x1", "Make='m'", "Artist='c'"},
                {exceeded(kMost + 1), exceeded(kMost + 1), "struct 2x1",
                 "Make='m' SubIFDs={(Artist='a'), (Artist='b')}", "Artist='c'"},
                kNumbers},
               kSegment);
}

}  // namespace
}  // namespace fixture
