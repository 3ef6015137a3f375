// The class and shape of the host value that a tag becomes.

#include <array>
#include <cmath>

#include "support/record_dump.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

using namespace std::string_view_literals;

class TagValue : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(TagValue);

TEST_P(TagValue, TextIsARowWithoutItsTrailingNuls) {
    const Call given = callOf({{ascii(271, "Camera\0"sv), ascii(272, "\0\0\0"sv),
                                ascii(305, "no terminator"), ascii(315, "\0"sv)}});
    EXPECT_EQ(given.added(),
              "Make='Camera' Model=char(0x0) Software='no terminator' Artist=char(0x0)");
}

TEST_P(TagValue, BytesOfTextAreWidenedWithTheirSign) {
    const Call given = callOf({{ascii(315, "\x7F\x80\xE9\xFF"), ascii(60000, "\x7F\x80\xE9\xFF")}});
    EXPECT_EQ(given.added(),
              "Artist='\\u007F\\uFF80\\uFFE9\\uFFFF' "
              "UnknownTags=(ID=60000 Offset=0 Value='\\u007F\\u0080\\u00E9\\u00FF')");
}

TEST_P(TagValue, UnknownTextEndsAtItsFirstNul) {
    const Call given = callOf({{ascii(60000, "ab\0c"sv), ascii(60001, "\0\0"sv)}});
    EXPECT_EQ(given.added(),
              "UnknownTags=(ID=60000 Offset=0 Value='ab')(ID=60001 Offset=0 Value=char(1x0))");
}

TEST_P(TagValue, ColorMapBecomesColumnsBetweenZeroAndOne) {
    std::vector<std::int64_t> values;
    for (std::int64_t i = 0; i < 768; ++i) {
        values.push_back(i * 257 % 65536);
    }
    const Call given = callOf({{shorts(320, values)}});
    std::string expected;
    for (std::size_t row = 0; row < 256; ++row) {
        expected += (row > 0 ? "; " : "");
        for (std::size_t column = 0; column < 3; ++column) {
            const double stored = static_cast<double>(values[column * 256 + row]);
            expected += (column > 0 ? " " : "") + numberText(stored / 65535.0);
        }
    }
    EXPECT_EQ(given.value("Colormap"), '[' + expected + ']');
}

TEST_P(TagValue, ColorMapDropsWhatFillsNoRow) {
    EXPECT_EQ(callOf({{shorts(320, {65535, 0, 0, 65535, 0, 0, 65535})}}).value("Colormap"),
              "[1 0 0; 0 1 0]");
    EXPECT_EQ(callOf({{shorts(320, {65535, 0, 13107})}}).value("Colormap"), "[1 0 0.2]");
    EXPECT_EQ(callOf({{shorts(320, {65535, 0})}}).value("Colormap"), "double(0x3)");
}

TEST_P(TagValue, ColorMapWithoutNumbersHasNoValue) {
    EXPECT_EQ(callOf({{shorts(320, {})}}).value("Colormap"), "empty");
    EXPECT_EQ(callOf({{ascii(320, "text")}}).value("Colormap"), "empty");
}

TEST_P(TagValue, ColorMapOfAnyNumberTypeIsScaled) {
    EXPECT_EQ(callOf({{doubles(320, {65535.0, 131070.0, 0.0})}}).value("Colormap"), "[1 2 0]");
}

TEST_P(TagValue, ColorMapIsShapedInEveryDirectoryThatNamesIt) {
    EXPECT_EQ(callOf({{pointer(34665, {{{shorts(320, {65535, 0, 0})}}})}}).added(),
              "DigitalCamera=(Colormap=[1 0 0])");
}

TEST_P(TagValue, SampleFormatNamesOneValueOrACellOfThem) {
    EXPECT_EQ(callOf({{shorts(339, {3})}}).value("SampleFormat"), "'IEEE floating point'");
    EXPECT_EQ(callOf({{shorts(339, {1, 1, 1})}}).value("SampleFormat"),
              "{'Unsigned integer', 'Unsigned integer', 'Unsigned integer'}");
    EXPECT_EQ(callOf({{shorts(339, {9})}}).value("SampleFormat"), "'unknown'");
}

TEST_P(TagValue, EverySampleFormatHasItsName) {
    EXPECT_EQ(callOf({{shorts(339, {0, 1, 2, 3, 4, 5, 6, 7})}}).value("SampleFormat"),
              "{'unknown', 'Unsigned integer', 'Two\\u0027s complement signed integer', "
              "'IEEE floating point', 'Undefined', 'Complex integer', "
              "'Complex IEEE floating point', 'unknown'}");
}

TEST_P(TagValue, SampleFormatCodesAreTheLow16Bits) {
    EXPECT_EQ(callOf({{longs(339, {65539})}}).value("SampleFormat"), "'IEEE floating point'");
    EXPECT_EQ(callOf({{doubles(339, {1.9, std::nan(""), -65535.0})}}).value("SampleFormat"),
              "{'Unsigned integer', 'unknown', 'Unsigned integer'}");
}

TEST_P(TagValue, SampleFormatWithoutNumbersIsAnEmptyCellRow) {
    EXPECT_EQ(callOf({{shorts(339, {})}}).value("SampleFormat"), "cell(1x0)");
    EXPECT_EQ(callOf({{ascii(339, "text")}}).value("SampleFormat"), "cell(1x0)");
}

TEST_P(TagValue, AnEnumeratedTagShowsItsNameAndOthersTheirNumbers) {
    const Call given =
        callOf({{shorts(259, {1}), shorts(258, {8, 8, 8}), shorts(338, {0}), shorts(530, {2, 2})}});
    EXPECT_EQ(given.value("Compression"), "'Uncompressed'");
    EXPECT_EQ(given.value("BitsPerSample"), "[8 8 8]");
    EXPECT_EQ(given.added(), "ExtraSamples=0 YCbCrSubsampling=[2 2]");
}

TEST_P(TagValue, UnknownTagsKeepTheOrderOfTheirEntries) {
    const TiffFile file = fileOf({{shorts(60002, {1}), doubles(60001, {0.5, 0.25}),
                                   shorts(60002, {3}), ascii(1, "ab\0cd"sv)}});
    const auto offset = [&](std::size_t entry, bool isInline) {
        return std::to_string(isInline ? 0 : file.places[0].data[entry]);
    };
    EXPECT_EQ(callEntryPoint(file.bytes).added(),
              "UnknownTags=(ID=60002 Offset=0 Value=1)(ID=60001 Offset=" + offset(1, false) +
                  " Value=[0.5 0.25])(ID=60002 Offset=0 Value=3)(ID=1 Offset=" +
                  offset(3, format().isBig()) + " Value='ab')");
}

TEST_P(TagValue, UnknownOffsetsCountFromTheTiffHeader) {
    const TiffFile file =
        TiffBuilder(format())
            .add({doubles(60001, {0.5, 0.25})})
            .buildBehind(format().isBig() ? Bytes(10, 'x') : Bytes{0x49, 0x49, 42, 0, 1, 2});
    const Call given =
        callEntryPoint(file.bytes, {.initialOffset = static_cast<double>(file.base)});
    EXPECT_EQ(given.added(), "UnknownTags=(ID=60001 Offset=" +
                                 std::to_string(file.offsetOf(file.places[0].data[0])) +
                                 " Value=[0.5 0.25])");
}

}  // namespace
}  // namespace fixture
