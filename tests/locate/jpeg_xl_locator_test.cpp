#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "locate/locators.h"
#include "locate/stream_opener.h"
#include "support/box_builder.h"
#include "support/compressed_bytes.h"
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
using ifdsweep::SearchDepth;

constexpr auto kLocate = ifdsweep::locateInJpegXl;

ifdsweep::Located search(const ifdsweep::ByteSource& file, SearchDepth depth = SearchDepth::first) {
    ifdsweep::ByteReader reader(file);
    return kLocate(reader, depth);
}

std::string found(const Bytes& file, SearchDepth depth = SearchDepth::first) {
    return fixture::locatedText(search(fixture::CountedBytes(file), depth));
}

/// What every file begins with: two boxes, 32 bytes.
const Bytes kStart =
    joined({box("JXL ", bytesOf("\r\n\x87\n")), fixture::fileTypeBox("jxl ", {"jxl "})});
/// A header 0 bytes behind the number, and the header: 8 bytes.
const Bytes kContent = joined({bigEndian(4, 0), bytesOf("MM"), bigEndian(2, 42)});
const Bytes kExif = box("Exif", kContent);
const Bytes kXml = box("xml ", bytesOf("<x/>"));
const Bytes kCodestream = box("jxlc", Bytes(20, 0x5A));

Bytes compressed(std::string_view type, const Bytes& content) {
    return box("brob", joined({bytesOf(type), content}));
}

