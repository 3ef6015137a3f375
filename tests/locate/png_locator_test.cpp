#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "files/read_cache.h"
#include "locate/locators.h"
#include "support/box_builder.h"
#include "support/chunk_builder.h"
#include "support/compressed_bytes.h"
#include "support/counted_bytes.h"
#include "support/located_text.h"
#include "support/repeated_bytes.h"
#include "support/tiff_builder.h"

namespace {

using namespace std::string_view_literals;

using fixture::Bytes;
using fixture::bytesOf;
using fixture::compressedTextChunk;
using fixture::internationalTextChunk;
using fixture::joined;
using fixture::pngChunk;
using fixture::pngFile;
using fixture::textChunk;
using ifdsweep::ByteReader;
using ifdsweep::SearchDepth;

ifdsweep::Located search(const ifdsweep::ByteSource& file, SearchDepth depth) {
    ByteReader reader(file);
    return ifdsweep::locateInPng(reader, depth);
}

std::string found(const Bytes& file, SearchDepth depth = SearchDepth::all) {
    return fixture::locatedText(search(fixture::CountedBytes(file), depth));
}

// All chunks stand behind 33 bytes; a chunk has 12 bytes beside its data.
const Bytes kTiff = bytesOf("II*\0\x08\0\0\0"sv);
const Bytes kExif = pngChunk("eXIf", kTiff);
const Bytes kData = pngChunk("IDAT", Bytes(4, 0x5A));
const Bytes kEnd = pngChunk("IEND", {});
const Bytes kZlib(6, 0x78);
const Bytes kCompressedHead{0, 0, 0, 0, 99};

Bytes rawProfile(std::string_view name, const Bytes& bytes) {
    return bytesOf(fixture::rawProfile(bytes, name));
}

constexpr std::string_view kExifKeyword = "Raw profile type exif";
constexpr std::string_view kApp1Keyword = "Raw profile type APP1";
/// Behind a keyword of 21 characters and a NUL: a text of 32 bytes.
const Bytes kProfile = rawProfile("exif", kTiff);
const Bytes kProfileChunk = textChunk(kExifKeyword, kProfile);

Bytes app1(std::string_view content) {
    return textChunk(kApp1Keyword, rawProfile("APP1", bytesOf(content)));
}

Bytes app1WithText(std::string_view text) {
    return textChunk(kApp1Keyword, bytesOf(text));
}

const std::string kLongText(256, 'x');

std::string_view longText(std::size_t length) {
    return std::string_view(kLongText).substr(0, length);
}

struct Case {
    const char* name;
    Bytes chunks;
    const char* found;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.name;
}

const Case kCases[] = {
    {"noStream", joined({kData, kEnd}), "pieces 3, ended at 49"},
    {"beforeTheImage", joined({kExif, kData, kEnd}), "eXIf: 41+8\npieces 4, ended at 69"},
    {"behindTheImage", joined({kData, kData, kExif, kEnd}), "eXIf: 73+8\npieces 5, ended at 85"},
    {"withASignature", joined({pngChunk("eXIf", joined({bytesOf("Exif\0\0"sv), kTiff})), kEnd}),
     "eXIf: 41+14\npieces 3, ended at 59"},
    {"byItsNameInDrafts", joined({pngChunk("exIf", kTiff), kEnd}),
     "eXIf: 41+8\npieces 3, ended at 53"},
    {"compressedByItsNameInDrafts",
     joined({pngChunk("zxIf", joined({kCompressedHead, kZlib})), kEnd}),
     "eXIf: 46+6 zlib\npieces 3, ended at 56"},
    {"compressed", joined({pngChunk("eXIf", joined({kCompressedHead, kZlib})), kEnd}),
     "eXIf: 46+6 zlib\npieces 3, ended at 56"},
    {"compressedNothing", joined({pngChunk("eXIf", kCompressedHead), kEnd}),
     "pieces 3, ended at 50, damaged at 33"},
    {"oneByte", joined({pngChunk("eXIf", {'I'}), kEnd}), "eXIf: 41+1\npieces 3, ended at 46"},
    {"empty", joined({pngChunk("eXIf", {}), kExif, kEnd}),
     "eXIf: 53+8\npieces 4, ended at 65, damaged at 33"},
    {"several", joined({kExif, kExif, kData, kExif, kEnd}),
     "eXIf: 41+8\neXIf 2: 61+8\neXIf 3: 97+8\npieces 6, ended at 109"},

    {"profile", joined({kProfileChunk, kEnd}),
     "Raw profile type exif: 63+32 raw-profile\npieces 3, ended at 99"},
    {"profileInAnyCase", joined({textChunk("raw Profile Type EXIF", kProfile), kEnd}),
     "Raw profile type exif: 63+32 raw-profile\npieces 3, ended at 99"},
    {"profileOfAnotherType", joined({textChunk("Raw profile type iptc", kProfile), kEnd}),
     "pieces 3, ended at 99"},
    {"longerKeyword", joined({textChunk("Raw profile type exif2", kProfile), kEnd}),
     "pieces 3, ended at 100"},
    {"shorterKeyword", joined({textChunk("Raw profile type exi", kProfile), kEnd}),
     "pieces 3, ended at 98"},
    {"keywordWithoutEnd", joined({pngChunk("tEXt", bytesOf(kExifKeyword)), Bytes(40, 0)}),
     "pieces 5, ended at 102, damaged at 66"},
    {"profileOfNoText", joined({textChunk(kExifKeyword, {}), kEnd}),
     "pieces 3, ended at 67, damaged at 33"},
    {"keywordInAnotherChunk",
     joined({pngChunk("teXt", joined({bytesOf(kExifKeyword), Bytes{0}, kProfile})), kEnd}),
     "pieces 3, ended at 99"},

    {"compressedProfile", joined({compressedTextChunk(kExifKeyword, kZlib), kEnd}),
     "Raw profile type exif: 64+6 zlib raw-profile\npieces 3, ended at 74"},
    {"unknownMethod", joined({compressedTextChunk(kExifKeyword, kZlib, 1), kExif, kEnd}),
     "eXIf: 82+8\npieces 4, ended at 94, damaged at 33"},
    {"noMethod", joined({pngChunk("zTXt", joined({bytesOf(kExifKeyword), Bytes{0}})), kEnd}),
     "pieces 3, ended at 67, damaged at 33"},
    {"compressedProfileOfNoBytes", joined({compressedTextChunk(kExifKeyword, {}), kEnd}),
     "pieces 3, ended at 68, damaged at 33"},

    {"international", joined({internationalTextChunk(kExifKeyword, {}, kProfile), kEnd}),
     "Raw profile type exif: 67+32 raw-profile\npieces 3, ended at 103"},
    {"internationalInWords",
     joined({internationalTextChunk(
                 kExifKeyword, {.method = 9, .language = "de", .translated = "Profil"}, kProfile),
             kEnd}),
     "Raw profile type exif: 75+32 raw-profile\npieces 3, ended at 111"},
    {"internationalCompressed",
     joined({internationalTextChunk(kExifKeyword, {.flag = 1, .language = "de"}, kZlib), kEnd}),
     "Raw profile type exif: 69+6 zlib raw-profile\npieces 3, ended at 79"},
    {"internationalOfUnknownMethod",
     joined({internationalTextChunk(kExifKeyword, {.flag = 1, .method = 1}, kZlib), kEnd}),
     "pieces 3, ended at 77, damaged at 33"},
    {"internationalWithAnotherFlag",
     joined({internationalTextChunk(kExifKeyword, {.flag = 2}, kZlib), kEnd}),
     "pieces 3, ended at 77, damaged at 33"},
    {"internationalWithoutText", joined({internationalTextChunk(kExifKeyword, {}, {}), kEnd}),
     "pieces 3, ended at 71, damaged at 33"},
    {"internationalWithoutTheEndOfALanguage",
     joined({pngChunk("iTXt", joined({bytesOf(kExifKeyword), Bytes{0, 0, 0}, bytesOf("de"),
                                      Bytes{0, 'x'}})),
             kEnd}),
     "pieces 3, ended at 73, damaged at 33"},
    {"internationalWithTheLongestLanguage",
     joined({internationalTextChunk(kExifKeyword, {.language = longText(255)}, kProfile), kEnd}),
     "Raw profile type exif: 322+32 raw-profile\npieces 3, ended at 358"},
    {"internationalWithALongerLanguage",
     joined({internationalTextChunk(kExifKeyword, {.language = longText(256)}, kProfile), kEnd}),
     "pieces 3, ended at 359, damaged at 33"},

    {"app1", joined({app1("Exif\0\0II*\0"sv), kEnd}),
     "Raw profile type APP1: 63+36 raw-profile\npieces 3, ended at 103"},
    {"app1LittleEndian", joined({app1("II*\0"sv), kEnd}),
     "Raw profile type APP1: 63+24 raw-profile\npieces 3, ended at 91"},
    {"app1BigEndian", joined({app1("MM\0*"sv), kEnd}),
     "Raw profile type APP1: 63+24 raw-profile\npieces 3, ended at 91"},
    {"app1InCapitals", joined({app1WithText("\nAPP1\n  4\n4D4D002A"), kEnd}),
     "Raw profile type APP1: 63+18 raw-profile\npieces 3, ended at 85"},
    {"app1WithoutTheFirstLineFeed", joined({app1WithText("APP1\n  4\n4D4D002A"), kEnd}),
     "Raw profile type APP1: 63+17 raw-profile\npieces 3, ended at 84"},
    {"app1WithoutDigits", joined({app1WithText("\nAPP1\n  4 4D4D002A"), kEnd}),
     "Raw profile type APP1: 63+18 raw-profile\npieces 3, ended at 85"},
    {"app1OfXmp", joined({app1("http://ns.adobe.com/xap/1.0/"), kEnd}), "pieces 3, ended at 139"},
    {"app1OfAnotherKind", joined({app1("Ducky"), kEnd}), "pieces 3, ended at 93"},
    {"app1Compressed", joined({compressedTextChunk("raw profile type app1", kZlib), kEnd}),
     "Raw profile type APP1: 64+6 zlib raw-profile\npieces 3, ended at 74"},

    {"inTheOrderOfReading",
     joined({compressedTextChunk(kApp1Keyword, kZlib), kProfileChunk, kData, app1("II*\0"sv), kExif,
             kProfileChunk, kEnd}),
     "eXIf: 222+8\n"
     "Raw profile type exif: 104+32 raw-profile\n"
     "Raw profile type exif 2: 264+32 raw-profile\n"
     "Raw profile type APP1: 64+6 zlib raw-profile\n"
     "Raw profile type APP1 2: 186+24 raw-profile\n"
     "pieces 8, ended at 300"},

    {"typeThatIsNone", joined({pngChunk("t3Xt", kTiff), kExif, kEnd}),
     "eXIf: 61+8\npieces 4, ended at 73, damaged at 33"},
    {"zeros", joined({kExif, Bytes(36, 0)}), "eXIf: 41+8\npieces 5, ended at 89, damaged at 53"},
    {"noEnd", kExif, "eXIf: 41+8\npieces 2, ended at 53, damaged at 53"},
    {"tooShortForAChunk", joined({kExif, Bytes(7, 0)}),
     "eXIf: 41+8\npieces 2, ended at 53, damaged at 53"},
    {"longerByOne", joined({pngChunk("eXIf", kTiff, 9), kExif}),
     "eXIf: 41+9\npieces 3, ended at 73, damaged at 54"},
    {"pastTheEndByOne", pngChunk("eXIf", kTiff, 9),
     "eXIf: 41+9\npieces 2, ended at 53, damaged at 33"},
    {"muchPastTheEnd", joined({kExif, pngChunk("eXIf", kTiff, 0x7FFFFFFF), kEnd}),
     "eXIf: 41+8\neXIf 2: 61+24\npieces 3, ended at 85, damaged at 53"},
    {"longerThanAnyChunk", joined({pngChunk("eXIf", kTiff, 0x80000000), kEnd}),
     "eXIf: 41+24\npieces 2, ended at 65, damaged at 33"},
    {"longest", joined({pngChunk("eXIf", kTiff, 0xFFFFFFFF), kEnd}),
     "eXIf: 41+24\npieces 2, ended at 65, damaged at 33"},
    {"textPastTheEnd", pngChunk("tEXt", joined({bytesOf(kExifKeyword), Bytes{0}, kProfile}), 9999),
     "Raw profile type exif: 63+36 raw-profile\npieces 2, ended at 99, damaged at 33"},
    {"behindTheEnd", joined({kEnd, kExif}), "pieces 2, ended at 33"},
    {"endWithoutItsSum", joined({kExif, fixture::truncated(kEnd, 8)}),
     "eXIf: 41+8\npieces 3, ended at 53"},
};

class PngLocator : public testing::TestWithParam<Case> {};

TEST_P(PngLocator, FindsStreamsAndDamage) {
    EXPECT_EQ(found(pngFile({GetParam().chunks})), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(All, PngLocator, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(PngLocators, TheSearchForOneEndsAtTheImageData) {
    const Bytes compressedApp1 = compressedTextChunk(kApp1Keyword, kZlib);
    const std::pair<Bytes, const char*> rows[] = {
        {pngFile({kExif, kExif, kData, kExif, kEnd}),
         "eXIf: 41+8\neXIf 2: 61+8\npieces 4, ended at 73"},
        {pngFile({kProfileChunk, kData, kExif, kEnd}),
         "Raw profile type exif: 63+32 raw-profile\npieces 3, ended at 99"},
        {pngFile({app1("MM\0*"sv), kData, kExif, kEnd}),
         "Raw profile type APP1: 63+24 raw-profile\npieces 3, ended at 91"},
        // Nothing was found, or what may be XMP.
        {pngFile({kData, kExif, kData, kExif, kEnd}), "eXIf: 57+8\npieces 4, ended at 69"},
        {pngFile({compressedApp1, kData, kExif, kEnd}),
         "eXIf: 98+8\nRaw profile type APP1: 64+6 zlib raw-profile\npieces 5, ended at 110"},
    };
    for (const auto& [file, expected] : rows) {
        EXPECT_EQ(found(file, SearchDepth::first), expected);
    }
}

TEST(PngLocators, AStreamIsFoundByteByByteInBothByteOrders) {
    for (const auto order : {fixture::ByteOrder::little, fixture::ByteOrder::big}) {
        fixture::TiffBuilder builder(fixture::Format{fixture::Layout::classic, order});
        builder.add({});
        const Bytes stream = builder.build().bytes;
        const Bytes file = pngFile({pngChunk("eXIf", stream), kData, kEnd});
        const auto located = search(fixture::CountedBytes(file), SearchDepth::first);
        ASSERT_EQ(located.streams.size(), 1U);
        const auto [position, size] = located.streams.front().extents.front();
        const auto begin = file.begin() + static_cast<std::ptrdiff_t>(position);
        EXPECT_EQ(Bytes(begin, begin + static_cast<std::ptrdiff_t>(size)), stream);
    }
}

TEST(PngLocators, EveryLengthOfAFileGivesWhatIsThere) {
    const Bytes whole = pngFile({kExif, kEnd});
    constexpr std::size_t kContent = 41;
    constexpr std::size_t kEndOfContent = kContent + 8;
    constexpr std::size_t kBehindExif = kEndOfContent + 4;
    for (std::size_t length = 8; length < whole.size(); ++length) {
        const auto located =
            search(fixture::CountedBytes(fixture::truncated(whole, length)), SearchDepth::all);
        EXPECT_EQ(located.streams.size(), length > kContent ? 1U : 0U) << length;
        if (!located.streams.empty()) {
            const auto extent = located.streams.front().extents.front();
            EXPECT_EQ(extent.position, kContent);
            EXPECT_EQ(extent.size, std::min(length, kEndOfContent) - kContent) << length;
        }
        EXPECT_EQ(located.damagedAt.has_value(), length < kBehindExif + 8) << length;
    }
}

TEST(PngLocators, EveryLengthOfEveryFormEndsInsideTheFile) {
    const Bytes whole = pngFile(
        {kProfileChunk, compressedTextChunk(kExifKeyword, kZlib),
         internationalTextChunk(kApp1Keyword, {.language = "de"}, rawProfile("APP1", kTiff)),
         pngChunk("zxIf", joined({kCompressedHead, kZlib})), kData, kEnd});
    EXPECT_EQ(search(fixture::CountedBytes(whole), SearchDepth::all).streams.size(), 4U);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const auto located =
            search(fixture::CountedBytes(fixture::truncated(whole, length)), SearchDepth::all);
        for (const auto& stream : located.streams) {
            const auto [position, size] = stream.extents.front();
            EXPECT_GT(size, 0U) << length;
            EXPECT_TRUE(position <= length && size <= length - position) << length;
        }
        EXPECT_LE(located.endedAt, length);
        EXPECT_LE(located.damagedAt.value_or(0), length);
    }
}

constexpr std::uint64_t kHundredMegabytes = 100'000'000;

TEST(PngLocators, ManyChunksCostAReadForEachWindowAtMost) {
    struct Row {
        const char* name;
        Bytes chunk;
        std::uint64_t size;
        std::uint64_t streams;
    };
    const std::uint64_t size = kHundredMegabytes;
    const Row rows[] = {
        {"smallest", pngChunk("tEXt", {}), size, 0},
        {"emptyExif", pngChunk("eXIf", {}), size / 10, 0},
        {"exif", pngChunk("eXIf", {'I'}), size / 10, (size / 10 - 33) / 13},
        {"profiles", kProfileChunk, size / 10, (size / 10 - 33) / 66},
        {"longKeywords", internationalTextChunk(kExifKeyword, {.language = longText(256)}, {}),
         size / 10, 0},
        {"zeros", Bytes(12, 0), size / 10, 0},
    };
    for (const Row& row : rows) {
        const fixture::RepeatedBytes file(pngFile({}), row.chunk, row.size);
        const auto located = search(file, SearchDepth::first);
        // A text that the end of a window cuts is read anew.
        EXPECT_LE(file.reads, row.size / (ByteReader::kWindow - ByteReader::kLongestText) + 3)
            << row.name;
        EXPECT_NEAR(static_cast<double>(located.streamCount), static_cast<double>(row.streams), 1)
            << row.name;
        EXPECT_EQ(located.streams.size(),
                  std::min<std::uint64_t>(row.streams, ifdsweep::Located::kMostStreams))
            << row.name;
        EXPECT_GE(located.pieceCount, (row.size - 33) / row.chunk.size()) << row.name;
    }
}

TEST(PngLocators, ImageDataCostAReadForEachChunk) {
    constexpr std::size_t kChunks = 128;
    const Bytes data = pngChunk("IDAT", Bytes(8192, 0x5A));
    Bytes file = pngFile({});
    for (std::size_t count = 0; count < kChunks; ++count) {
        file.insert(file.end(), data.begin(), data.end());
    }
    file = joined({file, kEnd});
    const fixture::CountedBytes counted(file);
    EXPECT_EQ(fixture::locatedText(search(counted, SearchDepth::first)),
              "pieces 130, ended at " + std::to_string(file.size() - kEnd.size()));
    EXPECT_EQ(counted.reads, kChunks + 1);
    EXPECT_LE(counted.delivered, ByteReader::kWindow + kChunks * ByteReader::kWindowAfterJump);
}

/// A file whose bytes go through the cache that the program reads through.
class CachedBytes final : public ifdsweep::ByteSource {
public:
    explicit CachedBytes(const ifdsweep::ByteSource& source) : file(source) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return file.size(); }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        return cache.read(file, position, target);
    }

private:
    const ifdsweep::ByteSource& file;
    mutable ifdsweep::ReadCache cache;
};

TEST(PngLocators, WhatTheSearchReadIsNotReadAgainForTheStream) {
    const Bytes data = pngChunk("IDAT", Bytes(100000, 0x5A));
    const std::pair<Bytes, std::size_t> rows[] = {
        {pngFile({kExif, data, kEnd}), 1},
        {pngFile({data, kExif, kEnd}), 2},
        {pngFile({data, data, kExif, kEnd}), 3},
    };
    for (const auto& [bytes, reads] : rows) {
        const fixture::CountedBytes file(bytes);
        const CachedBytes cached(file);
        std::array<std::byte, 4> signature;
        static_cast<void>(cached.read(0, signature));
        const auto located = search(cached, SearchDepth::first);
        ASSERT_EQ(located.streams.size(), 1U);
        std::array<std::byte, 8> header;
        EXPECT_EQ(cached.read(located.streams.front().extents.front().position, header), 8);
        EXPECT_EQ(file.reads, reads);
    }
}

TEST(PngLocators, AFileThatCannotBeReadIsDamaged) {
    class Unreadable final : public ifdsweep::ByteSource {
    public:
        [[nodiscard]] std::uint64_t size() const noexcept override { return 1000; }
        [[nodiscard]] std::ptrdiff_t read(std::uint64_t /*position*/,
                                          std::span<std::byte> /*target*/) const noexcept override {
            return -1;
        }
    };
    EXPECT_EQ(fixture::locatedText(search(Unreadable(), SearchDepth::all)),
              "pieces 0, ended at 8, damaged at 8");
}

}  // namespace
