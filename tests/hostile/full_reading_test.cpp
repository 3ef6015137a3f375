// What the full reading follows and the contract's does not, made to hang it or to take all its
// memory: whole pointers that are shared and loop, cut tables by the thousand, values of pointers.

#include "hostile/hostile_builders.h"
#include "support/record_dump.h"

namespace fixture {
namespace {

MeasuredCall fullCall(const TiffFile& file) {
    return measuredCall(file.bytes, fullReading());
}

/// Ended by a budget, in reads of some size: a long value or table takes several.
void expectEndedByBudget(const MeasuredCall& call, const TiffFile& file) {
    constexpr std::uint64_t kReadSize = 8192;
    const std::uint64_t size = file.bytes.size();
    EXPECT_EQ(call.outcome.rfind("struct 1x1; ", 0), 0U) << call.outcome;
    EXPECT_NE(call.outcome.find("BudgetSpent x1"), std::string::npos) << call.outcome;
    EXPECT_EQ(call.outcome.find("error"), std::string::npos) << call.outcome;
    EXPECT_LT(call.megabytes, kMostMegabytes);
    EXPECT_LE(call.reads.bytes, readBudgetOf(size) + size);
    EXPECT_LE(call.reads.calls, 10 + readBudgetOf(size) / kReadSize);
}

class WholePointers : public testing::TestWithParam<std::tuple<Format, std::uint16_t>> {
protected:
    static Format format() { return std::get<0>(GetParam()); }
    static std::uint16_t type() { return std::get<1>(GetParam()); }
    static void expectEnded(const TiffFile& file) { expectEndedByBudget(fullCall(file), file); }
    /// Warnings about the type stand before all others.
    static std::string typed(std::size_t times) {
        return type() == kIfd8 ? ""
                               : "expectedTagDataFormatMultiple x" + std::to_string(times) + "; ";
    }
};
INSTANTIATE_TEST_SUITE_P(Types, WholePointers,
                         testing::Combine(testing::ValuesIn(kFormats),
                                          testing::Values(kLong8, kIfd8, kSLong8, kShort)),
                         [](const auto& made) {
                             return nameOf(std::get<0>(made.param)) + "Type" +
                                    std::to_string(std::get<1>(made.param));
                         });

TEST_P(WholePointers, ToTheirOwnDirectory) {
    const TiffFile one = pointsAtItself(format(), kSubIfds, type());
    const MeasuredCall call = fullCall(one);
    EXPECT_EQ(call.outcome, "struct 1x1; " + typed(65) + "illegallyNestedIFD x1");
    expectCheap(call, one);
    const TiffFile exif = pointsAtItself(format(), kExif, type());
    EXPECT_EQ(fullCall(exif).outcome, "struct 1x1; illegallyNestedIFD x1");
    expectEnded(pointsAtItself(format(), kSubIfds, type(), 2));
}

TEST_P(WholePointers, ThatNestTooDeep) {
    if (type() == kShort) {
        GTEST_SKIP() << "two bytes lead less far";
    }
    const TiffFile file = levels(format(), 20000, 1, type());
    const MeasuredCall call = fullCall(file);
    EXPECT_EQ(call.outcome, "struct 1x1; " + typed(65) + "illegallyNestedIFD x1");
    expectCheap(call, file);
}

TEST_P(WholePointers, ThatAreShared) {
    expectEnded(levels(format(), 26, 2, type()));
    expectEnded(levels(format(), 8, 16, type()));
    if (type() != kShort) {
        expectEnded(levels(format(), 2, 100000, type()));
    }
}

TEST_P(WholePointers, AMegabyteToTheirOwnDirectory) {
    const std::size_t pointers = 1000000 / offsetWidth(type());
    expectEnded(pointsAtItself(format(), kSubIfds, type(), pointers));
}

TEST_P(WholePointers, AMegabyteToNowhere) {
    // Past the end, or where nothing can be sought: a warning for each, as far as they are kept.
    const std::size_t pointers = 1000000 / offsetWidth(type());
    TiffFile file =
        build(format(), {{numbers(kSubIfds, type(), std::vector<std::int64_t>(pointers, -1))}});
    const MeasuredCall call = fullCall(file);
    EXPECT_EQ(call.outcome.rfind("struct 1x1; ", 0), 0U) << call.outcome;
    EXPECT_EQ(call.outcome.find("error"), std::string::npos) << call.outcome;
    const char* expected = type() == kShort ? "; numDirectoryEntriesIsZero x" : "; badSubIfdSeek x";
    if (type() != kShort) {
        EXPECT_NE(call.outcome.find(expected), std::string::npos) << call.outcome;
    }
    expectCheap(call, file);
}

class CutTablesByTheThousand : public TiffMatrix {
protected:
    /// A file that ends inside a table, to which so many pointers lead.
    static TiffFile sharedCutTable(std::size_t pointers, const Entry& entry, std::size_t entries,
                                   std::uint64_t announced) {
        TiffFile file =
            build(format(),
                  {Directory{longs(kSubIfds, std::vector<std::int64_t>(pointers, 0))}.withNext(0),
                   Directory(std::vector<Entry>(entries, entry)).withEntryCount(announced)});
        for (std::size_t i = 0; i < pointers; ++i) {
            setWord(file.bytes, file.places[0].data[0] + 4 * i, 4,
                    file.offsetOf(file.places[1].position), format().byteOrder);
        }
        file.bytes.resize(file.places[1].next - 1);
        return file;
    }
    static std::uint64_t most() { return format().isBig() ? ~std::uint64_t{0} : 0xFFFF; }
};
IFDSWEEP_TIFF_MATRIX(CutTablesByTheThousand);

TEST_P(CutTablesByTheThousand, OfFewEntries) {
    const TiffFile file = sharedCutTable(5000, shorts(kUnknownTag, {1}), 3, most());
    const MeasuredCall call = fullCall(file);
    EXPECT_EQ(call.outcome.rfind("struct 1x1; ifdsweep:directoryCut x", 0), 0U) << call.outcome;
    EXPECT_EQ(call.outcome.find("error"), std::string::npos) << call.outcome;
    expectCheap(call, file);
}

TEST_P(CutTablesByTheThousand, OfManyEntries) {
    for (const Entry& entry : {shorts(kUnknownTag, {1}), shorts(kUnknownTag, {1}).withType(14),
                               floats(kExif, {1.0F}), shorts(256, {1, 2})}) {
        const TiffFile file = sharedCutTable(20000, entry, 4000, most());
        const MeasuredCall call = fullCall(file);
        EXPECT_NE(call.outcome.find("ifdsweep:directoryCut x"), std::string::npos) << call.outcome;
        expectEndedByBudget(call, file);
    }
}

TEST_P(CutTablesByTheThousand, OfPointersToThemselves) {
    TiffFile file = sharedCutTable(1000, longs(kSubIfds, {0}), 1000, most());
    for (const std::size_t entry : file.places[1].entries) {
        if (entry + format().entrySize() <= file.bytes.size()) {
            setWord(file.bytes, entry + format().valuePosition(), 4,
                    file.offsetOf(file.places[1].position), format().byteOrder);
        }
    }
    expectEndedByBudget(fullCall(file), file);
}

TEST_P(CutTablesByTheThousand, AtEveryLevel) {
    // Each level has a buffer for a table that is announced to be as large as can be.
    TiffFile file = pointsAtItself(format(), kSubIfds);
    setWord(file.bytes, file.places[0].position, format().entryCountSize(), most(),
            format().byteOrder);
    const MeasuredCall call = fullCall(file);
    EXPECT_EQ(call.outcome, "struct 1x1; ifdsweep:directoryCut x65; illegallyNestedIFD x1");
    expectCheap(call, file);
    if (format().isBig()) {
        // And where the file could hold much of it.
        file.bytes.resize(4U << 20U);
        expectEndedByBudget(fullCall(file), file);
    }
}

class SharedValues : public TiffMatrix {
protected:
    /// A directory in which so many entries share the value of the first.
    static TiffFile shared(const Entry& entry, std::size_t entries) {
        std::vector<Entry> all(entries, numbers(entry.tag, entry.type, {}).withCount(entry.count));
        all[0] = entry;
        TiffFile file = build(format(), {Directory(std::move(all))});
        const std::uint64_t value = file.offsetOf(file.places[0].data[0]);
        for (const std::size_t position : file.places[0].entries) {
            file.setOffset(position + format().valuePosition(), value);
        }
        return file;
    }
};
IFDSWEEP_TIFF_MATRIX(SharedValues);

TEST_P(SharedValues, OfPointersThatHoldNoOffset) {
    const std::string text(60000, 'x');
    for (const Entry& entry :
         {ascii(kExif, text), doubles(kGps, std::vector<double>(7500, 1)),
          numbers(kSubIfds, kSRational, std::vector<std::int64_t>(15000, 0))}) {
        const TiffFile file = shared(entry, 2000);
        const MeasuredCall call = fullCall(file);
        EXPECT_NE(call.outcome.find("ifdsweep:pointerHoldsNoOffset x"), std::string::npos)
            << call.outcome;
        expectEndedByBudget(call, file);
    }
}

TEST_P(SharedValues, OfTagsThatHoldOneNumber) {
    for (const std::uint16_t tag : Codes{256, 277, 278, 284}) {
        const TiffFile file = shared(shorts(tag, std::vector<std::int64_t>(30000, 1)), 2000);
        const MeasuredCall call = fullCall(file);
        EXPECT_NE(call.outcome.find("badTagDataCount x"), std::string::npos) << call.outcome;
        expectEndedByBudget(call, file);
    }
}

}  // namespace
}  // namespace fixture
