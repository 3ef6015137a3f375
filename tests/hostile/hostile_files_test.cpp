// Files made to hang a reader or to take all its memory: each ends soon, within memory, with what
// could be read and the warnings that say what was left.

#include <cmath>
#include <functional>
#include <limits>
#include <ostream>

#include "hostile/hostile_builders.h"
#include "hostile/measured_call.h"
#include "support/record_dump.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"
#include "values/value_budget.h"

namespace fixture {
namespace {

/// Pages that are told apart by their number.
Chain pages(std::size_t count) {
    Chain chain;
    for (std::size_t page = 0; page < count; ++page) {
        chain.push_back({shorts(kUnknownTag, {static_cast<std::int64_t>(page)})});
    }
    return chain;
}

/// Pages whose last one leads to another.
TiffFile loop(Format format, std::size_t count, std::size_t target) {
    TiffFile file = build(format, pages(count));
    file.setOffset(file.places[count - 1].next, file.offsetOf(file.places[target].position));
    return file;
}

/// A file and the outcome that its format leads to.
struct Hostile {
    TiffFile file;
    std::string outcome;
    std::string full{};  ///< of the full reading, where it is another
};

struct Case {
    const char* name;
    std::function<Hostile(Format)> make;

    friend std::ostream& operator<<(std::ostream& out, const Case& shown) {
        return out << shown.name;
    }
};

/// A chain of directories of one inline entry that never ends: so many of them are read before the
/// budget is spent, and what the first refused read was to give.
Hostile endless(TiffFile file, std::size_t kept,
                const std::string& refused = "numberOfDirectoryEntriesReadError") {
    return {std::move(file), "struct " + std::to_string(kept) +
                                 "x1; Velmora:filesystem:readBudgetSpent x1; " + refused + " x1"};
}

Hostile nextIsItself(Format format) {
    TiffFile file = loop(format, 1, 0);
    return format.isBig() ? endless(std::move(file), 1601, "nextIfdOffsetReadError")
                          : endless(std::move(file), 1797);
}

Hostile loopOfThreePages(Format format) {
    return endless(loop(format, 3, 0), format.isBig() ? 1604 : 1799);
}

Hostile lastOf500PagesLeadsBack(Format format) {
    return endless(loop(format, 500, 249), format.isBig() ? 2477 : 2289);
}

/// The file's second page says that it has so many entries.
Hostile entryCount(Format format, std::uint64_t count) {
    Chain chain = pages(2);
    chain[1].entryCount = count;
    return {build(format, chain), "error badIFDread", "struct 2x1; ifdsweep:directoryCut x1"};
}

Hostile sharedValues(Format format) {
    constexpr std::size_t kSize = 60000;
    constexpr std::size_t kEntries = 65535;
    Entry value = numbers(kUnknownTag, kUndefined, std::vector<std::int64_t>(kSize, 1));
    std::vector<Entry> entries(kEntries, numbers(kUnknownTag, kUndefined, {}).withCount(kSize));
    entries[0] = std::move(value);
    TiffFile file = build(format, {Directory(std::move(entries))});
    const Place& place = file.places[0];
    for (const std::size_t entry : place.entries) {
        file.setOffset(entry + format.valuePosition(), file.offsetOf(place.data[0]));
    }
    // Each value counts 32 a byte: the budget of values is spent long before that of reads.
    return {std::move(file),
            "struct 1x1; Velmora:filesystem:valueBudgetSpent x1; unableToReadTiffTag x" +
                std::to_string(ifdsweep::ValueBudget::kLastWarnings)};
}

Hostile sharedProfile(Format format) {
    constexpr std::size_t kSize = 1000000;
    Chain chain(1000, {numbers(kIccProfile, kUndefined, {}).withCount(kSize)});
    chain[0] = {numbers(kIccProfile, kUndefined, std::vector<std::int64_t>(kSize, 1))};
    TiffFile file = build(format, chain);
    for (const Place& place : file.places) {
        file.setOffset(place.entries[0] + format.valuePosition(),
                       file.offsetOf(file.places[0].data[0]));
    }
    return endless(std::move(file), 9, "nextIfdOffsetReadError");
}

constexpr std::uint64_t kTooDeep = 20000;

const Case kCases[] = {
    {"NextIsItself", nextIsItself},
    {"LoopOfThreePages", loopOfThreePages},
    {"LastOf500PagesLeadsBack", lastOf500PagesLeadsBack},
    {"SubIfdsLeadToTheirOwnDirectory",
     [](Format format) {
         return Hostile{pointsAtItself(format, kSubIfds), "struct 1x1; illegallyNestedIFD x1"};
     }},
    {"ExifLeadsToItself",
     [](Format format) {
         return Hostile{pointsAtItself(format, kExif), "struct 1x1; illegallyNestedIFD x1"};
     }},
    {"TwentyThousandNestedSubIfds",
     [](Format format) {
         return Hostile{levels(format, kTooDeep, 1), "struct 1x1; illegallyNestedIFD x1"};
     }},
    {"EveryEntryPointsAtTheSameValue", sharedValues},
    {"AThousandPagesShareAProfile", sharedProfile},
    {"EntryCountOf16Bits", [](Format format) { return entryCount(format, 0xFFFF); }},
    {"EntryCountOf32Bits",
     [](Format format) {
         return entryCount(format, format.isBig() ? std::uint64_t{1} << 32U : 0xFFFE);
     }},
    {"EntryCountTimesSizeWraps",
     [](Format format) {
         return entryCount(format, format.isBig() ? std::uint64_t{1} << 61U : 0x8000);
     }},
    {"EntryCountOf63Bits",
     [](Format format) {
         return entryCount(format, format.isBig() ? ~std::uint64_t{0} >> 1U : 0x7FFF);
     }},
    {"EntryCountOf64Bits",
     [](Format format) { return entryCount(format, format.isBig() ? ~std::uint64_t{0} : 0xFFFF); }},
};

class HostileFile : public testing::TestWithParam<std::tuple<Format, Case>> {};

INSTANTIATE_TEST_SUITE_P(Files, HostileFile,
                         testing::Combine(testing::ValuesIn(kFormats), testing::ValuesIn(kCases)),
                         [](const testing::TestParamInfo<std::tuple<Format, Case>>& made) {
                             return std::string(std::get<1>(made.param).name) + "In" +
                                    nameOf(std::get<0>(made.param));
                         });

TEST_P(HostileFile, EndsWithItsRecordsAndWarnings) {
    const auto& [format, hostile] = GetParam();
    const Hostile made = hostile.make(format);
    const MeasuredCall call = measuredCall(made.file.bytes);
    EXPECT_EQ(call.outcome, made.outcome);
    expectCheap(call, made.file);
    const MeasuredCall full = measuredCall(made.file.bytes, fullReading());
    EXPECT_EQ(full.outcome, made.full.empty() ? made.outcome : made.full);
    expectCheap(full, made.file);
}

class SharedDirectories : public TiffMatrix {
protected:
    /// The budget ends the walk somewhere inside: that, and the one record, are what is certain.
    static void expectEndedByBudget(const TiffFile& file) {
        for (const MeasuredCall& call :
             {measuredCall(file.bytes), measuredCall(file.bytes, fullReading())}) {
            const auto endedBy = [&](const std::string& budget) {
                return call.outcome.rfind("struct 1x1; Velmora:filesystem:" + budget + " x1; ",
                                          0) == 0;
            };
            EXPECT_TRUE(endedBy("readBudgetSpent") || endedBy("valueBudgetSpent")) << call.outcome;
            EXPECT_EQ(call.outcome.find("error"), std::string::npos);
            expectCheap(call, file);
        }
    }
};
IFDSWEEP_TIFF_MATRIX(SharedDirectories);

TEST_P(SharedDirectories, TwentySixLevelsOfTwo) {
    expectEndedByBudget(levels(format(), 26, 2));
}

TEST_P(SharedDirectories, EightLevelsOfSixteen) {
    expectEndedByBudget(levels(format(), 8, 16));
}

TEST_P(SharedDirectories, TwoLevelsOfAHundredThousand) {
    expectEndedByBudget(levels(format(), 2, 100000));
}

TEST_P(SharedDirectories, AMegabyteOfPointersToTheirOwnDirectory) {
    constexpr std::size_t kPointers = 250000;
    expectEndedByBudget(pointsAtItself(format(), kSubIfds, kLong, kPointers));
}

// The field list of the first directory is that of all: as wide as the dictionary.
TEST_P(SharedDirectories, AnEndlessChainOfWideRecords) {
    std::vector<Entry> entries;
    for (std::uint16_t id = 250; id < 65000; ++id) {
        const bool endsCallOrNests = id == 256 || id == 257 || id == 277 || id == 278 ||
                                     id == 284 || id == 322 || id == 323 || id == kSubIfds ||
                                     id == kExif || id == 34853 || id == 40965;
        if (!endsCallOrNests) {
            entries.push_back(ascii(id, "x"));
        }
    }
    TiffFile file = build(format(), {Directory(std::move(entries)), {shorts(258, {1})}});
    file.setOffset(file.places[1].next, file.offsetOf(file.places[1].position));
    const MeasuredCall call = measuredCall(file.bytes);
    // As many records as the value budget has room for, each with a place for every name.
    const std::size_t kept = std::stoul(call.outcome.substr(7));
    EXPECT_GT(kept, 1000U);
    EXPECT_LT(kept * headNames().size() * ifdsweep::ValueBudget::kPlaceCost,
              valueBudgetOf(file.bytes.size()));
    EXPECT_NE(call.outcome.find("; Velmora:filesystem:readBudgetSpent x1; "), std::string::npos);
    EXPECT_NE(call.outcome.find("; Velmora:filesystem:valueBudgetSpent x1"), std::string::npos);
    expectCheap(call, file);
}

// A warning for every bad value, and the value shared by pages.
TEST_P(SharedDirectories, MillionsOfWarnings) {
    constexpr std::size_t kValues = 100000;
    Chain chain(1000, {numbers(kUnknownTag, kSRational, {}).withCount(kValues)});
    chain[0] = {numbers(kUnknownTag, kSRational, std::vector<std::int64_t>(2 * kValues, 0))};
    TiffFile file = build(format(), chain);
    for (const Place& place : file.places) {
        file.setOffset(place.entries[0] + format().valuePosition(),
                       file.offsetOf(file.places[0].data[0]));
    }
    const MeasuredCall call = measuredCall(file.bytes);
    const std::size_t warnings = std::stoul(call.outcome.substr(call.outcome.find(" x") + 2));
    EXPECT_GT(warnings, kValues);
    EXPECT_LE(warnings, valueBudgetOf(file.bytes.size()) / ifdsweep::ValueBudget::kWarningCost +
                            ifdsweep::ValueBudget::kLastWarnings + 1);
    EXPECT_EQ(call.outcome, "struct 2x1; badTagValueDivisionByZero x" + std::to_string(warnings) +
                                "; Velmora:filesystem:valueBudgetSpent x1");
    expectCheap(call, file);
}

class Wrapping : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(Wrapping);

TEST_P(Wrapping, AProductOfCountAndSizeThatWrapsLiesPastTheEnd) {
    struct Wrap {
        std::uint16_t type;
        std::uint64_t classicCount;
        std::uint64_t bigCount;
        std::uint64_t classicSize;  // in 64 bits, which nothing classic can wrap
        std::uint64_t bigSize;
    };
    constexpr std::uint64_t kWord = std::uint64_t{1} << 32U;
    const Wrap wraps[] = {
        {kDouble, kWord / 8, std::uint64_t{1} << 61U, kWord, 0},
        {kLong, kWord / 4 + 1, (std::uint64_t{1} << 62U) + 1, kWord + 4, 4},
        {kDouble, kWord / 8 + 1, (std::uint64_t{1} << 61U) + 1, kWord + 8, 8},
        {kRational, kWord / 8 + 1, (std::uint64_t{1} << 61U) + 1, kWord + 8, 8},
        {kShort, kWord - 1, std::uint64_t{1} << 63U, 2 * kWord - 2, 0},
    };
    for (const Wrap& wrap : wraps) {
        const bool isBig = format().isBig();
        const Entry entry = numbers(kUnknownTag, wrap.type, {1, 2, 3, 4})
                                .withCount(isBig ? wrap.bigCount : wrap.classicCount)
                                .withValueField(8);
        const Call given = callOf({{entry, shorts(kUnknownTag + 1, {5})}});
        EXPECT_EQ(given.warnings,
                  (Lines{"tagDataPastEOF(60000, " +
                         std::to_string(isBig ? wrap.bigSize : wrap.classicSize) + ')'}));
        EXPECT_EQ(given.added(), "UnknownTags=(ID=60001 Offset=0 Value=5)");
    }
}

TEST_P(Wrapping, OffsetsAtTheLimits) {
    struct Limit {
        std::uint64_t offset;
        const char* dataWarning;
        const char* shown;  // as a signed number
    };
    std::vector<Limit> limits{{0xFFFFFFFF, "tagDataPastEOF(60000, 16)", "4294967295"}};
    if (format().isBig()) {
        limits.push_back(
            {~std::uint64_t{0} >> 1U, "tagDataPastEOF(60000, 16)", "9223372036854775807"});
        limits.push_back({~std::uint64_t{0}, "badTagDataOffsetSeek(60000)", "-1"});
    }
    for (const Limit& limit : limits) {
        const Entry far = numbers(kUnknownTag, kUndefined, std::vector<std::int64_t>(16, 1))
                              .withValueField(limit.offset);
        const Directory page{far, shorts(kUnknownTag + 1, {5})};
        const Call given = callOf({page.withNext(limit.offset)});
        EXPECT_EQ(given.warnings,
                  (Lines{limit.dataWarning,
                         std::string("nextIfdPointerOutOfRange(") + limit.shown + ')'}));
        EXPECT_EQ(given.added(), "UnknownTags=(ID=60001 Offset=0 Value=5)");

        TiffBuilder builder(format());
        const TiffFile header = builder.add(page).withFirstOffset(limit.offset).build();
        EXPECT_EQ(callEntryPoint(header.bytes).error,
                  std::string("badTiffIfdOffset(") + limit.shown + ", " +
                      std::to_string(header.bytes.size()) + ')');
    }
}

class EndlessSkip : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(EndlessSkip);

TEST_P(EndlessSkip, ALoopIsSkippedByWholeRounds) {
    // 10^18 is 1 modulo 3; -1 stands for 2^64 - 1, which is 0 modulo 3.
    const TiffFile file = loop(format(), 3, 0);
    for (const auto& [first, page] : {std::pair(1e18, "1"), std::pair(-1.0, "0")}) {
        const Call given = callEntryPoint(file.bytes, {.firstIfdIndex = first, .maxIfdCount = 1});
        EXPECT_EQ(given.error, "");
        EXPECT_EQ(given.warnings, Lines{});
        EXPECT_EQ(given.added(), std::string("UnknownTags=(ID=60000 Offset=0 Value=") + page + ')');
        expectCheap(measuredCall(file.bytes, {.firstIfdIndex = first, .maxIfdCount = 1}), file);
    }
}

TEST_P(EndlessSkip, BehindTheLastDirectoryStandsTheHeader) {
    const TiffFile file = build(format(), pages(3));
    const bool leadsBack = format().isBig() && format().byteOrder == ByteOrder::big;
    for (const double first : {3.0, 1e18, -1.0}) {
        // Read as a directory, the header has more entries than the file can hold, and no next one
        // stands behind them. In one format they reach further than positions do, so that the skip
        // finds the first offset instead, and 10^18 is a multiple of that round of 4.
        const bool isFirstPage = leadsBack && first == 1e18;
        const MeasuredCall call = measuredCall(file.bytes, {.firstIfdIndex = first});
        EXPECT_EQ(call.outcome, isFirstPage ? "struct 3x1" : "error badIFDread");
        expectCheap(call, file);
    }
}

}  // namespace
}  // namespace fixture
