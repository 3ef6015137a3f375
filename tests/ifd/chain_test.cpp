// The walk from directory to directory.

#include "support/planned_faults.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class ChainWalk : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(ChainWalk);

Directory named(std::string_view artist) {
    return {ascii(315, artist)};
}

std::string at(std::uint64_t position) {
    return '(' + std::to_string(position) + ')';
}

TEST_P(ChainWalk, ANextOffsetOfZeroEndsTheChain) {
    const Call given = callOf({named("only")});
    EXPECT_EQ(given.result, "struct 1x1");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(ChainWalk, EveryDirectoryIsReadInOrder) {
    Chain chain;
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        chain.push_back(named(std::string(1, letter)));
    }
    const Call given = callOf(chain);
    ASSERT_EQ(given.result, "struct 26x1");
    for (std::size_t i = 0; i < chain.size(); ++i) {
        EXPECT_EQ(given.value("Artist", i), std::string("'") + static_cast<char>('a' + i) + '\'');
    }
}

TEST_P(ChainWalk, ANextOffsetAtTheEndIsOutOfRange) {
    TiffFile file = fileOf({named("first")});
    const std::uint64_t size = file.bytes.size();
    for (const std::uint64_t next : {size, size + 1, std::uint64_t{0x7FFFFFFF}}) {
        file.setOffset(file.places[0].next, next);
        const Call given = callEntryPoint(file.bytes);
        EXPECT_EQ(given.added(), "Artist='first'");
        EXPECT_EQ(given.result, "struct 1x1");
        EXPECT_EQ(given.warnings, (Lines{"nextIfdPointerOutOfRange" + at(next)}));
    }
}

TEST_P(ChainWalk, ANextOffsetJustBeforeTheEndIsReadAsADirectory) {
    TiffFile file = fileOf({named("first")});
    const std::uint64_t last = file.bytes.size() - 1;
    file.setOffset(file.places[0].next, last);
    const Call given = callEntryPoint(file.bytes);
    EXPECT_EQ(given.added(), "Artist='first'");
    EXPECT_EQ(given.warnings, (Lines{"numberOfDirectoryEntriesReadError" + at(last)}));
}

TEST_P(ChainWalk, TheLargestNextOffsetIsReportedAsSigned) {
    TiffFile file = fileOf({named("first")});
    file.setOffset(file.places[0].next, ~std::uint64_t{0});
    EXPECT_EQ(callEntryPoint(file.bytes).warnings,
              (Lines{std::string("nextIfdPointerOutOfRange(") +
                     (format().isBig() ? "-1)" : "4294967295)")}));
}

TEST_P(ChainWalk, NextOffsetsCountFromTheTiffHeader) {
    TiffBuilder builder(format());
    TiffFile file =
        builder.add(named("first"))
            .buildBehind(format().isBig() ? Bytes(11, 'x')
                                          : Bytes{0x49, 0x49, 42, 0, 0, 0, 0, 0, 0, 0, 0});
    file.setOffset(file.places[0].next, file.bytes.size() - 11);
    EXPECT_EQ(callEntryPoint(file.bytes, {.initialOffset = 11}).warnings,
              (Lines{"nextIfdPointerOutOfRange" + at(file.bytes.size())}));
    file.setOffset(file.places[0].next, ~std::uint64_t{0});
    EXPECT_EQ(callEntryPoint(file.bytes, {.initialOffset = 11}).warnings,
              (Lines{std::string("nextIfdPointerOutOfRange(") +
                     (format().isBig() ? "10)" : "4294967306)")}));
}

TEST_P(ChainWalk, ATruncatedNextOffsetCannotBeRead) {
    const TiffFile file = fileOf({{shorts(256, {1})}});
    ASSERT_EQ(file.bytes.size(), file.places[0].next + format().offsetSize());
    for (std::size_t missing = 1; missing <= format().offsetSize(); ++missing) {
        const Call given = callEntryPoint(truncated(file.bytes, file.bytes.size() - missing));
        EXPECT_EQ(given.value("Width"), "1");
        EXPECT_EQ(given.warnings, (Lines{"nextIfdOffsetReadError" + at(file.places[0].next)}));
    }
}

TEST_P(ChainWalk, ATruncatedEntryCountEndsTheChain) {
    const TiffFile file = fileOf({named("first"), {}});
    for (std::size_t size = 1; size < format().entryCountSize(); ++size) {
        const Call given = callEntryPoint(truncated(file.bytes, file.places[1].position + size));
        EXPECT_EQ(given.added(), "Artist='first'");
        EXPECT_EQ(given.warnings,
                  (Lines{"numberOfDirectoryEntriesReadError" + at(file.places[1].position)}));
    }
}

TEST_P(ChainWalk, AnEntryCountOfZeroEndsTheChain) {
    const TiffFile file = fileOf({named("first"), {}, named("unseen")});
    const Call given = callEntryPoint(file.bytes);
    EXPECT_EQ(given.result, "struct 1x1");
    EXPECT_EQ(given.warnings, (Lines{"numDirectoryEntriesIsZero" + at(file.places[1].position)}));
}

