// The header, the base of all offsets, and the directories that are skipped.

#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class Header : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(Header);

Directory named(std::string_view artist) {
    return {ascii(315, artist)};
}

/// A signed number as a message shows it.
std::string shown(std::uint64_t number) {
    return std::to_string(static_cast<std::int64_t>(number));
}

TEST_P(Header, ATruncatedHeaderCannotBeRead) {
    const TiffFile file = fileOf({named("x")});
    for (std::size_t length = 0; length < format().headerSize(); ++length) {
        const Call given = callEntryPoint(truncated(file.bytes, length));
        EXPECT_EQ(given.error, "tiffHeaderReadFailure()") << length;
        EXPECT_EQ(given.warnings, Lines{});
    }
}

TEST_P(Header, AnUnknownByteOrderNamesItsBytesAndTheFile) {
    TiffFile file = fileOf({named("x")});
    file.bytes[0] = 'M';
    file.bytes[1] = 'I';
    EXPECT_EQ(callEntryPoint(file.bytes).error, "badEndianness(77, 73, u'call.tif')");
    file.bytes[0] = 0x80;
    file.bytes[1] = 0xFF;
    EXPECT_EQ(callEntryPoint(file.bytes).error, "badEndianness(128, 255, u'call.tif')");
}

TEST_P(Header, AFirstDirectoryAtTheEndPassesTheHeader) {
    TiffBuilder builder(format());
    const std::uint64_t end = format().headerSize();
    const Call given = callEntryPoint(builder.withFirstOffset(end).build().bytes);
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.result, "double 0x0");
    EXPECT_EQ(given.warnings, (Lines{"numberOfDirectoryEntriesReadError(" + shown(end) + ')'}));
}

TEST_P(Header, AFirstDirectoryPastTheEndIsAnError) {
    TiffBuilder builder(format());
    const std::uint64_t end = format().headerSize();
    EXPECT_EQ(callEntryPoint(builder.withFirstOffset(end + 1).build().bytes).error,
              "badTiffIfdOffset(" + shown(end + 1) + ", " + shown(end) + ')');
    const std::uint64_t most = format().isBig() ? ~std::uint64_t{0} : 0xFFFFFFFF;
    EXPECT_EQ(callEntryPoint(builder.withFirstOffset(most).build().bytes).error,
              "badTiffIfdOffset(" + shown(most) + ", " + shown(end) + ')');
}

TEST_P(Header, AFirstOffsetOfZeroReadsTheHeaderAsADirectory) {
    EXPECT_EQ(callEntryPoint(TiffBuilder(format()).build().bytes).error, "badIFDread('IFD #1')");
}

TEST_P(Header, TheVersionIsNotExamined) {
    TiffBuilder builder(Format{Layout::big, format().byteOrder});
    for (const std::uint16_t version : Codes{0, 1, 41, 44, 0x2A2A, 65535}) {
        const Call given =
            callEntryPoint(builder.withVersion(version).add(named("x")).build().bytes);
        EXPECT_EQ(given.value("Artist"), "'x'") << version;
    }
}

TEST_P(Header, TheOffsetSizeOfABigTiffIsNotExamined) {
    if (!format().isBig()) {
        GTEST_SKIP() << "a classic file has no offset size";
    }
    TiffFile file = fileOf({named("x")});
    for (const std::uint64_t word : {0U, 4U, 16U, 65535U}) {
        setWord(file.bytes, 4, 2, word, file.format.byteOrder);
        setWord(file.bytes, 6, 2, word, file.format.byteOrder);
        EXPECT_EQ(callEntryPoint(file.bytes).added(), "Artist='x'");
    }
}

TEST_P(Header, DirectoriesAreSkipped) {
    const Chain chain{named("0"), named("1"), named("2")};
    for (const double skipped : {0.0, 1.0, 2.0, 2.9}) {
        const Call given = callOf(chain, {.firstIfdIndex = skipped});
        const int first = static_cast<int>(skipped);
        EXPECT_EQ(given.result, "struct " + std::to_string(3 - first) + "x1");
        EXPECT_EQ(given.value("Artist"), '\'' + std::to_string(first) + '\'');
        EXPECT_EQ(given.warnings, Lines{});
    }
}

TEST_P(Header, SkippingPastTheLastDirectoryGoesOnAtTheHeader) {
    EXPECT_EQ(callOf({named("0"), named("1")}, {.firstIfdIndex = 2}).error, "badIFDread('IFD #1')");
}

TEST_P(Header, SkippingTheHeaderItselfReadsItAsADirectory) {
    // The byte-order mark becomes an entry count. Behind so many entries the file has ended, and
    // the next offset reads as 0: the header again. Only in a big-endian BigTIFF the entries reach
    // farther than any position; then nothing is moved, and what follows the count is the offset
    // of the first directory.
    const bool leadsBack = format().isBig() && format().byteOrder == ByteOrder::big;
    const std::string header = "badIFDread('IFD #1')";
    const std::vector<std::pair<double, std::string>> cases{
        {3, "struct 2x1"},    {4, "struct 1x1"},    {5, header},         {6, "struct 2x1"},
        {1000, "struct 1x1"}, {1e18, "struct 1x1"}, {1e19, "struct 1x1"}};
    for (const auto& [skipped, expected] : cases) {
        const Call given = callOf({named("0"), named("1")}, {.firstIfdIndex = skipped});
        EXPECT_EQ(given.error + given.result, leadsBack ? expected : header) << skipped;
    }
}

TEST_P(Header, SkippingANextOffsetPastTheEndIsNoError) {
    const Call given = callOf({named("0").withNext(0x7FFFFFFF)}, {.firstIfdIndex = 1});
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.result, "double 0x0");
    EXPECT_EQ(given.warnings, (Lines{"numberOfDirectoryEntriesReadError(2147483647)"}));
}

