#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "locate/locators.h"
#include "support/box_builder.h"
#include "support/counted_bytes.h"
#include "support/located_text.h"
#include "support/repeated_bytes.h"
#include "support/tiff_builder.h"

namespace {

using fixture::bigEndian;
using fixture::box;
using fixture::Bytes;
using fixture::bytesOf;
using fixture::joined;
using fixture::largeBox;
using fixture::lyingBox;
using fixture::openBox;
using fixture::uuidBox;
using ifdsweep::SearchDepth;

ifdsweep::Located search(const ifdsweep::ByteSource& file, SearchDepth depth = SearchDepth::first) {
    ifdsweep::ByteReader reader(file);
    return ifdsweep::locateInJpeg2000(reader, depth);
}

std::string found(const Bytes& file, SearchDepth depth = SearchDepth::first) {
    return fixture::locatedText(search(fixture::CountedBytes(file), depth));
}

/// What every file begins with: two boxes, 32 bytes.
const Bytes kStart =
    joined({box("jP  ", bytesOf("\r\n\x87\n")), fixture::fileTypeBox("jp2 ", {"jp2 "})});
const Bytes kExifUuid = bytesOf("JpgTiffExif->JP2");
const Bytes kPluginUuid{0x05, 0x37, 0xCD, 0xAB, 0x9D, 0x0C, 0x44, 0x31,
                        0xA7, 0x2A, 0xFA, 0x56, 0x1F, 0x2A, 0x11, 0x3E};
const Bytes kGeoUuid{0xB1, 0x4B, 0xF8, 0xBD, 0x08, 0x3D, 0x4B, 0x43,
                     0xA5, 0xAE, 0x8C, 0xD7, 0xD5, 0xA6, 0xCE, 0x03};
const Bytes kOtherUuid(16, 0x11);
const Bytes kHeader = joined({bytesOf("MM"), bigEndian(2, 42)});

// 28 bytes each, of which the last four are the stream.
const Bytes kExif = uuidBox(kExifUuid, kHeader);
const Bytes kPluginExif = uuidBox(kPluginUuid, kHeader);
const Bytes kGeo = uuidBox(kGeoUuid, kHeader);
const Bytes kOther = uuidBox(kOtherUuid, kHeader);
const Bytes kCodestream = box("jp2c", Bytes(20, 0x5A));

/// Boxes in each other, so many of them.
Bytes nested(std::string_view type, int depth, Bytes content) {
    for (int level = 0; level < depth; ++level) {
        content = box(type, content);
    }
    return content;
}

struct Case {
    const char* name;
    Bytes behindStart;
    const char* found;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.name;
}

const Case kCases[] = {
    {"nothing", {}, "pieces 2, ended at 32"},
    {"codestreamAlone", kCodestream, "pieces 3, ended at 60"},
    {"exif", joined({kExif, kCodestream}), "Exif: 56+4\npieces 4, ended at 88"},
    {"exifOfThePlugin", joined({kPluginExif, kCodestream}), "Exif: 56+4\npieces 4, ended at 88"},
    {"geoTiff", joined({kGeo, kCodestream}), "GeoTIFF: 56+4\npieces 4, ended at 88"},
    {"behindTheCodestream", joined({kCodestream, kExif}), "Exif: 84+4\npieces 4, ended at 88"},
    {"exifIsFirstWhereverItLies", joined({kGeo, kCodestream, kExif}),
     "Exif: 112+4\nGeoTIFF: 56+4\npieces 5, ended at 116"},
    {"several", joined({kGeo, kExif, kGeo, kPluginExif}),
     "Exif: 84+4\nExif 2: 140+4\nGeoTIFF: 56+4\nGeoTIFF 2: 112+4\npieces 6, ended at 144"},
    {"otherUuids", joined({kOther, uuidBox(kOtherUuid, {}), kCodestream}),
     "pieces 5, ended at 112"},
    {"uuidOffByItsLastByte", uuidBox(fixture::flipped(kExifUuid, 15, 1), kHeader),
     "pieces 3, ended at 60"},
    {"uuidInAnotherBox", box("xml ", joined({kExifUuid, kHeader})), "pieces 3, ended at 60"},
    {"exifBoxOfOtherFormats", box("Exif", joined({bigEndian(4, 0), kHeader})),
     "pieces 3, ended at 48"},
    {"size64", joined({largeBox("uuid", joined({kExifUuid, kHeader})), kOther}),
     "Exif: 64+4\npieces 4, ended at 96"},
    {"size64OfCodestream", joined({largeBox("jp2c", Bytes(4, 0)), kExif}),
     "Exif: 76+4\npieces 4, ended at 80"},
    {"size0", openBox("uuid", joined({kExifUuid, kHeader})), "Exif: 56+4\npieces 3, ended at 60"},
    {"nothingBehindCodestreamOfSize0", joined({kGeo, openBox("jp2c", Bytes(4, 0)), kExif}),
     "GeoTIFF: 56+4\npieces 4, ended at 100"},
    {"inAssociation", joined({box("asoc", joined({box("lbl ", bytesOf("a")), kExif})), kGeo}),
     "Exif: 73+4\nGeoTIFF: 101+4\npieces 6, ended at 105"},
    {"inUuidInfo", box("uinf", joined({box("ulst", Bytes(2, 0)), kExif})),
     "Exif: 74+4\npieces 5, ended at 78"},
    {"inBoth", box("asoc", box("uinf", kExif)), "Exif: 72+4\npieces 5, ended at 76"},
    {"inAssociationOfSize0", openBox("asoc", joined({kExif, openBox("uuid", kOtherUuid)})),
     "Exif: 64+4\npieces 5, ended at 92"},
    {"inAssociationOfSize64", largeBox("asoc", kExif), "Exif: 72+4\npieces 4, ended at 76"},
    {"notInOtherBoxes", box("jp2h", kExif), "pieces 3, ended at 68"},
    {"emptyAssociation", joined({box("asoc", {}), kExif}), "Exif: 64+4\npieces 4, ended at 68"},
    {"associationsAtTheDepthLimit", joined({nested("asoc", 16, kExif), kGeo}),
     "Exif: 184+4\nGeoTIFF: 212+4\npieces 20, ended at 216"},
    {"associationsBeyondIt", joined({nested("asoc", 17, kExif), kGeo}),
     "GeoTIFF: 220+4\npieces 20, ended at 224, damaged at 160"},
    {"noContent", joined({uuidBox(kExifUuid, {}), kGeo}),
     "GeoTIFF: 80+4\npieces 4, ended at 84, damaged at 32"},
    // The UUID would be completed by the bytes of the next box.
    {"cutUuid", joined({box("uuid", bytesOf("JpgTiffExif->")), bytesOf("JP2"), kGeo}),
     "pieces 4, ended at 84, damaged at 32"},
    {"sizeTooSmall", joined({kExif, lyingBox("xml ", 7, {}), kGeo}),
     "Exif: 56+4\npieces 3, ended at 60, damaged at 60"},
    {"size64TooSmall", joined({kExif, bigEndian(4, 1), bytesOf("xml "), bigEndian(8, 15), kGeo}),
     "Exif: 56+4\npieces 3, ended at 60, damaged at 60"},
    {"tooLarge", lyingBox("uuid", 29, joined({kExifUuid, kHeader})),
     "Exif: 56+4\npieces 3, ended at 60, damaged at 32"},
    {"size64FarTooLarge",
     joined(
         {bigEndian(4, 1), bytesOf("uuid"), bigEndian(8, ~std::uint64_t{0}), kExifUuid, kHeader}),
     "Exif: 64+4\npieces 3, ended at 68, damaged at 32"},
    {"largerThanItsAssociation",
     joined({box("asoc", lyingBox("uuid", 60, joined({kExifUuid, kHeader}))), kGeo}),
     "Exif: 64+4\nGeoTIFF: 92+4\npieces 5, ended at 96, damaged at 40"},
    {"associationTooLarge", lyingBox("asoc", 100, joined({kExif, kGeo})),
     "Exif: 64+4\nGeoTIFF: 92+4\npieces 5, ended at 96, damaged at 32"},
    {"damageInAnAssociationDoesNotEndTheSearch",
     joined({box("asoc", lyingBox("lbl ", 3, {})), kExif}),
     "Exif: 72+4\npieces 4, ended at 76, damaged at 40"},
    {"strayBytesInAnAssociation", joined({box("asoc", Bytes(5, 0)), kExif}),
     "Exif: 69+4\npieces 4, ended at 73, damaged at 40"},
    {"strayBytesAtTheEnd", joined({kExif, Bytes(7, 0)}),
     "Exif: 56+4\npieces 3, ended at 60, damaged at 60"},
};

class Jpeg2000Locator : public testing::TestWithParam<Case> {};

TEST_P(Jpeg2000Locator, TellsWhereStreamsLieAndWhatIsDamaged) {
    const Bytes file = joined({kStart, GetParam().behindStart});
    EXPECT_EQ(found(file), GetParam().found);
    EXPECT_EQ(found(file, SearchDepth::all), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(All, Jpeg2000Locator, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(Jpeg2000LocatorFiles, HoldTheStreamAsItIsInEitherByteOrderAndLayout) {
    for (const auto layout : {fixture::Layout::classic, fixture::Layout::big}) {
        for (const auto order : {fixture::ByteOrder::little, fixture::ByteOrder::big}) {
            const Bytes stream = fixture::TiffBuilder({layout, order})
                                     .add({fixture::shorts(256, {1})})
                                     .build()
                                     .bytes;
            const Bytes file = joined({kStart, uuidBox(kGeoUuid, stream), kCodestream});
            const ifdsweep::Located located = search(fixture::CountedBytes(file));
            ASSERT_EQ(located.streams.size(), 1U);
            const ifdsweep::Extent extent = located.streams[0].extents.at(0);
            ASSERT_EQ(extent.size, stream.size());
            EXPECT_TRUE(std::equal(stream.begin(), stream.end(),
                                   file.begin() + static_cast<std::ptrdiff_t>(extent.position)));
        }
    }
}

TEST(Jpeg2000LocatorFiles, AreSearchedAsFarAsTheyGoWhereverTheyAreCut) {
    const Bytes whole = joined({kStart, kCodestream, kExif, kGeo});
    const std::size_t exifAt = kStart.size() + kCodestream.size();
    const std::size_t geoAt = exifAt + kExif.size();
    const std::vector<std::size_t> ends{0, 12, kStart.size(), exifAt, geoAt, whole.size()};
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const ifdsweep::Located located =
            search(fixture::CountedBytes(fixture::truncated(whole, size)));
        const std::size_t streams = (size > exifAt + 24 ? 1U : 0U) + (size > geoAt + 24 ? 1U : 0U);
        EXPECT_EQ(located.streams.size(), streams) << size;
        // The box that is cut is damaged, and nothing else.
        const auto next = std::lower_bound(ends.begin(), ends.end(), size);
        if (*next == size) {
            EXPECT_EQ(located.damagedAt, std::nullopt) << size;
        } else {
            EXPECT_EQ(located.damagedAt, *(next - 1)) << size;
        }
        for (const ifdsweep::LocatedStream& stream : located.streams) {
            const ifdsweep::Extent extent = stream.extents.at(0);
            EXPECT_LE(extent.position + extent.size, size);
        }
    }
}

TEST(Jpeg2000LocatorFiles, CostOneReadForEachBoxThatLiesFarFromTheLast) {
    const fixture::CountedBytes near(joined({kStart, kOther, kExif, kCodestream}));
    EXPECT_EQ(search(near).streams.size(), 1U);
    EXPECT_EQ(near.reads, 1U);
    const fixture::CountedBytes far(joined({kStart, box("jp2c", Bytes(1 << 20, 0)), kExif}));
    EXPECT_EQ(search(far).streams.size(), 1U);
    EXPECT_EQ(far.reads, 2U);
}

TEST(Jpeg2000LocatorFiles, OfManyStreamsAreToldOfUpToTheMostAndExifBeforeOthers) {
    for (const std::uint64_t count : {255U, 256U, 257U}) {
        Bytes file = joined({kStart, kGeo});
        for (std::uint64_t number = 0; number < count; ++number) {
            file = joined({file, kExif});
        }
        const ifdsweep::Located located = search(fixture::CountedBytes(file));
        EXPECT_EQ(located.streamCount, count + 1);
        EXPECT_EQ(located.streams.size(), 256U);
        EXPECT_EQ(located.streams.at(254).name, "Exif 255");
        EXPECT_EQ(located.streams.at(255).name, count == 255 ? "GeoTIFF" : "Exif 256");
    }
    Bytes file = kStart;
    for (int number = 0; number < 300; ++number) {
        file = joined({file, kGeo});
    }
    const ifdsweep::Located located = search(fixture::CountedBytes(joined({file, kExif})));
    EXPECT_EQ(located.streamCount, 301U);
    EXPECT_EQ(located.streams.at(0).name, "Exif");
    EXPECT_EQ(located.streams.at(255).name, "GeoTIFF 255");
}

TEST(Jpeg2000LocatorFiles, OfTheSmallestBoxesCostReadsInProportionToTheirSize) {
    constexpr std::uint64_t kSize = 100'000'000;
    for (const char* type : {"free", "uuid", "asoc"}) {
        const fixture::RepeatedBytes file(kStart, box(type, {}), kSize);
        const ifdsweep::Located located = search(file);
        EXPECT_EQ(located.streamCount, 0U) << type;
        EXPECT_EQ(located.pieceCount, 2 + (kSize - kStart.size()) / 8) << type;
        EXPECT_EQ(located.endedAt, kSize) << type;
        EXPECT_LE(file.reads, kSize / ifdsweep::ByteReader::kWindow + 3) << type;
    }
}

TEST(Jpeg2000LocatorFiles, OfBoxesInBoxesCostReadsInProportionToTheirSize) {
    constexpr std::uint64_t kSize = 100'000'000;
    // Each goes on to the end of what it lies in, and so lies in all before it.
    const fixture::RepeatedBytes endless(kStart, openBox("asoc", {}), kSize);
    EXPECT_EQ(fixture::locatedText(search(endless)),
              "pieces 19, ended at 100000000, damaged at 160");
    EXPECT_LE(endless.reads, 2U);
    const fixture::RepeatedBytes deep(kStart, nested("asoc", 17, {}), kSize);
    const ifdsweep::Located located = search(deep);
    EXPECT_GT(located.pieceCount, kSize / 9);
    EXPECT_EQ(located.endedAt, kSize);
    EXPECT_LE(deep.reads, kSize / ifdsweep::ByteReader::kWindow + 3);
}

}  // namespace
