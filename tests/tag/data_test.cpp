// The conversion of data to numbers, text and bytes.

#include "support/tags.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

using namespace std::string_view_literals;

class TagData : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(TagData);

TEST_P(TagData, TrailingNulsOfTextGoAtExportOnly) {
    const Call given =
        callOf({{ascii(kArtist, "abc\0\0"sv), ascii(60000, "abc\0\0"sv), ascii(316, "a\0b\0"sv)}});
    EXPECT_EQ(
        given.added(),
        "Artist='abc' HostComputer='a\\u0000b' UnknownTags=(ID=60000 Offset=" +
            std::string(format().isBig() ? "0"
                                         : std::to_string(fileOf({{ascii(kArtist, "abc\0\0"sv),
                                                                   ascii(60000, "abc\0\0"sv),
                                                                   ascii(316, "a\0b\0"sv)}})
                                                              .places[0]
                                                              .data[1])) +
            " Value='abc')");
}

TEST_P(TagData, ARationalIsSwappedAsTwoHalves) {
    const Call given = callOf({{numbers(kXResolution, kRational, {72, 1}),
                                numbers(283, kRational, {0x01020304, 0x00010000})}});
    EXPECT_EQ(given.value("XResolution"), "72");
    EXPECT_EQ(given.value("YResolution"), "258.01177978515625");
}

TEST_P(TagData, RationalsDividedByZeroWarnOnceATag) {
    const Call given =
        callOf({{numbers(kXResolution, kRational, {1, 0}),
                 numbers(60000, kRational, {1, 0, 3, 2, 0, 0, 5, 0}), ascii(kArtist, "kept")}});
    EXPECT_EQ(given.value("XResolution"), "NaN");
    EXPECT_NE(given.value("UnknownTags").find("Value=[NaN 1.5 NaN NaN])"), std::string::npos);
    EXPECT_EQ(given.warnings,
              (Lines{"badTagValueDivisionByZero('XResolution')", "badTagValueDivisionByZero('')"}));
}

TEST_P(TagData, SignedRationalsDividedByZeroWarnOnceAValue) {
    const Call given =
        callOf({{numbers(37380, kSRational, {1, 0, -3, 2, 0, 0, 5, 0}), ascii(kArtist, "kept")}});
    EXPECT_EQ(given.added(), "Artist='kept' ExposureBiasValue=[NaN -1.5 NaN NaN]");
    EXPECT_EQ(given.warnings, (Lines(3, "badTagValueDivisionByZero('ExposureBiasValue')")));
}

TEST_P(TagData, AWrongTypeIsReportedBeforeTheDivision) {
    const Call given = callOf({{numbers(kXResolution, kSRational, {1, 0})}});
    EXPECT_EQ(given.warnings,
              (Lines{"expectedTagDataFormat('XResolution', 'TIFF_SRATIONAL', 'TIFF_RATIONAL')",
                     "badTagValueDivisionByZero('XResolution')"}));
}

TEST_P(TagData, ImageSourceDataKeepsItsBytes) {
    const Call given =
        callOf({{numbers(kImageSourceData, kUndefined, {1, 2, 255, 0, 7, 8, 9, 4, 5})}});
    EXPECT_EQ(given.added(), "ImageSourceData=uint8[1 2 255 0 7 8 9 4 5]");
}

TEST_P(TagData, ImageSourceDataOfWiderItemsShowsTheFirstBytesInHostOrder) {
    EXPECT_EQ(callOf({{shorts(kImageSourceData, {0x0102, 0x0304, 0x0506})}}).added(),
              "ImageSourceData=uint8[2 1 4]");
    EXPECT_EQ(callOf({{numbers(kImageSourceData, kRational, {0x01020304, 5})}}).added(),
              "ImageSourceData=uint8[4]");
    EXPECT_EQ(callOf({{numbers(kImageSourceData, kSRational, {0x01020304, 0})}}).warnings, Lines{});
}

TEST_P(TagData, ImageSourceDataOfAnIfdTypeOrTextIsKept) {
    for (const std::uint16_t type : Codes{kIfd, kIfd8}) {
        const Call given = callOf({{numbers(kImageSourceData, type, {0x01020304, 5})}});
        EXPECT_EQ(given.added(), "ImageSourceData=uint8[4 3]");
        EXPECT_EQ(given.warnings, Lines{});
    }
    EXPECT_EQ(callOf({{ascii(kImageSourceData, "ab\0"sv)}}).added(),
              "ImageSourceData=uint8[97 98 0]");
}

TEST_P(TagData, ImageSourceDataOfCountZeroIsAnEmptyRow) {
    const Call given = callOf({{numbers(kImageSourceData, kUndefined, {})}});
    EXPECT_EQ(given.added(), "ImageSourceData=uint8(1x0)");
    EXPECT_EQ(given.warnings, (Lines{"zeroComponentCount('ImageSourceData')"}));
}

TEST_P(TagData, ImageSourceDataIsAnUnknownTagInGpsAndInteroperability) {
    for (const std::uint16_t pointerTag : Codes{34853, 40965}) {
        const Call given =
            callOf({{pointer(pointerTag, {{{numbers(kImageSourceData, kUndefined, {1, 2, 3})}}})}});
        EXPECT_NE(given.added().find("=(UnknownTags=(ID=37724 Offset=0 Value=double(1x0)))"),
                  std::string::npos)
            << given.added();
    }
}

}  // namespace
}  // namespace fixture