TEST_P(ChainWalk, AnEmptyFirstDirectoryGivesNoRecord) {
    const TiffFile file = fileOf({Directory{}});
    const Call given = callEntryPoint(file.bytes);
    EXPECT_EQ(given.result, "double 0x0");
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.warnings, (Lines{"numDirectoryEntriesIsZero" + at(file.places[0].position)}));
}

TEST_P(ChainWalk, TheMaximumCountEndsTheChain) {
    const Chain chain{named("0"), named("1"), named("2")};
    const std::vector<std::pair<double, int>> cases{{0, 3},   {1, 1},   {2, 2},    {3, 3},   {4, 3},
                                                    {2.9, 2}, {0.9, 3}, {1e19, 3}, {-1.0, 3}};
    for (const auto& [maximum, expected] : cases) {
        EXPECT_EQ(callOf(chain, {.maxIfdCount = maximum}).result,
                  "struct " + std::to_string(expected) + "x1")
            << maximum;
    }
}

TEST_P(ChainWalk, TheNextOffsetOfTheLastCountedDirectoryIsNotRead) {
    EXPECT_EQ(callOf({named("0").withNext(0x7FFFFFFF)}, {.maxIfdCount = 1}).warnings, Lines{});
    const TiffFile file = fileOf({{shorts(256, {1})}});
    EXPECT_EQ(
        callEntryPoint(truncated(file.bytes, file.places[0].next), {.maxIfdCount = 1}).warnings,
        Lines{});
}

TEST_P(ChainWalk, SkippedDirectoriesDoNotCount) {
    const Call given = callOf({named("0"), named("1"), named("2"), named("3")},
                              {.firstIfdIndex = 1, .maxIfdCount = 2});
    EXPECT_EQ(given.result, "struct 2x1");
    EXPECT_EQ(given.value("Artist", 0), "'1'");
    EXPECT_EQ(given.value("Artist", 1), "'2'");
}

TEST_P(ChainWalk, ADirectoryThatIsItsOwnNextIsReadAgain) {
    TiffFile file = fileOf({named("again")});
    file.setOffset(file.places[0].next, file.offsetOf(file.places[0].position));
    const Call given = callEntryPoint(file.bytes, {.maxIfdCount = 3});
    EXPECT_EQ(given.result, "struct 3x1");
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(given.value("Artist", i), "'again'");
        EXPECT_EQ(given.value("Offset", i), std::to_string(file.places[0].position));
    }
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(ChainWalk, AChainWithoutEndIsEndedByTheReadBudget) {
    TiffFile file = fileOf({named("again")});
    file.setOffset(file.places[0].next, file.offsetOf(file.places[0].position));
    const Call given =
        callEntryPoint(file.bytes, {}, [](ifdsweep::Host& host) { host.setReadBudget(100000); });
    EXPECT_EQ(given.error, "");
    EXPECT_GT(given.records.size(), 100U);
    // The last directory may lack values that were refused; those before are whole.
    EXPECT_EQ(given.value("Artist", given.records.size() - 2), "'again'");
    ASSERT_GE(given.warnings.size(), 1U);
    const std::string spent =
        "Velmora:filesystem:readBudgetSpent(100000, " + std::to_string(file.bytes.size()) + ')';
    EXPECT_EQ(std::count(given.warnings.begin(), given.warnings.end(), spent), 1);
}

class JpegChain : public testing::TestWithParam<ByteOrder> {
protected:
    static Call callOf(const Chain& chain, Numbers numbers = {}) {
        TiffBuilder builder({Layout::classic, GetParam()});
        for (const Directory& directory : chain) {
            builder.add(directory);
        }
        numbers.initialOffset = 12;
        return callEntryPoint(builder.buildInJpeg().bytes, numbers);
    }
};
INSTANTIATE_TEST_SUITE_P(ByteOrders, JpegChain, testing::Values(ByteOrder::little, ByteOrder::big));

TEST_P(JpegChain, ADirectoryOfSkippedEntriesIsNotKeptAndNotCounted) {
    const Chain chain{{shorts(256, {5}), shorts(257, {6})},
                      {ascii(315, "x").withType(14)},
                      named("kept"),
                      named("too many")};
    const Call given = callOf(chain, {.maxIfdCount = 1});
    EXPECT_EQ(given.result, "struct 1x1");
    EXPECT_EQ(given.value("Artist"), "'kept'");
    EXPECT_EQ(given.value("Width"), "0");
    EXPECT_EQ(given.warnings, (Lines{"unrecognizedTagFormatId(14)"}));
}

TEST_P(JpegChain, NoKeptDirectoryGivesNoRecord) {
    const Call given = callOf({{shorts(256, {5}), shorts(257, {6})}});
    EXPECT_EQ(given.result, "double 0x0");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(JpegChain, AnUnknownTagAloneKeepsTheDirectory) {
    const Call given = callOf({{shorts(256, {5}), shorts(60000, {7})}});
    EXPECT_EQ(given.result, "struct 1x1");
    EXPECT_EQ(given.value("Width"), "5");
    EXPECT_EQ(given.value("UnknownTags"), "(ID=60000 Offset=0 Value=7)");
}

}  // namespace
}  // namespace fixture
