// The pointer tags: SubIFDs, Exif, GPS, Interoperability.

#include <cstddef>

#include "support/record_dump.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

/// A directory told apart by its Artist.
Directory named(std::string_view artist) {
    return {ascii(kArtist, artist)};
}

class Nesting : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(Nesting);

TEST_P(Nesting, ExifAndTheInteroperabilityInsideItAreFollowed) {
    const Call given =
        callOf({{pointer(kExif, {{{ascii(271, "Maker"), numbers(33434, kRational, {1, 4}),
                                   pointer(kInterop, {{{ascii(1, "R98")}}})}}}),
                 pointer(kGps, {{{numbers(0, kByte, {2, 2, 0, 0})}}})}});
    EXPECT_EQ(given.added(),
              "DigitalCamera=(Make='Maker' ExposureTime=0.25 "
              "InteroperabilityIFD=(InteroperabilityIndex='R98')) "
              "GPSInfo=(GPSVersionID=[2 2 0 0])");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(Nesting, SubIfdsYieldOneCellAChainInPointerOrder) {
    const Call given =
        callOf({{pointer(kSubIfds, {{named("1")}, {named("2"), named("3")}, {named("4")}})}});
    EXPECT_EQ(given.added(), "SubIFDs={(Artist='1'), (Artist='2')(Artist='3'), (Artist='4')}");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(Nesting, AnEmptyChainLeavesNoCell) {
    const TiffFile file = fileOf({{pointer(kSubIfds, {{named("1")}, {}, {named("3")}})}});
    const Call given = callEntryPoint(file.bytes);
    EXPECT_EQ(given.added(), "SubIFDs={(Artist='1'), (Artist='3')}");
    EXPECT_EQ(given.warnings, (Lines{"numDirectoryEntriesIsZero(" +
                                     std::to_string(file.places[2].position) + ')'}));
}

TEST_P(Nesting, APointerWhoseChainsAreAllEmptyLeavesNoTrace) {
    const Call given = callOf({{pointer(kSubIfds, {{}, {}}), pointer(kExif, {{}})}});
    EXPECT_EQ(given.names(), headNames());
    EXPECT_EQ(given.warnings.size(), 3U);
}

TEST_P(Nesting, ANestedDirectoryOfSizeOnlyIsDroppedSilently) {
    const Call given = callOf({{pointer(kExif, {{{shorts(256, {7}), shorts(257, {8})}}}),
                                pointer(kGps, {{{shorts(256, {7})}}})}});
    EXPECT_EQ(given.names(), headNames());
    EXPECT_EQ(given.value("Width"), "0");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(Nesting, ExifGpsAndInteroperabilityHoldOneDirectory) {
    for (const std::uint16_t tag : Codes{kExif, kGps, kInterop}) {
        const Directory unknown{shorts(60000, {1})};
        const Call given =
            callOf({{pointer(tag, {{unknown, unknown}}), pointer(tag, {{unknown.withNext(~0U)}})}});
        EXPECT_NE(given.added().find("=(UnknownTags=(ID=60000 Offset=0 Value=1))"),
                  std::string::npos);
        EXPECT_EQ(given.warnings, Lines{});
    }
}

TEST_P(Nesting, OfSeveralOffsetsAllAreReadAndTheFirstIsShown) {
    const Call given = callOf({{pointer(kExif, {{named("first")}, {{ascii(kArtist, "")}}})}});
    EXPECT_EQ(given.added(), "DigitalCamera=(Artist='first')");
    EXPECT_EQ(given.warnings, (Lines{"zeroComponentCount('Artist')"}));
}

TEST_P(Nesting, TheFirstTreeThatHoldsADirectoryIsShown) {
    EXPECT_EQ(callOf({{pointer(kExif, {{}, {named("second")}})}}).added(),
              "DigitalCamera=(Artist='second')");
}

TEST_P(Nesting, GpsAndInteroperabilityPointNowhere) {
    for (const std::uint16_t tag : Codes{kSubIfds, kExif, kGps, kInterop}) {
        const Entry nested = pointer(tag, {{named("unseen")}, {named("unseen")}});
        const Call given = callOf({{pointer(kGps, {{{nested, ascii(29, "2001:02:03")}}}),
                                    pointer(kInterop, {{{nested, ascii(1, "R98")}}})}});
        EXPECT_EQ(given.added(),
                  "GPSInfo=(GPSDateStamp='2001:02:03') "
                  "InteroperabilityIFD=(InteroperabilityIndex='R98')");
        const std::string illegal = "illegallyNestedIFD(" + std::to_string(tag);
        EXPECT_EQ(given.warnings, (Lines{illegal + ", 'GPS')", illegal + ", 'Interoperability')"}));
    }
}

TEST_P(Nesting, ExifAndSubIfdsPointAnywhere) {
    const Directory all{pointer(kSubIfds, {{named("s")}}), pointer(kExif, {{named("e")}}),
                        pointer(kGps, {{{ascii(29, "g")}}}),
                        pointer(kInterop, {{{ascii(1, "i")}}})};
    const std::string inside =
        "(SubIFDs={(Artist='s')} DigitalCamera=(Artist='e') GPSInfo=(GPSDateStamp='g') "
        "InteroperabilityIFD=(InteroperabilityIndex='i'))";
    const Call given = callOf({{pointer(kExif, {{all}}), pointer(kSubIfds, {{all}})}});
    EXPECT_EQ(given.added(), "SubIFDs={" + inside + "} DigitalCamera=" + inside);
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(Nesting, APointerOfCountZeroWarnsOnlyThat) {
    const Call given = callOf({{pointer(kExif, {}), pointer(kSubIfds, {}),
                                pointer(kGps, {{{pointer(kExif, {}), ascii(29, "g")}}})}});
    EXPECT_EQ(given.added(), "GPSInfo=(GPSDateStamp='g')");
    EXPECT_EQ(given.warnings, (Lines{"zeroComponentCount('DigitalCamera')",
                                     "zeroComponentCount('SubIFDs')", "zeroComponentCount('')"}));
}

TEST_P(Nesting, TheNextEntriesAndDirectoriesAreReadFromTheirPlace) {
    const Call given = callOf(
        {{pointer(kExif, {{named("nested")}}), ascii(kArtist, "after the pointer, out of line")},
         named("next directory")});
    EXPECT_EQ(given.result, "struct 2x1");
    EXPECT_EQ(given.value("Artist", 0), "'after the pointer, out of line'");
    EXPECT_EQ(given.value("Artist", 1), "'next directory'");
}

TEST_P(Nesting, AfterAnIllegalPointerTheChainGoesOn) {
    const Call given =
        callOf({{pointer(kGps, {{{pointer(kExif, {{named("unseen")}}), ascii(29, "g")}}}),
                 ascii(kArtist, "out of line text")},
                named("next directory")});
    EXPECT_EQ(given.value("Artist", 0), "'out of line text'");
    EXPECT_EQ(given.value("Artist", 1), "'next directory'");
    EXPECT_EQ(given.warnings.size(), 1U);
}

TEST_P(Nesting, MaximumCountHoldsForSubIfdChains) {
    const Chain chain{{pointer(kSubIfds, {{named("1"), named("2"), named("3")}})}, named("x")};
    EXPECT_EQ(callOf(chain, {.maxIfdCount = 1}).added(), "SubIFDs={(Artist='1')}");
    EXPECT_EQ(callOf(chain, {.maxIfdCount = 2}).added(0), "SubIFDs={(Artist='1')(Artist='2')}");
    EXPECT_EQ(callOf(chain, {.maxIfdCount = 0}).added(0),
              "SubIFDs={(Artist='1')(Artist='2')(Artist='3')}");
}

TEST_P(Nesting, SkippedDirectoriesAreSkippedInThePrimaryChainOnly) {
    const Chain chain{named("0"), {pointer(kSubIfds, {{named("1"), named("2")}})}};
    const Call given = callOf(chain, {.firstIfdIndex = 1});
    EXPECT_EQ(given.result, "struct 1x1");
    EXPECT_EQ(given.added(), "SubIFDs={(Artist='1')(Artist='2')}");
}

/// A file whose nested directories lead `levels` below the primary chain.
Chain nestedTo(int levels, std::uint16_t tag) {
    Chain chain{named("deepest")};
    for (int level = 0; level < levels; ++level) {
        chain = {{pointer(tag, {chain}), ascii(316, "x")}};
    }
    return chain;
}

TEST_P(Nesting, Level64IsReadAndLevel65IsIllegal) {
    for (const std::uint16_t tag : Codes{kSubIfds, kExif}) {
        for (const int levels : {63, 64, 65}) {
            const Call given = callOf(nestedTo(levels, tag));
            EXPECT_EQ(given.error, "");
            const bool isDeepestSeen = given.added().find("Artist='deepest'") != std::string::npos;
            EXPECT_EQ(isDeepestSeen, levels <= 64) << levels;
            const std::string warning = tag == kExif ? "illegallyNestedIFD(34665, 'Exif')"
                                                     : "illegallyNestedIFD(330, 'Primary')";
            EXPECT_EQ(given.warnings, levels <= 64 ? Lines{} : Lines{warning});
        }
    }
}

TEST_P(Nesting, APointerToItsOwnDirectoryEndsAtLevel64) {
    TiffFile file = fileOf({{pointer(kExif, {{named("x")}})}});
    // Offset and directory now lead to each other.
    file.setOffset(file.places[0].data[0], 0);
    setWord(file.bytes, file.places[0].data[0], 4, file.places[0].position, file.format.byteOrder);
    const Call given = callEntryPoint(file.bytes);
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.warnings, (Lines{"illegallyNestedIFD(34665, 'Exif')"}));
    EXPECT_EQ(given.names(), headNames());
}

TEST_P(Nesting, AShortOrByteOrTextPointerIsPaddedToFourBytes) {
    for (const std::uint16_t type : Codes{kShort, kByte, kUndefined, kAscii}) {
        TiffFile file =
            fileOf({{numbers(kExif, type, {0}), numbers(kExif, type, {0})}, named("nested")});
        const std::size_t target = file.places[1].position;
        ASSERT_LT(target, 256U);
        const std::size_t width = type == kShort ? 2 : 1;
        setWord(file.bytes, file.places[0].data[0], width, target, file.format.byteOrder);
        setWord(file.bytes, file.places[0].data[1], width, target, file.format.byteOrder);
        EXPECT_EQ(callEntryPoint(file.bytes, {.maxIfdCount = 1}).added(),
                  "DigitalCamera=(Artist='nested')");
    }
}

TEST_P(Nesting, FourBytesOfAPointerAreOneOffset) {
    TiffFile file = fileOf({{numbers(kSubIfds, kByte, {0, 0, 0, 0})}, named("nested").withNext(0)});
    // Bytes are no words: they make up the offset in the host's order.
    setWord(file.bytes, file.places[0].data[0], 4, file.places[1].position, ByteOrder::little);
    const Call given = callEntryPoint(file.bytes, {.maxIfdCount = 1});
    EXPECT_EQ(given.added(), "SubIFDs={(Artist='nested')}");
    EXPECT_EQ(given.warnings, (Lines{"expectedTagDataFormatMultiple('SubIFDs', 'TIFF_BYTE', "
                                     "'TIFF_IFD, TIFF_LONG, TIFF_IFD8')"}));
}

TEST_P(Nesting, ASlotThatBeginsInsideTheDataIsPadded) {
    TiffFile file = fileOf({{numbers(kSubIfds, kByte, {0, 0, 0, 0, 0})}, named("nested")});
    setWord(file.bytes, file.places[0].data[0], 4, file.places[1].position, ByteOrder::little);
    setWord(file.bytes, file.places[0].data[0] + 4, 1, file.places[1].position, ByteOrder::little);
    EXPECT_EQ(callEntryPoint(file.bytes, {.maxIfdCount = 1}).added(),
              "SubIFDs={(Artist='nested'), (Artist='nested')}");
}

TEST_P(Nesting, WiderTypesAreFollowedByTheirFourByteSlots) {
    for (const std::uint16_t type : Codes{kRational, kSRational, kLong8, kSLong8, kIfd8, kDouble}) {
        TiffFile file = fileOf(
            {{numbers(kExif, type,
                      type == kRational || type == kSRational ? std::vector<std::int64_t>{0, 77}
                                                              : std::vector<std::int64_t>{0})},
             named("nested")});
        const bool isSwappedByHalves = type == kRational || type == kSRational;
        setWord(file.bytes, file.places[0].data[0], isSwappedByHalves ? 4 : 8,
                file.places[1].position, file.format.byteOrder);
        const Call given = callEntryPoint(file.bytes, {.maxIfdCount = 1});
        EXPECT_EQ(given.added(), "DigitalCamera=(Artist='nested')") << type;
        EXPECT_EQ(given.warnings, Lines{});
    }
}

TEST_P(Nesting, FloatAndSignedPointersAreFollowedByTheirBits) {
    for (const std::uint16_t type : Codes{kFloat, kSLong, kIfd, kLong}) {
        EXPECT_EQ(callOf({{pointer(kExif, {{named("nested")}}, type)}}).added(),
                  "DigitalCamera=(Artist='nested')");
    }
}

TEST_P(Nesting, AnIfd8PointerIsFollowedByItsLowHalf) {
    const Call given = callOf({{pointer(kSubIfds, {{named("nested")}}, kIfd8)}});
    EXPECT_EQ(given.added(), "SubIFDs={(Artist='nested')}");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(Nesting, TheHighHalfOfAnIfd8PointerIsNotRead) {
    TiffFile file = fileOf({{pointer(kSubIfds, {{named("nested")}}, kIfd8)}});
    setWord(file.bytes, file.places[0].data[0], 8,
            file.places[1].position | std::uint64_t{0xABCD} << 32U, file.format.byteOrder);
    EXPECT_EQ(callEntryPoint(file.bytes).added(), "SubIFDs={(Artist='nested')}");
}

TEST_P(Nesting, OfTwo8BytePointersTheFirstIsReadInHalves) {
    TiffFile file = fileOf({{pointer(kSubIfds, {{named("first")}, {named("second")}}, kIfd8)}});
    // A high half that is a directory of its own proves that the second pointer is not looked at.
    setWord(file.bytes, file.places[0].data[0], 8,
            file.places[1].position | std::uint64_t{file.places[1].position} << 32U,
            file.format.byteOrder);
    EXPECT_EQ(callEntryPoint(file.bytes).added(), "SubIFDs={(Artist='first'), (Artist='first')}");
}

TEST_P(Nesting, APointerOfZeroReadsTheHeaderAsADirectory) {
    // The byte-order mark becomes an entry count that such a small file cannot hold.
    EXPECT_EQ(callOf({{longs(kExif, {0})}}).error, "badIFDread('IFD #1')");
    EXPECT_EQ(callOf({{pointer(kSubIfds, {{named("1")}, {named("2")}}, kLong8)}}).error,
              "badIFDread('IFD #1')");
}

TEST_P(Nesting, ATruncatedNestedDirectoryEndsTheCall) {
    const Directory lying = named("x").withEntryCount(999);
    for (const std::uint16_t tag : Codes{kSubIfds, kExif, kGps, kInterop}) {
        EXPECT_EQ(callOf({{pointer(tag, {{lying}})}}).error, "badIFDread('IFD #1')");
    }
}

TEST_P(Nesting, APointerPastTheEndEndsItsChainOnly) {
    const Call given = callOf({{longs(kExif, {0x7FFFFFFF}), ascii(kArtist, "kept")}});
    EXPECT_EQ(given.added(), "Artist='kept'");
    EXPECT_EQ(given.warnings, (Lines{"numberOfDirectoryEntriesReadError(2147483647)"}));
}

TEST_P(Nesting, PointersCountFromTheTiffHeader) {
    const TiffFile file =
        TiffBuilder(format())
            .add({pointer(kExif, {{named("nested")}}), pointer(kSubIfds, {{named("sub")}})})
            .buildBehind(format().isBig() ? Bytes(24, 'x') : Bytes{0x4D, 0x4D, 0, 42, 1, 2});
    const Call given =
        callEntryPoint(file.bytes, {.initialOffset = static_cast<double>(file.base)});
    EXPECT_EQ(given.added(), "SubIFDs={(Artist='sub')} DigitalCamera=(Artist='nested')");
}

TEST_P(Nesting, ANextOffsetOfASubIfdOutOfRangeKeepsItsDirectories) {
    const TiffFile file = fileOf({{pointer(kSubIfds, {{named("1").withNext(0x7FFFFFFF)}})}});
    const Call given = callEntryPoint(file.bytes);
    EXPECT_EQ(given.added(), "SubIFDs={(Artist='1')}");
    EXPECT_EQ(given.warnings, (Lines{"nextIfdPointerOutOfRange(2147483647)"}));
}

}  // namespace
}  // namespace fixture
