// Tags that stand for a field that the file lacks, and what no file can provoke of a tag.

#include "tag/tiff_tag.h"

#include <gtest/gtest.h>

#include "adapter/messages.h"
#include "ifdsweep/host.h"
#include "support/entry_call.h"
#include "support/record_dump.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;

/// A host for the calls below.
class DefaultTag : public testing::Test {
protected:
    ~DefaultTag() override { EXPECT_EQ(host.liveValues(), 0U); }

    /// The host value as text.
    static std::string shown(TiffTag& tag) {
        const ifdsweep::ValueHandle value(tag.getQxArray().release());
        return dump(value.get());
    }
    [[nodiscard]] Lines warnings() {
        Lines lines;
        for (const qxMessage& message : host.takeWarnings()) {
            lines.push_back(messageDump(message));
        }
        return lines;
    }

    ifdsweep::Host host;
    ifdsweep::Host::Scope scope{host};
};

struct DefaultCase {
    unsigned short id;
    const char* name;
    const char* shown;
};

TEST_F(DefaultTag, EveryRequiredFieldHasItsDefault) {
    const std::vector<DefaultCase> cases{
        {254, "NewSubFileType", "0"},      {259, "Compression", "'Uncompressed'"},
        {263, "Thresholding", "1"},        {266, "FillOrder", "1"},
        {273, "StripOffsets", "empty"},    {274, "Orientation", "1"},
        {277, "SamplesPerPixel", "1"},     {278, "RowsPerStrip", "4294967295"},
        {279, "StripByteCounts", "empty"}, {282, "XResolution", "empty"},
        {283, "YResolution", "empty"},     {284, "PlanarConfiguration", "'Chunky'"},
        {290, "GrayResponseUnit", "0.01"}, {296, "ResolutionUnit", "'Inch'"},
        {320, "Colormap", "empty"},        {322, "TileWidth", "empty"},
        {323, "TileLength", "empty"},      {324, "TileOffsets", "empty"},
        {325, "TileByteCounts", "empty"},
    };
    for (const DefaultCase& each : cases) {
        TiffTag tag(each.id, primaryIFD);
        EXPECT_EQ(tag.getId(), each.id);
        EXPECT_STREQ(tag.getName(), each.name);
        EXPECT_EQ(shown(tag), each.shown) << each.id;
        EXPECT_TRUE(tag.isDefault);
        EXPECT_EQ(tag.componentCount, 0U);
        EXPECT_EQ(tag.dataType, 0U);
    }
    EXPECT_EQ(warnings(), Lines{});
}

TEST_F(DefaultTag, EveryOtherIdIsUnrecognized) {
    for (const std::uint16_t id : Codes{0, 255, 258, 262, 280, 281, 321, 65535}) {
        try {
            const TiffTag tag(id, primaryIFD);
            ADD_FAILURE() << id;
        } catch (const TiffTagsRecoverableError& error) {
            EXPECT_STREQ(error.what(), "TIiffTag::TiffTag");
        }
        EXPECT_EQ(warnings(), (Lines{"unrecognizedTagId(" + std::to_string(id) + ')'}));
    }
}

TEST_F(DefaultTag, BitsPerSampleIsOneForEachSample) {
    TiffTag three(258, primaryIFD, 3UL);
    EXPECT_EQ(three.componentCount, 0U);
    EXPECT_EQ(shown(three), "[1 1 1]");
    TiffTag none(258, primaryIFD, 0UL);
    EXPECT_EQ(shown(none), "empty");
}

TEST_F(DefaultTag, SampleLimitsFollowTheBits) {
    const std::vector<double> bits{8, 8, 8};
    TiffTag least(static_cast<unsigned short>(280), primaryIFD, bits);
    TiffTag most(static_cast<unsigned short>(281), primaryIFD, bits);
    EXPECT_EQ(most.componentCount, 3U);
    EXPECT_EQ(shown(least), "[0 0 0]");
    EXPECT_EQ(shown(most), "[255 255 255]");
    TiffTag mixed(static_cast<unsigned short>(281), primaryIFD, {1, 16, 32, 0, 0.5});
    EXPECT_EQ(shown(mixed), "[1 65535 4294967295 0 0.41421356237309515]");
}

TEST_F(DefaultTag, TheFirstNumberIsGivenWhateverTheIndex) {
    const TiffTag tag(static_cast<unsigned short>(281), primaryIFD, {4, 8});
    EXPECT_EQ(tag.getNumericValue(0), 15);
    EXPECT_EQ(tag.getNumericValue(5), 15);
    EXPECT_EQ(tag.getNumericValue(-1), 15);
}

TEST_F(DefaultTag, GpsAndInteroperabilityDefaultsAreNotNamed) {
    TiffTag gps(259, GPSIFD);
    EXPECT_STREQ(gps.getName(), "");
    EXPECT_EQ(shown(gps), "1");
    TiffTag exif(259, exifIFD);
    EXPECT_EQ(shown(exif), "'Uncompressed'");
}

TEST_F(DefaultTag, AnUnknownDirectoryKindIsAnError) {
    const auto makeTag = [] { const TiffTag tag(259, static_cast<IFDtype_t_>(7)); };
    try {
        makeTag();
        ADD_FAILURE();
    } catch (const qxMessage& error) {
        EXPECT_EQ(messageDump(error), "unrecognizedIfdId(7)");
    }
}

TEST_F(DefaultTag, ATypeWithoutConversionIsAnErrorOrAWarning) {
    TiffTag tag(259, primaryIFD);
    for (const std::uint32_t type : {14U, 15U, 19U, 31U}) {
        tag.dataType = type;
        try {
            static_cast<void>(tag.processNormalTagData());
            ADD_FAILURE() << type;
        } catch (const qxMessage& error) {
            EXPECT_EQ(messageDump(error), "unrecognizedTagFormatId(" + std::to_string(type) + ')');
        }
    }
    EXPECT_EQ(warnings(), Lines{});
    tag.dataType = 0;
    EXPECT_FALSE(tag.processNormalTagData());
    EXPECT_EQ(warnings(), (Lines{"noTypeFormatId('Compression')"}));
}

TEST_F(DefaultTag, GenericProcessingChecksTheTypeFirst) {
    TiffTag tag(259, primaryIFD);
    tag.dataType = kIfd;
    EXPECT_FALSE(tag.processGenericTag());
    EXPECT_EQ(warnings(), (Lines{"expectedTagDataFormat('Compression', 'TIFF_IFD', 'TIFF_SHORT')",
                                 "unrecognizedIfd(259)"}));
}

TEST_F(DefaultTag, TextKeepsItsEmbeddedNulsAlone) {
    using namespace std::string_view_literals;
    const std::vector<std::pair<std::string_view, std::string_view>> cases{
        {"", "char(0x0)"},
        {"\0\0"sv, "char(0x0)"},
        {"a\0b\0"sv, "'a\\u0000b'"},
        {"\xE9", "'\\uFFE9'"}};
    for (const auto& [text, expected] : cases) {
        const ifdsweep::ValueHandle value(trim_nulls(text).release());
        EXPECT_EQ(dump(value.get()), expected);
    }
}

}  // namespace
}  // namespace fixture
