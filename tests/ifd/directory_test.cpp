// One directory: its table and the sorting of its entries.

#include <algorithm>
#include <memory>

#include "files/file_bytes.h"
#include "host/host_parts.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class DirectoryTable : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(DirectoryTable);

/// So many entries of unknown tags.
Directory unknownEntries(std::size_t count) {
    return Directory(std::vector<Entry>(count, shorts(60000, {1})));
}

std::size_t countOf(const std::string& text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST_P(DirectoryTable, WidthAndHeightAreTakenOutById) {
    const Call given = callOf({{shorts(256, {640}), longs(257, {480}), ascii(315, "x")}});
    EXPECT_EQ(given.value("Width"), "640");
    EXPECT_EQ(given.value("Height"), "480");
    EXPECT_EQ(given.value("Length"), "no field");
    EXPECT_EQ(given.added(), "Artist='x'");
}

TEST_P(DirectoryTable, WidthAndHeightNeverBecomeFieldsInAnyDirectory) {
    for (const std::uint16_t tag : Codes{34665, 34853, 40965}) {
        const Call given = callOf(
            {{shorts(256, {3}),
              pointer(tag, {{{shorts(256, {640}), shorts(257, {480}), shorts(60000, {1})}}})}});
        EXPECT_EQ(given.value("Width"), "3");
        EXPECT_NE(given.added().find("=(UnknownTags=(ID=60000 Offset=0 Value=1))"),
                  std::string::npos);
    }
}

TEST_P(DirectoryTable, WidthWithoutANumberKeepsWhatWasThere) {
    const Call given = callOf({{shorts(256, {640}), ascii(256, "x"), ascii(257, "y")}});
    EXPECT_EQ(given.value("Width"), "640");
    EXPECT_EQ(given.value("Height"), "0");
    EXPECT_EQ(
        given.warnings,
        (Lines{"expectedTagDataFormatMultiple('Width', 'TIFF_ASCII', 'TIFF_SHORT, TIFF_LONG')",
               "expectedTagDataFormatMultiple('Length', 'TIFF_ASCII', "
               "'TIFF_SHORT, TIFF_LONG')"}));
}

TEST_P(DirectoryTable, TheLaterWidthWins) {
    EXPECT_EQ(callOf({{shorts(256, {640}), doubles(256, {0.5})}}).value("Width"), "0.5");
}

TEST_P(DirectoryTable, OfEntriesWithTheSameIdTheLaterValueWins) {
    const Call given = callOf({{ascii(315, "first"), ascii(316, "host"), ascii(315, "second")}});
    EXPECT_EQ(given.added(), "Artist='second' HostComputer='host'");
}

TEST_P(DirectoryTable, AnEmptyValueAfterARealOneEmptiesTheField) {
    const Call given = callOf({{ascii(315, "first"), ascii(315, "")}});
    EXPECT_EQ(given.value("Artist"), "empty");
}

TEST_P(DirectoryTable, EntriesNeedNotBeSorted) {
    const Call given =
        callOf({{ascii(33432, "c"), ascii(315, "a"), shorts(257, {2}), shorts(256, {1})}});
    EXPECT_EQ(given.value("Width"), "1");
    EXPECT_EQ(given.value("Height"), "2");
    EXPECT_EQ(given.added(), "Artist='a' Copyright='c'");
}

TEST_P(DirectoryTable, ABadEntryIsSkippedAndTheNextIsRead) {
    const Call given =
        callOf({{ascii(315, "x").withType(14), ascii(316, "host"),
                 ascii(305, "0123456789").withValueField(0x7FFFFFFF), ascii(272, "model")}});
    EXPECT_EQ(given.added(), "Model='model' HostComputer='host'");
    EXPECT_EQ(given.warnings, (Lines{"unrecognizedTagFormatId(14)", "tagDataPastEOF(305, 10)"}));
}

TEST_P(DirectoryTable, ATruncatedTableEndsTheCall) {
    const TiffFile file = fileOf({{ascii(315, "x")}, {ascii(315, "y"), ascii(316, "z")}});
    const std::size_t table = file.places[1].entries[0];
    for (std::size_t length = table; length < file.places[1].next; ++length) {
        const Call given = callEntryPoint(truncated(file.bytes, length));
        EXPECT_EQ(given.error, "badIFDread('IFD #1')");
        EXPECT_EQ(given.result, "");
    }
}

TEST_P(DirectoryTable, AnEntryCountThatTheFileCannotHoldEndsTheCall) {
    const std::vector<std::uint64_t> counts =
        format().isBig()
            ? std::vector<std::uint64_t>{2,
                                         1000000,
                                         0xFFFFFFFF,
                                         std::uint64_t{1} << 60U,
                                         std::uint64_t{1} << 62U,  // times 20 wraps to 0
                                         922337203685477581U,
                                         1844674407370955162U,
                                         ~std::uint64_t{0}}
            : std::vector<std::uint64_t>{3, 1000, 65535};
    for (const std::uint64_t count : counts) {
        const Call given = callOf({Directory{shorts(256, {1})}.withEntryCount(count)});
        EXPECT_EQ(given.error, "badIFDread('IFD #1')") << count;
        EXPECT_EQ(given.warnings, Lines{});
    }
}

/// Zeros, and some bytes at the end.
class EndOfAHugeFile final : public ifdsweep::ByteSource {
public:
    static constexpr std::uint64_t kSize = std::uint64_t{1} << 50U;

    explicit EndOfAHugeFile(Bytes first, Bytes last)
        : beginning(std::move(first)), ending(std::move(last)) {}

    [[nodiscard]] std::uint64_t endingPosition() const { return kSize - ending.size(); }
    [[nodiscard]] std::uint64_t size() const noexcept override { return kSize; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        const std::uint64_t length =
            position > kSize ? 0 : std::min<std::uint64_t>(target.size(), kSize - position);
        for (std::size_t i = 0; i < length; ++i) {
            target[i] = static_cast<std::byte>(at(position + i));
        }
        return static_cast<std::ptrdiff_t>(length);
    }

private:
    [[nodiscard]] std::uint8_t at(std::uint64_t position) const {
        return position < beginning.size()   ? beginning[position]
               : position < endingPosition() ? std::uint8_t{0}
                                             : ending[position - endingPosition()];
    }

    Bytes beginning;
    Bytes ending;
};

// An offset of classic TIFF does not reach so far.
TEST(HugeFile, TakesNoMemoryForAnEntryCountAtItsEnd) {
    for (const ByteOrder byteOrder : {ByteOrder::little, ByteOrder::big}) {
        // Far less than the file, and far more than there is room for.
        constexpr std::uint64_t kEntries = std::uint64_t{1} << 45U;
        Bytes ending(100, 0);
        setWord(ending, 0, 8, kEntries, byteOrder);
        TiffBuilder builder(Format{Layout::big, byteOrder});
        builder.withFirstOffset(EndOfAHugeFile::kSize - ending.size());
        const auto source = std::make_shared<EndOfAHugeFile>(builder.build().bytes, ending);
        const Call given = callOnFile(kFileName, {}, [&](ifdsweep::Host& host) {
            qxFileStatus status;
            status.type = qxFileType::regular;
            status.timeStamps = {0, 0, 0};
            status.fileSize = source->size();
            filesOf(host).serve(kFileName, {source, status});
        });
        EXPECT_EQ(given.error, "badIFDread('IFD #1')");
        EXPECT_EQ(given.warnings, Lines{});
    }
}

TEST_P(DirectoryTable, ThatTheFileHasGrownOverIsRead) {
    const TiffFile file = fileOf({{shorts(256, {7}), ascii(315, "x")}});
    const Call given = callOnFile(kFileName, {}, [&](ifdsweep::Host& host) {
        qxFileStatus status;
        status.type = qxFileType::regular;
        status.timeStamps = {0, 0, 0};
        status.fileSize = file.places[0].entries[1];  // when it was looked at
        filesOf(host).serve(kFileName,
                            {std::make_shared<ifdsweep::MemoryBytes>(file.bytes), status});
    });
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.value("Width"), "7");
}

