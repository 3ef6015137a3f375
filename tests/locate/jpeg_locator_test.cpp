#include "locate/locators.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/counted_bytes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

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
    const std::size_t length = payload.size() + 2;
    return Bytes{0xFF, marker, static_cast<std::uint8_t>(length >> 8),
                 static_cast<std::uint8_t>(length)} +
           payload;
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

}  // namespace