const Bytes kCompressedExif = compressed("Exif", Bytes(6, 0xB0));

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
    {"exifBeforeTheCodestream", joined({kExif, kCodestream}),
     "Exif: 40+8 behind-offset\npieces 4, ended at 76"},
    {"exifBehindTheCodestream", joined({kCodestream, kExif}),
     "Exif: 68+8 behind-offset\npieces 4, ended at 76"},
    {"exifBetweenPartsOfIt", joined({box("jxlp", Bytes(4, 0)), kExif, box("jxlp", Bytes(4, 1))}),
     "Exif: 52+8 behind-offset\npieces 5, ended at 72"},
    {"compressed", joined({kCompressedExif, kCodestream}),
     "Exif: 44+6 brotli behind-offset\npieces 4, ended at 78"},
    {"both", joined({kCompressedExif, kCodestream, kExif}),
     "Exif: 44+6 brotli behind-offset\nExif 2: 86+8 behind-offset\npieces 5, ended at 94"},
    {"several", joined({kExif, kExif, kExif}),
     "Exif: 40+8 behind-offset\nExif 2: 56+8 behind-offset\nExif 3: 72+8 behind-offset\n"
     "pieces 5, ended at 80"},
    {"otherBoxesOnly", joined({kXml, compressed("xml ", Bytes(9, 1)), kCodestream}),
     "pieces 5, ended at 93"},
    {"typeInAnotherCase", joined({box("exif", kContent), box("EXIF", kContent)}),
     "pieces 4, ended at 64"},
    {"size64", joined({largeBox("Exif", kContent), kXml}),
     "Exif: 48+8 behind-offset\npieces 4, ended at 68"},
    {"size64Compressed", joined({largeBox("brob", joined({bytesOf("Exif"), Bytes(6, 1)})), kXml}),
     "Exif: 52+6 brotli behind-offset\npieces 4, ended at 70"},
    {"size64OfCodestream", joined({largeBox("jxlc", Bytes(5, 0)), kExif}),
     "Exif: 61+8 behind-offset\npieces 4, ended at 69"},
    {"size0", openBox("Exif", kContent), "Exif: 40+8 behind-offset\npieces 3, ended at 48"},
    {"size0Compressed", openBox("brob", joined({bytesOf("Exif"), Bytes(6, 1)})),
     "Exif: 44+6 brotli behind-offset\npieces 3, ended at 50"},
    {"nothingBehindSize0", joined({openBox("jxlc", Bytes(4, 0)), kExif}), "pieces 3, ended at 60"},
    {"compressedInCompressed", compressed("brob", joined({bytesOf("Exif"), Bytes(6, 1)})),
     "pieces 3, ended at 54"},
    {"compressedBoxesThatNeverAre",
     joined({compressed("jxlc", Bytes(6, 1)), compressed("jxlp", Bytes(6, 1)),
             compressed("ftyp", Bytes(6, 1)), compressed("JXL ", Bytes(6, 1))}),
     "pieces 6, ended at 104"},
    {"oneByteOfContent", box("Exif", {0}), "Exif: 40+1 behind-offset\npieces 3, ended at 41"},
    {"oneByteCompressed", compressed("Exif", {0}),
     "Exif: 44+1 brotli behind-offset\npieces 3, ended at 45"},
    {"noContent", joined({box("Exif", {}), kXml}), "pieces 4, ended at 52, damaged at 32"},
    {"noContentButAnother", joined({box("Exif", {}), kExif}),
     "Exif: 48+8 behind-offset\npieces 4, ended at 56, damaged at 32"},
    {"compressedWithoutContent", joined({compressed("Exif", {}), kXml}),
     "pieces 4, ended at 56, damaged at 32"},
    // The type would be completed by the bytes of the next box.
    {"compressedWithoutType", joined({box("brob", bytesOf("Ex")), bytesOf("if"), kExif}),
     "pieces 4, ended at 60, damaged at 32"},
    {"sizesTooSmall2", joined({kExif, lyingBox("xml ", 2, {}), kExif}),
     "Exif: 40+8 behind-offset\npieces 3, ended at 48, damaged at 48"},
    {"sizesTooSmall7", joined({kExif, lyingBox("xml ", 7, {}), kExif}),
     "Exif: 40+8 behind-offset\npieces 3, ended at 48, damaged at 48"},
    {"size64TooSmall", joined({kExif, bigEndian(4, 1), bytesOf("xml "), bigEndian(8, 15), kExif}),
     "Exif: 40+8 behind-offset\npieces 3, ended at 48, damaged at 48"},
    {"tooLarge", joined({lyingBox("Exif", 17, kContent)}),
     "Exif: 40+8 behind-offset\npieces 3, ended at 48, damaged at 32"},
    {"farTooLarge", joined({lyingBox("Exif", 0xFFFFFFFF, kContent), kExif}),
     "Exif: 40+24 behind-offset\npieces 3, ended at 64, damaged at 32"},
    {"size64FarTooLarge",
     joined({bigEndian(4, 1), bytesOf("Exif"), bigEndian(8, 0xFFFFFFFFFFFFFFFF), kContent}),
     "Exif: 48+8 behind-offset\npieces 3, ended at 56, damaged at 32"},
    {"onlySizeAndTypeOfTooLarge", lyingBox("Exif", 16, {}), "pieces 3, ended at 40, damaged at 32"},
    {"strayBytesAtTheEnd", joined({kExif, Bytes(7, 0)}),
     "Exif: 40+8 behind-offset\npieces 3, ended at 48, damaged at 48"},
};

class JpegXlLocator : public testing::TestWithParam<Case> {};