TEST_P(Header, SkippedEntriesAreNotRead) {
    const Call given =
        callOf({{shorts(277, {1, 2, 3}), shorts(60000, {1}).withType(14)}, named("next")},
               {.firstIfdIndex = 1});
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.added(), "Artist='next'");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(Header, ALyingEntryCountOfASkippedDirectoryGoesOnAtTheHeader) {
    // The next offset lies past the end; it reads as 0, which is where the header is.
    EXPECT_EQ(callOf({named("0").withEntryCount(60000)}, {.firstIfdIndex = 1}).error,
              "badIFDread('IFD #1')");
}

TEST_P(Header, ANextOffsetThatCannotBeSoughtIsAnErrorWhileSkipping) {
    if (!format().isBig()) {
        GTEST_SKIP() << "every 32-bit offset can be sought";
    }
    for (const std::uint64_t next : {std::uint64_t{1} << 63U, ~std::uint64_t{0}}) {
        EXPECT_EQ(callOf({named("0").withNext(next)}, {.firstIfdIndex = 1}).error,
                  "badTiffHeaderIfdOffset()");
    }
}

TEST_P(Header, OffsetsCountFromWhereTheStreamBegins) {
    // The first bytes still decide the layout, wherever the stream begins.
    const Bytes prefix = format().isBig() ? Bytes{'n', 'o', 't', 'h', 'i', 'n', 'g'}
                                          : Bytes{0x4D, 0x4D, 0, 42, 1, 2, 3};
    TiffBuilder builder(format());
    builder.add({ascii(315, "0123456789"), pointer(34665, {{named("nested")}})});
    const TiffFile file = builder.add(named("second")).buildBehind(prefix);
    const Call given = callEntryPoint(file.bytes, {.initialOffset = 7.9});
    EXPECT_EQ(given.value("Artist", 0), "'0123456789'");
    EXPECT_EQ(given.value("DigitalCamera", 0), "(Artist='nested')");
    EXPECT_EQ(given.value("Artist", 1), "'second'");
    EXPECT_EQ(given.value("Offset", 0), std::to_string(file.places[0].position));
    EXPECT_EQ(given.value("ByteOrder"),
              format().byteOrder == ByteOrder::little ? "'little-endian'" : "'big-endian'");
}

TEST_P(Header, TheFirstBytesDecideTheLayoutOfAStreamBehindThem) {
    const Format classic{Layout::classic, format().byteOrder};
    TiffFile file = TiffBuilder(classic).add(named("x")).buildBehind(Bytes(8, 'x'));
    // Under text, a classic stream is laid out as a BigTIFF: its entry count becomes the offset.
    EXPECT_EQ(callEntryPoint(file.bytes, {.initialOffset = 8}).error.rfind("badTiffIfdOffset(", 0),
              0U);
}

TEST_P(Header, AStreamThatBeginsPastTheEndCannotBeRead) {
    const TiffFile file = fileOf({named("x")});
    const auto size = static_cast<double>(file.bytes.size());
    for (const double offset : {size, size + 1, 9007199254740992.0, 9223372036854774784.0}) {
        EXPECT_EQ(callEntryPoint(file.bytes, {.initialOffset = offset}).error,
                  "tiffHeaderReadFailure()");
    }
}

TEST_P(Header, AStreamPositionThatCannotBeSoughtLeavesTheStart) {
    const TiffFile file = fileOf({named("x")});
    for (const double offset : {9223372036854775808.0, 1e19, -1.0, 1e300}) {
        EXPECT_EQ(callEntryPoint(file.bytes, {.initialOffset = offset}).added(), "Artist='x'")
            << offset;
    }
}

TEST(HeaderOfOtherFiles, ATextFileIsJudgedByItsByteOrder) {
    const Bytes text{'H', 'e', 'l', 'l', 'o', ',', ' ', 'w', 'o', 'r', 'l', 'd'};
    EXPECT_EQ(callEntryPoint(text).error, "badEndianness(72, 101, u'call.tif')");
}

TEST(HeaderOfOtherFiles, AJpegIsReadOnlyFromTheOffsetOfItsStream) {
    for (const ByteOrder byteOrder : {ByteOrder::little, ByteOrder::big}) {
        const TiffFile file =
            TiffBuilder({Layout::classic, byteOrder}).add(named("x")).buildInJpeg();
        EXPECT_EQ(callEntryPoint(file.bytes).error, "badEndianness(255, 216, u'call.tif')");
        EXPECT_EQ(callEntryPoint(file.bytes, {.initialOffset = 12}).value("Artist"), "'x'");
    }
}

TEST(HeaderOfOtherFiles, AJpegIsClassicWhateverTheVersion) {
    const TiffFile file = TiffBuilder({Layout::classic, ByteOrder::little})
                              .withVersion(43)
                              .add(named("x"))
                              .buildInJpeg();
    EXPECT_EQ(callEntryPoint(file.bytes, {.initialOffset = 12}).value("Artist"), "'x'");
}

TEST(HeaderOfOtherFiles, AMissingFileIsReportedAfterTheSniffers) {
    EXPECT_EQ(callOnFile(u"/no such folder/no such file").error, "statFailure()");
}

TEST(HeaderOfOtherFiles, AnEmptyNameIsAMissingFile) {
    EXPECT_EQ(callOnFile(u"").error, "statFailure()");
}

TEST(HeaderOfOtherFiles, AFolderCannotBeOpened) {
    EXPECT_EQ(callOnFile(u"/").error.rfind("Velmora:filesystem:openFailure(", 0), 0U);
}

}  // namespace
}  // namespace fixture
