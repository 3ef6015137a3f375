#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "locate/locators.h"
#include "support/box_builder.h"
#include "support/chunk_builder.h"
#include "support/counted_bytes.h"
#include "support/located_text.h"
#include "support/repeated_bytes.h"
#include "support/tiff_builder.h"

namespace {

using namespace std::string_view_literals;

using fixture::Bytes;
using fixture::bytesOf;
using fixture::joined;
using fixture::Padding;
using fixture::riffChunk;
using fixture::webpFile;
using ifdsweep::ByteReader;
using ifdsweep::SearchDepth;

ifdsweep::Located search(const ifdsweep::ByteSource& file, SearchDepth depth) {
    ByteReader reader(file);
    return ifdsweep::locateInWebp(reader, depth);
}

std::string found(const Bytes& file, SearchDepth depth = SearchDepth::all) {
    return fixture::locatedText(search(fixture::CountedBytes(file), depth));
}

// All chunks stand behind 12 bytes; a chunk has 8 bytes beside its data.
const Bytes kTiff = bytesOf("II*\0\x08\0\0\0"sv);
const Bytes kExif = riffChunk("EXIF", kTiff);
const Bytes kExtended = riffChunk("VP8X", Bytes(10, 0));
const Bytes kImage = riffChunk("VP8 ", Bytes(20, 0x5A));
const Bytes kFrame = riffChunk("ANMF", Bytes(20, 0x5A));

/// Chunks of 5 bytes, with and without the byte behind them.
const Bytes kOdd = riffChunk("VP8L", Bytes(5, 0x2F));
const Bytes kUnpadded = riffChunk("VP8L", Bytes(5, 0x2F), {}, Padding::none);

struct Case {
    const char* name;
    Bytes file;
    const char* found;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.name;
}

const Case kCases[] = {
    {"noChunk", webpFile({}), "pieces 0, ended at 12"},
    {"noStream", webpFile({kImage}), "pieces 1, ended at 40"},
    {"behindTheImage", webpFile({kExtended, kImage, kExif}), "EXIF: 66+8\npieces 3, ended at 74"},
    {"beforeTheImage", webpFile({kExtended, kExif, kImage}), "EXIF: 38+8\npieces 3, ended at 74"},
    {"withASignature", webpFile({riffChunk("EXIF", joined({bytesOf("Exif\0\0"sv), kTiff}))}),
     "EXIF: 20+14\npieces 1, ended at 34"},
    {"several", webpFile({kExif, kFrame, kExif, kFrame, kExif}),
     "EXIF: 20+8\nEXIF 2: 64+8\nEXIF 3: 108+8\npieces 5, ended at 116"},
    {"otherChunks",
     webpFile(
         {kExtended, riffChunk("ICCP", Bytes(4, 0)), kImage, riffChunk("XMP ", bytesOf("<x"))}),
     "pieces 4, ended at 80"},
    {"typeInSmallLetters", webpFile({riffChunk("exif", kTiff)}), "pieces 1, ended at 28"},
    {"oneByte", webpFile({riffChunk("EXIF", {'I'})}), "EXIF: 20+1\npieces 1, ended at 22"},
    {"empty", webpFile({riffChunk("EXIF", {}), kExif}),
     "EXIF: 28+8\npieces 2, ended at 36, damaged at 12"},

    {"odd", webpFile({kOdd, kExif}), "EXIF: 34+8\npieces 2, ended at 42"},
    {"oddAtTheEnd", webpFile({kExif, kOdd}), "EXIF: 20+8\npieces 2, ended at 42"},
    {"unpadded", webpFile({kUnpadded, kExif}), "EXIF: 33+8\npieces 2, ended at 41"},
    {"unpaddedBeforeASizeThatLooksLikeAType",
     webpFile({kUnpadded, riffChunk("EXIF", Bytes(0x32, 'I'))}),
     "EXIF: 33+50\npieces 2, ended at 83"},
    {"unpaddedAtTheEnd", webpFile({kExif, kUnpadded}), "EXIF: 20+8\npieces 2, ended at 41"},
    {"unpaddedAtTheEndAndCountedAsPadded", webpFile({kExif, kUnpadded}, 34),
     "EXIF: 20+8\npieces 2, ended at 41"},
    {"unpaddedTwice", webpFile({kUnpadded, kUnpadded, kExif}), "EXIF: 46+8\npieces 3, ended at 54"},
    {"noChunkBehindAnOddOne", webpFile({kOdd, Bytes(9, 0xFF)}),
     "pieces 2, ended at 35, damaged at 26"},

    {"typeThatIsNone",
     webpFile({riffChunk("\x8D"
                         "CCP",
                         Bytes(4, 0)),
               kExif}),
     "EXIF: 32+8\npieces 2, ended at 40, damaged at 12"},
    {"zeros", webpFile({Bytes(16, 0), kExif}), "EXIF: 36+8\npieces 3, ended at 44, damaged at 12"},
    {"pastTheEndByOne", webpFile({riffChunk("EXIF", kTiff, 9)}),
     "EXIF: 20+8\npieces 1, ended at 28, damaged at 12"},
    {"longest", webpFile({kExif, riffChunk("EXIF", kTiff, 0xFFFFFFFF), kExif}),
     "EXIF: 20+8\nEXIF 2: 36+24\npieces 2, ended at 60, damaged at 28"},
    {"tooShortForAChunk", webpFile({kExif, Bytes(7, 0)}),
     "EXIF: 20+8\npieces 1, ended at 28, damaged at 28"},

    {"behindTheRiff", joined({webpFile({kImage}), kExif}), "pieces 1, ended at 40"},
    {"pastTheRiff", webpFile({kExtended, kExif}, 37),
     "EXIF: 38+8\npieces 2, ended at 45, damaged at 30"},
    {"riffOfNoSize", webpFile({kImage, kExif}, 0),
     "EXIF: 48+8\npieces 2, ended at 56, damaged at 0"},
    {"riffTooShortForItsForm", webpFile({kImage, kExif}, 3),
     "EXIF: 48+8\npieces 2, ended at 56, damaged at 0"},
    {"riffOfItsFormAlone", webpFile({kImage, kExif}, 4), "pieces 0, ended at 12"},
    {"riffPastTheEnd", webpFile({kImage, kExif}, 49),
     "EXIF: 48+8\npieces 2, ended at 56, damaged at 56"},
    {"riffPastTheEndAndAByteBefore", webpFile({kExif, kUnpadded}, 99),
     "EXIF: 20+8\npieces 2, ended at 41, damaged at 41"},
    {"longestRiff", webpFile({kImage, kExif}, 0xFFFFFFFF),
     "EXIF: 48+8\npieces 2, ended at 56, damaged at 56"},
};

class WebpLocator : public testing::TestWithParam<Case> {};

TEST_P(WebpLocator, FindsStreamsAndDamage) {
    EXPECT_EQ(found(GetParam().file), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(All, WebpLocator, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(WebpLocators, TheSearchForOneEndsAtTheFramesOfAnAnimation) {
    EXPECT_EQ(found(webpFile({kExif, kImage, kExif, kFrame, kExif}), SearchDepth::first),
              "EXIF: 20+8\nEXIF 2: 64+8\npieces 4, ended at 72");
    EXPECT_EQ(found(webpFile({kFrame, kFrame, kExif}), SearchDepth::first),
              "EXIF: 76+8\npieces 3, ended at 84");
}

TEST(WebpLocators, AStreamIsFoundByteByByteInBothByteOrders) {
    for (const auto order : {fixture::ByteOrder::little, fixture::ByteOrder::big}) {
        fixture::TiffBuilder builder(fixture::Format{fixture::Layout::classic, order});
        builder.add({});
        const Bytes stream = builder.build().bytes;
        const Bytes file = webpFile({kImage, riffChunk("EXIF", stream)});
        const auto located = search(fixture::CountedBytes(file), SearchDepth::first);
        ASSERT_EQ(located.streams.size(), 1U);
        const auto [position, size] = located.streams.front().extents.front();
        const auto begin = file.begin() + static_cast<std::ptrdiff_t>(position);
        EXPECT_EQ(Bytes(begin, begin + static_cast<std::ptrdiff_t>(size)), stream);
    }
}

TEST(WebpLocators, EveryLengthOfAFileGivesWhatIsThere) {
    const Bytes whole = webpFile({kExtended, kUnpadded, kExif});
    constexpr std::size_t kContent = 12 + 18 + 13 + 8;
    for (std::size_t length = 12; length < whole.size(); ++length) {
        const auto located =
            search(fixture::CountedBytes(fixture::truncated(whole, length)), SearchDepth::all);
        EXPECT_TRUE(located.damagedAt) << length;
        EXPECT_EQ(located.streams.size(), length > kContent ? 1U : 0U) << length;
        for (const auto& stream : located.streams) {
            EXPECT_EQ(stream.extents.front().position, kContent);
            EXPECT_EQ(stream.extents.front().size, length - kContent) << length;
        }
    }
}

TEST(WebpLocators, DamageOfAFileCutInItsHeadIsAtItsEnd) {
    for (std::size_t length = 0; length < 12; ++length) {
        const auto located = search(
            fixture::CountedBytes(fixture::truncated(webpFile({kExif}), length)), SearchDepth::all);
        EXPECT_TRUE(located.streams.empty()) << length;
        EXPECT_LE(located.damagedAt.value_or(0), length) << length;
        EXPECT_LE(located.endedAt, length) << length;
    }
}

TEST(WebpLocators, ManyChunksCostAReadForEachWindowAtMost) {
    constexpr std::uint64_t kHundredMegabytes = 100'000'000;
    struct Row {
        const char* name;
        Bytes chunk;
        std::uint64_t size;
        std::uint64_t streams;
    };
    const std::uint64_t size = kHundredMegabytes;
    const Row rows[] = {
        {"smallest", riffChunk("XMP ", {}), size, 0},
        {"emptyExif", riffChunk("EXIF", {}), size / 10, 0},
        {"exif", riffChunk("EXIF", {'I'}), size / 10, (size / 10 - 12) / 10},
        {"unpadded", riffChunk("EXIF", {'I'}, {}, Padding::none), size / 10, (size / 10 - 12) / 9},
        {"zeros", Bytes(8, 0), size / 10, 0},
    };
    for (const Row& row : rows) {
        const fixture::RepeatedBytes file(webpFile({}, 0xFFFFFFFF), row.chunk, row.size);
        const auto located = search(file, SearchDepth::first);
        // A number that the end of a window cuts is read anew.
        EXPECT_LE(file.reads, row.size / (ByteReader::kWindow - ByteReader::kLongestText) + 3)
            << row.name;
        EXPECT_NEAR(static_cast<double>(located.streamCount), static_cast<double>(row.streams), 1)
            << row.name;
        EXPECT_EQ(located.streams.size(),
                  std::min<std::uint64_t>(row.streams, ifdsweep::Located::kMostStreams))
            << row.name;
        EXPECT_GE(located.pieceCount, (row.size - 12) / row.chunk.size()) << row.name;
    }
}

TEST(WebpLocators, AChunkCostsAReadHoweverLongItIs) {
    const Bytes frame = riffChunk("ANMF", Bytes(99999, 0x5A));
    const Bytes file = webpFile({frame, frame, frame, kExif});
    const fixture::CountedBytes counted(file);
    EXPECT_EQ(fixture::locatedText(search(counted, SearchDepth::all)),
              "EXIF: 300044+8\npieces 4, ended at 300052");
    EXPECT_EQ(counted.reads, 4U);
    EXPECT_LE(counted.delivered, ByteReader::kWindow + 3 * ByteReader::kWindowAfterJump);
}

}  // namespace