TEST_P(JpegXlLocator, TellsWhereStreamsLieAndWhatIsDamaged) {
    const Bytes file = joined({kStart, GetParam().behindStart});
    EXPECT_EQ(found(file), GetParam().found);
    EXPECT_EQ(found(file, SearchDepth::all), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(All, JpegXlLocator, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

/// The bytes of a stream from its header on.
Bytes opened(const ifdsweep::ByteSource& file, const ifdsweep::LocatedStream& stream,
             std::size_t size) {
    const ifdsweep::OpenedStream open = ifdsweep::openStream(file, stream);
    Bytes bytes(size);
    const ifdsweep::ByteSource& source = open.bytes ? *open.bytes : file;
    const std::ptrdiff_t got = source.read(open.position, std::as_writable_bytes(std::span(bytes)));
    EXPECT_FALSE(open.warning);
    EXPECT_EQ(got, static_cast<std::ptrdiff_t>(size));
    return bytes;
}

TEST(JpegXlLocatorFiles, GiveTheSameStreamPlainAndCompressedInEitherByteOrder) {
    for (const auto order : {fixture::ByteOrder::little, fixture::ByteOrder::big}) {
        const Bytes stream = fixture::TiffBuilder({fixture::Layout::classic, order})
                                 .add({fixture::shorts(256, {40})})
                                 .build()
                                 .bytes;
        for (const std::uint32_t offset : {0U, 6U, 7U}) {
            const Bytes content = joined({bigEndian(4, offset), Bytes(offset, 0xEE), stream});
            const fixture::CountedBytes file(
                joined({kStart, box("Exif", content),
                        compressed("Exif", fixture::brotliCompressed(content))}));
            const ifdsweep::Located located = search(file);
            ASSERT_EQ(located.streams.size(), 2U);
            EXPECT_EQ(opened(file, located.streams[0], stream.size()), stream) << offset;
            EXPECT_EQ(opened(file, located.streams[1], stream.size()), stream) << offset;
        }
    }
}

TEST(JpegXlLocatorFiles, AreSearchedAsFarAsTheyGoWhereverTheyAreCut) {
    const Bytes whole = joined({kStart, kXml, kCompressedExif, largeBox("Exif", kContent)});
    const std::size_t compressedAt = kStart.size() + kXml.size();
    const std::size_t exifAt = compressedAt + kCompressedExif.size();
    const std::vector<std::size_t> ends{0, 12, kStart.size(), compressedAt, exifAt, whole.size()};
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const ifdsweep::Located located =
            search(fixture::CountedBytes(fixture::truncated(whole, size)));
        const std::size_t streams =
            (size > compressedAt + 12 ? 1U : 0U) + (size > exifAt + 16 ? 1U : 0U);
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

TEST(JpegXlLocatorFiles, CostOneReadForEachBoxThatLiesFarFromTheLast) {
    const fixture::CountedBytes near(joined({kStart, kXml, kCompressedExif, kCodestream}));
    EXPECT_EQ(search(near).streams.size(), 1U);
    EXPECT_EQ(near.reads, 1U);
    const fixture::CountedBytes far(joined({kStart, box("jxlc", Bytes(1 << 20, 0)), kExif}));
    EXPECT_EQ(search(far).streams.size(), 1U);
    EXPECT_EQ(far.reads, 2U);
}

TEST(JpegXlLocatorFiles, OfManyStreamsAreToldOfUpToTheMost) {
    for (const std::uint64_t count : {255U, 256U, 257U}) {
        const fixture::RepeatedBytes file(kStart, kExif, kStart.size() + count * kExif.size());
        const ifdsweep::Located located = search(file);
        EXPECT_EQ(located.streamCount, count);
        EXPECT_EQ(located.streams.size(), std::min<std::uint64_t>(count, 256));
        EXPECT_EQ(located.streams.at(254).name, "Exif 255");
    }
}

TEST(JpegXlLocatorFiles, OfTheSmallestBoxesCostReadsInProportionToTheirSize) {
    constexpr std::uint64_t kSize = 100'000'000;
    for (const char* type : {"free", "Exif", "brob"}) {
        const fixture::RepeatedBytes file(kStart, box(type, {}), kSize);
        const ifdsweep::Located located = search(file);
        EXPECT_EQ(located.streamCount, 0U) << type;
        EXPECT_EQ(located.pieceCount, 2 + (kSize - kStart.size()) / 8) << type;
        EXPECT_EQ(located.endedAt, kSize) << type;
        EXPECT_LE(file.reads, kSize / ifdsweep::ByteReader::kWindow + 3) << type;
    }
}

}  // namespace
