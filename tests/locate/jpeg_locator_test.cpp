#include "locate/locators.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/counted_bytes.h"
#include "support/jpeg_builder.h"
#include "support/located_text.h"
#include "support/repeated_bytes.h"

namespace {

using fixture::ByteOrder;
using fixture::Bytes;
using fixture::CountedBytes;

/// What a search found, and where.
enum class Outcome : std::uint8_t { found, noExif, damaged };

struct Search {
    Outcome outcome;
    std::uint64_t position;
};

Search search(const CountedBytes& file) {
    ifdsweep::ByteReader reader(file);
    const ifdsweep::Located located =
        ifdsweep::locateFirstExif(reader, ifdsweep::SearchDepth::first);
    return {!located.streams.empty() ? Outcome::found
            : located.damagedAt      ? Outcome::damaged
                                     : Outcome::noExif,
            located.endedAt};
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes segment(std::uint8_t marker, const Bytes& payload) {
    return fixture::jpegSegment(marker, payload);
}

const Bytes kStart{0xFF, 0xD8};
const Bytes kEnd{0xFF, 0xD9};
const Bytes kScan = segment(0xDA, {1, 1, 0, 0, 63, 0}) + Bytes{0x12, 0x34} + kEnd;
const Bytes kExif = segment(0xE1, {'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0});
const Bytes kJfif = segment(0xE0, {'J', 'F', 'I', 'F', 0, 1, 2, 0, 0, 1, 0, 1, 0, 0});
const Bytes kXmp = segment(0xE1, {'h', 't', 't', 'p', ':', '/', '/', 'n'});
const Bytes kShortApp1 = segment(0xE1, {'E', 'x', 'i', 'f'});
const Bytes kLong(60000, 0xAB);

struct Case {
    const char* name;
    Bytes file;
    Outcome outcome;
    std::uint64_t position;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.name;
}

const Case kCases[] = {
    {"exifFirst", kStart + kExif + kScan, Outcome::found, 12},
    {"exifBehindJfif", kStart + kJfif + kExif + kScan, Outcome::found, 30},
    {"exifBehindXmp", kStart + kXmp + kExif + kScan, Outcome::found, 24},
    {"exifBehindShortApp1", kStart + kShortApp1 + kExif + kScan, Outcome::found, 20},
    {"exifBehindLongSegments", kStart + segment(0xE2, kLong) + segment(0xE2, kLong) + kExif,
     Outcome::found, 2 + 2 * 60004 + 10},
    {"firstOfTwo", kStart + kExif + kExif + kScan, Outcome::found, 12},
    {"fillBytes", kStart + Bytes{0xFF, 0xFF, 0xFF} + kExif, Outcome::found, 15},
    {"standaloneMarkers", kStart + Bytes{0xFF, 0x01, 0xFF, 0xD0, 0xFF, 0xD7} + kExif,
     Outcome::found, 18},
    {"paddedSegment", kStart + kJfif + Bytes{0, 0, 0} + kExif, Outcome::found, 33},
    {"paddingWithEscapedByte", kStart + kJfif + Bytes{0xFF, 0x00} + kExif, Outcome::found, 32},
    {"headerAtTheVeryEnd", kStart + segment(0xE1, {'E', 'x', 'i', 'f', 0, 0}), Outcome::found, 12},
    {"scanFirst", kStart + kScan + kExif, Outcome::noExif, 2},
    {"endFirst", kStart + kEnd + kExif, Outcome::noExif, 2},
    {"jfifOnly", kStart + kJfif + kScan, Outcome::noExif, 20},
    {"app1OfAnotherKind", kStart + kXmp + kScan, Outcome::noExif, 14},
    {"signatureWithoutSecondNul",
     kStart + segment(0xE1, {'E', 'x', 'i', 'f', 0, 1, 'I', 'I'}) + kScan, Outcome::noExif, 14},
    {"signatureInAnotherSegment", kStart + segment(0xE2, {'E', 'x', 'i', 'f', 0, 0}) + kScan,
     Outcome::noExif, 12},
    {"startAlone", kStart, Outcome::damaged, 2},
    {"markerCutOff", kStart + Bytes{0xFF}, Outcome::damaged, 2},
    {"lengthCutOff", kStart + Bytes{0xFF, 0xE1, 0x00}, Outcome::damaged, 4},
    {"signatureCutOff", kStart + Bytes{0xFF, 0xE1, 0x00, 0x20, 'E', 'x'}, Outcome::damaged, 36},
    {"lengthZero", kStart + Bytes{0xFF, 0xE1, 0x00, 0x00} + kExif, Outcome::damaged, 4},
    {"lengthOne", kStart + Bytes{0xFF, 0xE1, 0x00, 0x01} + kExif, Outcome::damaged, 4},
    {"lengthTwo", kStart + Bytes{0xFF, 0xE1, 0x00, 0x02} + kExif, Outcome::found, 16},
    {"mostPadding", kStart + Bytes(65536, 0) + kExif, Outcome::found, 2 + 65536 + 10},
    {"tooMuchPadding", kStart + Bytes(65537, 0) + kExif, Outcome::damaged, 2 + 65537},
};

class JpegLocators : public testing::TestWithParam<Case> {};

TEST_P(JpegLocators, FindsTheHeaderOrSaysWhy) {
    CountedBytes reader(GetParam().file);
    const Search found = search(reader);
    EXPECT_EQ(found.outcome, GetParam().outcome);
    EXPECT_EQ(found.position, GetParam().position);
}

INSTANTIATE_TEST_SUITE_P(All, JpegLocators, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(JpegLocators, EndsForEveryLengthOfAFile) {
    const Bytes whole = kStart + kJfif + kXmp + kExif;
    for (std::size_t size = 2; size < whole.size(); ++size) {
        CountedBytes reader(
            Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        const Search found = search(reader);
        const bool complete = size >= whole.size() - 4;  // the TIFF header itself is not looked at
        EXPECT_EQ(found.outcome, complete ? Outcome::found : Outcome::damaged) << size;
    }
}

TEST(JpegLocators, NeighbouringSegmentsCostOneRead) {
    CountedBytes reader(kStart + kJfif + kXmp + kExif + kScan);
    EXPECT_EQ(search(reader).outcome, Outcome::found);
    EXPECT_EQ(reader.reads, 1U);
}

Bytes repeated(const Bytes& piece, std::size_t size) {
    Bytes bytes;
    while (bytes.size() < size) {
        bytes.insert(bytes.end(), piece.begin(), piece.end());
    }
    return bytes;
}

/// Searches a file and tells whether its reads are in proportion to its size.
void expectFewReads(Bytes file, const std::string& name) {
    CountedBytes reader(std::move(file));
    static_cast<void>(search(reader));
    EXPECT_LE(reader.reads, reader.bytes.size() / ifdsweep::ByteReader::kWindow + 3) << name;
    EXPECT_LE(reader.delivered, reader.bytes.size()) << name;
}

TEST(JpegLocators, NoByteIsReadTwice) {
    constexpr std::size_t kLarge = std::size_t{4} << 20;
    const Bytes nearlyExif = segment(0xE1, {'E', 'x', 'i', 'f', 0, 1});
    const Bytes nothingAllowed = Bytes(65535, 0) + segment(0xE2, {});
    const Bytes fillAllowed = Bytes(65535, 0xFF) + Bytes{0xE2, 0, 2};
    const std::pair<const char*, Bytes> pieces[] = {
        {"markersAlone", {0xFF, 0xD0}},    {"emptySegments", segment(0xE2, {})},
        {"nearlyExif", nearlyExif},        {"padding", nothingAllowed},
        {"fillBytes", fillAllowed},        {"escapedBytes", Bytes{0xFF, 0, 0xFF, 0x01}},
        {"fillAndMarker", {0xFF, 0xFF, 1}}};
    for (const auto& [name, piece] : pieces) {
        expectFewReads(kStart + repeated(piece, kLarge), name);
    }
    // Segments that are as long as a window or nearly so, hence cut by its end at every place.
    for (std::size_t length = 0; length <= 2 * ifdsweep::ByteReader::kWindow + 16; ++length) {
        expectFewReads(kStart + repeated(segment(0xE1, Bytes(length, 'E')) + nearlyExif, 100000),
                       "a segment with " + std::to_string(length) + " bytes");
    }
}

TEST(JpegLocators, EveryEndOfAFileCostsTwoReadsAtMost) {
    for (std::size_t size = ifdsweep::ByteReader::kWindow - 8;
         size < ifdsweep::ByteReader::kWindow + 8; ++size) {
        for (const Bytes& piece : {Bytes{0}, Bytes{0xFF}, Bytes{0xFF, 0xD0}, segment(0xE1, {})}) {
            for (const Bytes& end :
                 {Bytes{}, Bytes{0xFF}, Bytes{0xFF, 0xE1}, Bytes{0xFF, 0xE1, 0}}) {
                Bytes file = kStart + repeated(piece, size);
                file.resize(size);
                expectFewReads(file + end, std::to_string(size));
            }
        }
    }
}

// The walk of all segments and pictures.

std::string located(const ifdsweep::ByteSource& file,
                    ifdsweep::SearchDepth depth = ifdsweep::SearchDepth::all) {
    ifdsweep::ByteReader reader(file);
    return fixture::locatedText(ifdsweep::locateInJpeg(reader, depth));
}

std::string located(const Bytes& file) {
    return located(CountedBytes(file));
}

Bytes filled(std::size_t size) {
    return Bytes(size, 0x55);
}

/// The beginning of a TIFF stream, and a little of it.
Bytes header(std::string_view signature, std::size_t size = 10) {
    Bytes stream = fixture::bytesOf(signature);
    stream.resize(size, 0x11);
    return stream;
}

const Bytes kLittle = header({"II*\0", 4});
const Bytes kBig = header({"MM\0*", 4});
const Bytes kComment = segment(0xFE, {'a', 'b'});

struct WalkCase {
    const char* name;
    Bytes file;
    std::string expected;
};

void PrintTo(const WalkCase& row, std::ostream* stream) {
    *stream << row.name;
}

using fixture::exifSegment;
using fixture::jpegOf;

// A segment of Exif data of ten bytes takes 20 bytes, the comment 6.
const WalkCase kWalks[] = {
    {"one", jpegOf({exifSegment(kLittle)}), "Exif: 12+10\npieces 2, ended at 22"},
    {"behindOthers", jpegOf({kJfif, kXmp, kComment, exifSegment(kBig), kComment}),
     "Exif: 48+10\npieces 6, ended at 64"},
    {"continued", jpegOf({exifSegment(kLittle), exifSegment(filled(7)), exifSegment(filled(3))}),
     "Exif: 12+10 32+7 49+3\npieces 4, ended at 52"},
    {"continuedBehindOthers",
     jpegOf({exifSegment(kBig), kComment, kXmp, exifSegment(filled(7)), kComment}),
     "Exif: 12+10 50+7\npieces 6, ended at 63"},
    {"anotherStream", jpegOf({exifSegment(kLittle), exifSegment(kBig)}),
     "Exif: 12+10\nExif 2: 32+10\npieces 3, ended at 42"},
    {"anotherStreamContinued",
     jpegOf(
         {exifSegment(kLittle), exifSegment(filled(1)), exifSegment(kBig), exifSegment(filled(2))}),
     "Exif: 12+10 32+1\nExif 2: 43+10 63+2\npieces 5, ended at 65"},
    {"bigTiffBegins",
     jpegOf({exifSegment(kLittle), exifSegment(header({"II+\0", 4})),
             exifSegment(header({"MM\0+", 4}))}),
     "Exif: 12+10\nExif 2: 32+10\nExif 3: 52+10\npieces 4, ended at 62"},
    {"shortHeaderContinues", jpegOf({exifSegment(kLittle), exifSegment({'I', 'I', '*'})}),
     "Exif: 12+10 32+3\npieces 3, ended at 35"},
    {"emptyContinuation", jpegOf({exifSegment(kLittle), exifSegment({}), exifSegment({7})}),
     "Exif: 12+10 42+1\npieces 4, ended at 43"},
    {"firstWithoutHeader", jpegOf({exifSegment(filled(4)), exifSegment(kLittle)}),
     "Exif: 12+4\nExif 2: 26+10\npieces 3, ended at 36"},
    {"none", jpegOf({kJfif, kXmp}), "pieces 3, ended at 32"},
    {"behindImageData", jpegOf({kJfif}) + jpegOf({exifSegment(kLittle)}), "pieces 2, ended at 20"},
    {"endOfImage", kStart + exifSegment(kLittle) + kEnd, "Exif: 12+10\npieces 2, ended at 22"},
    {"breaksOff", kStart + exifSegment(kLittle),
     "Exif: 12+10\npieces 1, ended at 22, damaged at 22"},
    {"breaksOffInAnother", kStart + exifSegment(kLittle) + Bytes{0xFF, 0xE2, 1, 0, 5},
     "Exif: 12+10\npieces 2, ended at 280, damaged at 22"},
    {"lengthThatIsNone", kStart + exifSegment(kLittle) + Bytes{0xFF, 0xE2, 0, 1} + kScan,
     "Exif: 12+10\npieces 1, ended at 24, damaged at 24"},
    {"cutExif", kStart + Bytes{0xFF, 0xE1, 1, 0} + fixture::bytesOf(fixture::kExifSignature) + kBig,
     "Exif: 12+10\npieces 1, ended at 260, damaged at 2"},
    {"cutContinuation",
     kStart + exifSegment(kLittle) + Bytes{0xFF, 0xE1, 1, 0} +
         fixture::bytesOf(fixture::kExifSignature) + filled(5),
     "Exif: 12+10 32+5\npieces 2, ended at 280, damaged at 22"},
};

class JpegWalks : public testing::TestWithParam<WalkCase> {};

TEST_P(JpegWalks, TellsOfAllStreams) {
    EXPECT_EQ(located(GetParam().file), GetParam().expected);
}

TEST_P(JpegWalks, EndsWhereTheFirstSearchEndsIfThereIsNone) {
    CountedBytes file(GetParam().file);
    const Search first = search(file);
    if (first.outcome != Outcome::found) {
        EXPECT_NE(located(file).find("ended at " + std::to_string(first.position)),
                  std::string::npos);
    }
}

TEST_P(JpegWalks, FindsAsMuchInBothDepths) {
    const CountedBytes file(GetParam().file);
    EXPECT_EQ(located(file, ifdsweep::SearchDepth::first), GetParam().expected);
}

TEST_P(JpegWalks, ACutFileHasDamageOrIsComplete) {
    const Bytes& whole = GetParam().file;
    const std::string expected = located(whole);
    for (std::size_t size = 2; size < whole.size(); ++size) {
        const std::string cut = located(fixture::truncated(whole, size));
        EXPECT_TRUE(cut == expected || cut.find("damaged at ") != std::string::npos) << size << '\n'
                                                                                     << cut;
    }
}

INSTANTIATE_TEST_SUITE_P(All, JpegWalks, testing::ValuesIn(kWalks),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(JpegWalks, TwoSearchesAgreeOnAnyFileWithoutExif) {
    for (const Case& row : kCases) {
        CountedBytes file(row.file);
        if (row.outcome != Outcome::found) {
            const std::string text = located(file);
            EXPECT_NE(text.find("ended at " + std::to_string(row.position)), std::string::npos)
                << row.name;
            EXPECT_EQ(text.find("damaged at ") != std::string::npos,
                      row.outcome == Outcome::damaged)
                << row.name;
        }
    }
}

TEST(JpegWalks, ALongStreamIsPutTogetherOfWholeSegments) {
    const Bytes stream = header({"MM\0*", 4}, 3 * 65527 + 5);
    EXPECT_EQ(located(jpegOf({fixture::splitExif(stream, 65527)})),
              "Exif: 12+65527 65549+65527 131086+65527 196623+5\npieces 5, ended at 196628");
}

TEST(JpegWalks, TheExtentsOfAStreamAreBounded) {
    const auto extents = [](std::size_t segments) {
        const CountedBytes file(
            jpegOf({exifSegment(kLittle), repeated(exifSegment({1}), segments * 11)}));
        ifdsweep::ByteReader reader(file);
        const auto found = ifdsweep::locateInJpeg(reader, ifdsweep::SearchDepth::all);
        return std::pair(found.streams.front().extents.size(), found.damagedAt);
    };
    const std::uint64_t last = 22 + 4095 * 11;
    EXPECT_EQ(extents(4094), (std::pair<std::size_t, std::optional<std::uint64_t>>(4095, {})));
    EXPECT_EQ(extents(4095), (std::pair<std::size_t, std::optional<std::uint64_t>>(4096, {})));
    EXPECT_EQ(extents(4096), (std::pair<std::size_t, std::optional<std::uint64_t>>(4096, last)));
}

TEST(JpegWalks, NoMoreStreamsAreToldOfThanAFileMayHave) {
    const auto text = [](std::size_t streams) {
        return located(jpegOf({repeated(exifSegment(kLittle), streams * 20), exifSegment({9})}));
    };
    // What continues a stream that is not told of is no part of the last one that is.
    EXPECT_NE(text(256).find("Exif 256: 5112+10 5132+1\npieces 258"), std::string::npos);
    EXPECT_NE(text(257).find("Exif 256: 5112+10\nstreams 257\npieces 259"), std::string::npos);
}

TEST(JpegWalks, AFileThatIsTooShortIsDamaged) {
    for (const Bytes& file : {Bytes{}, Bytes{0xFF}, kStart}) {
        EXPECT_EQ(located(file), "pieces 0, ended at 2, damaged at " + std::to_string(file.size()));
    }
}

// Other pictures.

constexpr std::array kOrders{ByteOrder::little, ByteOrder::big};

TEST(JpegPictures, EachThatTheIndexNamesIsWalked) {
    for (const ByteOrder order : kOrders) {
        const Bytes file = fixture::jpegWithPictures(
            {exifSegment(kLittle)},
            {jpegOf({exifSegment(kBig), exifSegment(filled(3))}), jpegOf({kComment}),
             jpegOf({kJfif, exifSegment(kLittle), exifSegment(kLittle)})},
            order);
        EXPECT_EQ(located(file),
                  "Exif: 12+10\n"
                  "Exif of picture 2: 158+10 178+3\n"
                  "Exif of picture 4: 247+10\n"
                  "Exif 2 of picture 4: 267+10\n"
                  "pieces 12, ended at 132");
    }
}

TEST(JpegPictures, OneMayHaveTheOnlyExif) {
    for (const ByteOrder order : kOrders) {
        EXPECT_EQ(
            located(fixture::jpegWithPictures({kComment}, {jpegOf({exifSegment(kBig)})}, order)),
            "Exif of picture 2: 112+10\npieces 5, ended at 86");
    }
}

/// The offset by which an index behind a segment of Exif data names the place where the file ends
/// that has `count` pictures.
std::uint32_t behindImage(std::size_t count) {
    const std::vector<std::uint32_t> offsets(count);
    const Bytes image =
        jpegOf({exifSegment(kLittle), fixture::pictureIndex(offsets, ByteOrder::big)});
    return static_cast<std::uint32_t>(image.size() - 30);
}

TEST(JpegPictures, NothingIsWalkedTwice) {
    const std::uint32_t end = behindImage(6);
    const std::uint32_t ownStart = 0U - 30U;
    struct Row {
        const char* name;
        std::vector<std::uint32_t> offsets;
        std::string expected;
    };
    const std::string alone = "Exif: 12+10\npieces 3, ended at 164";
    const std::string both = "Exif: 12+10\nExif of picture 2: 190+10\npieces 5, ended at 164";
    const Row rows[] = {
        {"the same twice", {0, end, end, end, 0, 0}, both},
        {"the index itself", {0, 0, 4, 8, 0, 0}, alone},
        {"the image with the index", {ownStart, ownStart, 0, 0, 0, 0}, alone},
        {"inside another picture", {0, end, end + 2, end + 12, 0, 0}, both},
        {"behind the end", {0, 5000, 0xFFFFFFFFU, 0x7FFFFFFFU, 0, 0}, alone},
        {"no image there", {0, end + 1, end - 1, 0, 0, 0}, alone},
        {"order of the file", {0, end, end - 4, 0, 0, 0}, both},
    };
    for (const Row& row : rows) {
        for (const ByteOrder order : kOrders) {
            const Bytes file =
                jpegOf({exifSegment(kLittle), fixture::pictureIndex(row.offsets, order)}) +
                jpegOf({exifSegment(kBig)});
            EXPECT_EQ(located(file), row.expected) << row.name;
        }
    }
}

TEST(JpegPictures, AnIndexIsReadAsFarAsItGoes) {
    const std::uint32_t end = behindImage(2);
    const Bytes picture = jpegOf({exifSegment(kBig)});
    const std::string both = "Exif: 12+10\nExif of picture 2: 126+10\npieces 5, ended at 100";
    const std::string alone = "Exif: 12+10\npieces 3, ended at 100";
    const std::pair<std::uint32_t, std::string> rows[] = {
        {0, alone}, {15, alone}, {31, alone}, {32, both}, {33, both}, {0xFFFFFFFFU, both}};
    for (const auto& [declared, expected] : rows) {
        for (const ByteOrder order : kOrders) {
            const Bytes index = fixture::pictureIndex({0, end}, order, declared);
            EXPECT_EQ(located(jpegOf({exifSegment(kLittle), index}) + picture), expected)
                << declared;
        }
    }
}

TEST(JpegPictures, AnIndexWhoseBytesAreChangedNeverMisleads) {
    const std::uint32_t end = behindImage(2);
    for (const ByteOrder order : kOrders) {
        const Bytes index = fixture::pictureIndex({0, end}, order);
        for (std::size_t place = 4; place < index.size(); ++place) {
            for (const auto mask : std::array<std::uint8_t, 3>{0x01, 0x80, 0xFF}) {
                const CountedBytes file(
                    jpegOf({exifSegment(kLittle), fixture::flipped(index, place, mask)}) +
                    jpegOf({exifSegment(kBig)}));
                ifdsweep::ByteReader reader(file);
                const auto found = ifdsweep::locateInJpeg(reader, ifdsweep::SearchDepth::all);
                EXPECT_LE(found.streams.size(), 2U) << place;
                EXPECT_LE(file.reads, 8U) << place;
                EXPECT_FALSE(found.damagedAt) << place;
            }
        }
    }
}

TEST(JpegPictures, ADamagedOneIsToldOf) {
    const Bytes file = fixture::jpegWithPictures(
        {exifSegment(kLittle)}, {kStart + exifSegment(kBig) + kComment}, ByteOrder::little);
    EXPECT_EQ(located(file),
              "Exif: 12+10\nExif of picture 2: 126+10\npieces 5, ended at 100, damaged at 142");
}

TEST(JpegPictures, NoMoreThanSoManyAreWalked) {
    for (const std::size_t count : {254U, 255U, 256U}) {
        const Bytes file = fixture::jpegWithPictures(
            {}, std::vector<Bytes>(count, jpegOf({exifSegment(kBig)})), ByteOrder::big);
        const CountedBytes counted(file);
        ifdsweep::ByteReader reader(counted);
        const auto found = ifdsweep::locateInJpeg(reader, ifdsweep::SearchDepth::all);
        EXPECT_EQ(found.streamCount, std::min<std::size_t>(count, 255)) << count;
    }
}

// Work.

std::size_t readsOf(const ifdsweep::ByteSource& file, const std::size_t& reads) {
    static_cast<void>(located(file));
    return reads;
}

TEST(JpegWalks, ReadsAreInProportionToTheSegments) {
    constexpr std::uint64_t kHuge = std::uint64_t{100} << 20U;
    const std::pair<const char*, Bytes> pieces[] = {
        {"markers alone", {0xFF, 0xD0}},
        {"empty segments", segment(0xE2, {})},
        {"empty Exif data", exifSegment({})},
        {"Exif data of a byte", exifSegment({1})},
        {"streams", exifSegment(kLittle)},
        {"indices of no picture", fixture::pictureIndex({}, ByteOrder::big)},
    };
    for (const auto& [name, piece] : pieces) {
        const fixture::RepeatedBytes file(kStart + exifSegment(kLittle), piece, kHuge);
        EXPECT_LE(readsOf(file, file.reads), kHuge / 4000) << name;
    }
    // A large segment is passed, not read.
    const fixture::RepeatedBytes large(kStart + exifSegment(kLittle), segment(0xE2, filled(65533)),
                                       kHuge);
    EXPECT_LE(readsOf(large, large.reads), kHuge / 65537 + 4);
}

// One more for the tables, which are longer than what is read after a jump: of the file, one block.
TEST(JpegWalks, AnOrdinaryPhotographCostsAReadForEachFarSegment) {
    const Bytes tables = segment(0xDB, filled(130)) + segment(0xC4, filled(416));
    const CountedBytes camera(jpegOf({exifSegment(header({"II*\0", 4}, 12000)), tables}));
    EXPECT_EQ(readsOf(camera, camera.reads), 3U);
    const CountedBytes edited(
        jpegOf({kJfif, exifSegment(header({"II*\0", 4}, 9000)), segment(0xED, filled(9000)),
                segment(0xE1, filled(18000)), tables}));
    EXPECT_EQ(readsOf(edited, edited.reads), 5U);
}

}  // namespace