TEST_P(DirectoryTable, AnEntryCountTooSmallReadsTheNextOffsetFromTheTable) {
    const Call given = callOf({Directory{shorts(256, {1}), numbers(0, 0, {})}.withEntryCount(1)});
    EXPECT_EQ(given.value("Width"), "1");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(DirectoryTable, ADirectoryOfATiffMayBeLargerThanAnApp1Segment) {
    const Call given = callOf({unknownEntries(5462)});
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.warnings, Lines{});
    EXPECT_EQ(countOf(given.value("UnknownTags"), "ID="), 5462U);
}

TEST_P(DirectoryTable, TheMostEntriesOfAClassicCountAreRead) {
    const Call given = callOf({unknownEntries(65535)});
    EXPECT_EQ(countOf(given.value("UnknownTags"), "ID="), 65535U);
}

class JpegDirectory : public testing::TestWithParam<ByteOrder> {
protected:
    static Call callOf(const Chain& chain) {
        TiffBuilder builder({Layout::classic, GetParam()});
        for (const Directory& directory : chain) {
            builder.add(directory);
        }
        return callEntryPoint(builder.buildInJpeg().bytes, {.initialOffset = 12});
    }
};
INSTANTIATE_TEST_SUITE_P(ByteOrders, JpegDirectory,
                         testing::Values(ByteOrder::little, ByteOrder::big));

TEST_P(JpegDirectory, TheLargestTableOfAnApp1SegmentIsRead) {
    const Call given = callOf({unknownEntries(5461)});
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(countOf(given.value("UnknownTags"), "ID="), 5461U);
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(JpegDirectory, OneEntryMoreIsRefused) {
    const Call given = callOf({unknownEntries(5462)});
    EXPECT_EQ(given.error, "unableToReadTagData()");
    EXPECT_EQ(given.warnings, (Lines{"jpegApp1MaximumLengthExceeded(5462)"}));
}

TEST_P(JpegDirectory, ASecondDirectoryTooLargeEndsThePrimaryReadAsAWhole) {
    const Call given = callOf({{ascii(315, "lost")}, unknownEntries(5462)});
    EXPECT_EQ(given.error, "unableToReadTagData()");
    EXPECT_EQ(given.warnings, (Lines{"jpegApp1MaximumLengthExceeded(5462)"}));
}

TEST_P(JpegDirectory, ANestedDirectoryTooLargeDropsItsPointerOnly) {
    const Call given =
        callOf({{ascii(315, "kept"), pointer(34665, {{unknownEntries(5462)}}), ascii(316, "too")}});
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.value("Artist"), "'kept'");
    EXPECT_EQ(given.value("HostComputer"), "'too'");
    EXPECT_EQ(given.value("DigitalCamera"), "no field");
    EXPECT_EQ(given.warnings, (Lines{"jpegApp1MaximumLengthExceeded(5462)"}));
}

TEST_P(JpegDirectory, ADeclaredCountTooLargeIsRefusedBeforeItIsRead) {
    const Call given = callOf({Directory{ascii(315, "x")}.withEntryCount(65535)});
    EXPECT_EQ(given.error, "unableToReadTagData()");
    EXPECT_EQ(given.warnings, (Lines{"jpegApp1MaximumLengthExceeded(65535)"}));
}

}  // namespace
}  // namespace fixture
