// The record array: its fields, their order, and what stays empty.

#include "support/record_dump.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class RecordArray : public TiffMatrix {};
IFDSWEEP_TIFF_MATRIX(RecordArray);

Lines headAnd(const Lines& more) {
    Lines names = headNames();
    names.insert(names.end(), more.begin(), more.end());
    return names;
}

TEST_P(RecordArray, OtherTagsFollowTheHeadInAscendingIdOrder) {
    const Call given = callOf({{shorts(65535, {1}), ascii(33432, "c"), shorts(60000, {1}),
                                ascii(315, "a"), shorts(255, {1}), shorts(259, {1})},
                               {ascii(272, "m"), numbers(33434, kRational, {1, 2})}});
    EXPECT_EQ(given.names(), headAnd({"SubFileType", "Model", "Artist", "Copyright", "ExposureTime",
                                      "DCSHuesShiftValues", "UnknownTags"}));
}

TEST_P(RecordArray, AFieldOfAnotherDirectoryStaysEmpty) {
    const Call given = callOf({{shorts(256, {1})}, {ascii(315, "x")}});
    EXPECT_EQ(given.result, "struct 2x1");
    EXPECT_EQ(given.value("Artist", 0), "empty");
    EXPECT_EQ(given.value("Artist", 1), "'x'");
}

TEST_P(RecordArray, UnknownTagsOfADirectoryWithoutThemStayEmpty) {
    const Call given = callOf({{shorts(60000, {1})}, {ascii(315, "x")}, {shorts(60001, {2})}});
    EXPECT_EQ(given.value("UnknownTags", 0), "(ID=60000 Offset=0 Value=1)");
    EXPECT_EQ(given.value("UnknownTags", 1), "empty");
    EXPECT_EQ(given.value("UnknownTags", 2), "(ID=60001 Offset=0 Value=2)");
    EXPECT_EQ(given.names(), headAnd({"Artist", "UnknownTags"}));
}

TEST_P(RecordArray, FormatVersionIsAlwaysEmpty) {
    const Call given = callOf({{shorts(256, {1})}, {shorts(256, {1})}});
    EXPECT_EQ(given.value("FormatVersion", 0), "empty");
    EXPECT_EQ(given.value("FormatVersion", 1), "empty");
}

TEST_P(RecordArray, ATagThatOnlyHadNoValueIsStillAField) {
    EXPECT_EQ(callOf({{ascii(315, "")}}).names(), headAnd({"Artist"}));
}

TEST_P(RecordArray, NestedRecordsOfExifHaveTheirTagsOnly) {
    const Call given =
        callOf({{pointer(34665, {{{shorts(60000, {1}), numbers(37380, kSRational, {1, 2}),
                                   shorts(258, {8}), ascii(271, "m")}}})}});
    EXPECT_EQ(given.added(),
              "DigitalCamera=(BitsPerSample=8 Make='m' ExposureBiasValue=0.5 "
              "UnknownTags=(ID=60000 Offset=0 Value=1))");
}

TEST_P(RecordArray, OffsetIsThePositionOfTheEntryCount) {
    const TiffFile file = fileOf({{shorts(256, {1})}, {ascii(315, "x")}, {shorts(256, {1})}});
    const Call given = callEntryPoint(file.bytes);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(given.value("Offset", i), std::to_string(file.places[i].position));
    }
}

Lines namesOf(const ifdsweep::Value& records) {
    Lines names;
    for (std::size_t f = 0; f < records.fieldCount(); ++f) {
        names.emplace_back(records.fieldName(f));
    }
    return names;
}

TEST_P(RecordArray, SubIfdRecordsAreLikePrimaryOnes) {
    const TiffFile file = fileOf({{pointer(330, {{{shorts(256, {7}), shorts(257, {8})},
                                                  {shorts(258, {8, 8, 8}), ascii(315, "x")}}})}});
    const Call given = inspect(file.bytes, {}, [&](const ifdsweep::Value& result) {
        const ifdsweep::Value* nested =
            result.field(0, result.fieldIndex("SubIFDs").value())->cell(0);
        ASSERT_NE(nested, nullptr);
        EXPECT_EQ(namesOf(*nested), headAnd({"Artist"}));
        const auto shown = [&](std::size_t element, std::string_view name) {
            return dump(nested->field(element, nested->fieldIndex(name).value()));
        };
        EXPECT_EQ(shown(0, "Filename"), "'call.tif'");
        EXPECT_EQ(shown(0, "Width") + ' ' + shown(0, "Height"), "7 8");
        EXPECT_EQ(shown(0, "Compression"), "'Uncompressed'");
        EXPECT_EQ(shown(0, "Offset"), std::to_string(file.places[1].position));
        EXPECT_EQ(shown(1, "BitDepth"), "24");
        EXPECT_EQ(shown(1, "Artist"), "'x'");
        EXPECT_EQ(shown(1, "Offset"), std::to_string(file.places[2].position));
    });
    EXPECT_EQ(given.error, "");
}

class JpegRecord : public testing::TestWithParam<ByteOrder> {
protected:
    static Call callOf(const Directory& directory) {
        return callEntryPoint(
            TiffBuilder({Layout::classic, GetParam()}).add(directory).buildInJpeg().bytes,
            {.initialOffset = 12});
    }
    static Lines firstTenAnd(const Lines& more) {
        Lines names(headNames().begin(), headNames().begin() + 10);
        names.insert(names.end(), more.begin(), more.end());
        return names;
    }
};
INSTANTIATE_TEST_SUITE_P(ByteOrders, JpegRecord,
                         testing::Values(ByteOrder::little, ByteOrder::big));

TEST_P(JpegRecord, HasTenFieldsAndItsTags) {
    const Call given =
        callOf({shorts(256, {640}), shorts(257, {480}), ascii(315, "x"), shorts(274, {6}),
                numbers(282, kRational, {72, 1}), shorts(259, {6}), shorts(60000, {1})});
    EXPECT_EQ(given.names(),
              firstTenAnd({"Compression", "Orientation", "XResolution", "Artist", "UnknownTags"}));
    EXPECT_EQ(given.value("Format"), "'jpg'");
    EXPECT_EQ(given.value("FormatSignature"), "double(0x0)");
    EXPECT_EQ(given.value("FormatVersion"), "empty");
    EXPECT_EQ(given.value("ByteOrder"), "no field");
    EXPECT_EQ(given.value("Offset"), "no field");
    EXPECT_EQ(given.value("Width"), "640");
    EXPECT_EQ(given.value("Height"), "480");
    EXPECT_EQ(given.value("Compression"), "'OJPEG'");
    EXPECT_EQ(given.value("Orientation"), "6");
}

TEST_P(JpegRecord, NestedPrimaryDirectoriesHaveTheSameTenFields) {
    const TiffFile file = TiffBuilder({Layout::classic, GetParam()})
                              .add({pointer(330, {{{ascii(315, "nested")}}}), ascii(315, "outer")})
                              .buildInJpeg();
    const Call given =
        inspect(file.bytes, {.initialOffset = 12}, [&](const ifdsweep::Value& result) {
            const ifdsweep::Value* cell = result.field(0, result.fieldIndex("SubIFDs").value());
            ASSERT_NE(cell, nullptr);
            const ifdsweep::Value* nested = cell->cell(0);
            ASSERT_NE(nested, nullptr);
            EXPECT_EQ(namesOf(*nested), firstTenAnd({"Artist"}));
            EXPECT_EQ(namesOf(result), firstTenAnd({"Artist", "SubIFDs"}));
            EXPECT_EQ(dump(nested->field(0, 3)), "'jpg'");
            EXPECT_EQ(dump(nested->field(0, 9)), "double(0x0)");
        });
    EXPECT_EQ(given.error, "");
}

TEST_P(JpegRecord, ExifGpsAndInteroperabilityAreFollowed) {
    const Call given = callOf({pointer(34665, {{{numbers(33434, kRational, {1, 4}),
                                                 pointer(40965, {{{ascii(1, "R98")}}})}}}),
                               pointer(34853, {{{ascii(29, "2001")}}})});
    EXPECT_EQ(given.value("DigitalCamera"),
              "(ExposureTime=0.25 InteroperabilityIFD=(InteroperabilityIndex='R98'))");
    EXPECT_EQ(given.value("GPSInfo"), "(GPSDateStamp='2001')");
}

}  // namespace
}  // namespace fixture
