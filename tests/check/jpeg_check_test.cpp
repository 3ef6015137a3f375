// What the checks find in JPEG data: strips and tiles, tables, thumbnails, and JPEG files.

#include "check/jpeg_check.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "check/checked_file.h"

namespace {

using checkedfile::changed;
using checkedfile::checked;
using checkedfile::found;
using checkedfile::kData;
using checkedfile::put;
using checkedfile::strips;
using checkedfile::thumbnail;
using checkedfile::tiles;
using checkedfile::withData;
using fixture::Bytes;
using fixture::Directory;
using fixture::Entry;
using fixture::Lines;
using fixture::longs;
using fixture::shorts;

const std::vector<std::uint8_t> kStart{0xFF, 0xD8};
const std::vector<std::uint8_t> kEnd{0xFF, 0xD9};

class JpegChecks : public fixture::TiffMatrix {
protected:
    ~JpegChecks() override { EXPECT_EQ(host.liveValues(), 0U); }

    /// A file of one directory with image data.
    static Bytes bytesOf(const std::vector<Entry>& entries) {
        return withData(fileOf({Directory(entries)}).bytes);
    }
    Lines findings(const Bytes& bytes, const ifdsweep::ReadOptions& options = {}) {
        return found(checked(host, bytes, options));
    }

    ifdsweep::Host host;
};

TEST_P(JpegChecks, TilesOfJpegBeginAsSuch) {
    const auto entries =
        changed(tiles(), {shorts(259, {7}), longs(324, {kData, kData + 256, 0, kData + 768}),
                          longs(325, {256, 256, 0, 1})});
    Bytes bytes = bytesOf(entries);
    put(bytes, kData, kStart);
    put(bytes, kData + 256, kStart);
    EXPECT_EQ(findings(bytes), Lines{}) << "one is left out, one too short to be looked at";
    put(bytes, kData + 256, {0xFF, 0xDB});
    EXPECT_EQ(findings(bytes), (Lines{"0 324 imageDataNotJpeg(tile, 1, 1, 2)"}));
    put(bytes, kData, {0x00, 0xD8});
    EXPECT_EQ(findings(bytes), (Lines{"0 324 imageDataNotJpeg(tile, 0, 2, 2)"}));
}

TEST_P(JpegChecks, StripsPastTheEndAreNotLookedAt) {
    const auto entries =
        changed(strips(), {shorts(259, {7}), longs(279, {2, 2}),
                           longs(273, {kData, std::int64_t{checkedfile::kFileSize} - 1})});
    EXPECT_EQ(findings(bytesOf(entries)), (Lines{"0 273 imageDataPastEOF(strip, 1, 1, 2, 8191, 2)",
                                                 "0 273 imageDataNotJpeg(strip, 0, 1, 1)"}));
}

TEST_P(JpegChecks, OtherCompressionsAreNotLookedAt) {
    EXPECT_EQ(findings(bytesOf(changed(strips(), {shorts(259, {6})}))), Lines{});
}

TEST_P(JpegChecks, TablesAreWhole) {
    const auto tables = [](const std::vector<std::int64_t>& bytes) {
        return changed(strips(), {fixture::numbers(347, fixture::kUndefined, bytes)});
    };
    EXPECT_EQ(findings(bytesOf(tables({0xFF, 0xD8, 0xFF, 0xD9}))), Lines{});
    EXPECT_EQ(findings(bytesOf(tables({0xFF, 0xD8, 1, 2, 3, 4, 5, 6, 7, 0xFF, 0xD9}))), Lines{});
    for (const std::vector<std::int64_t>& damaged :
         std::vector<std::vector<std::int64_t>>{{0xFF, 0xD8},
                                                {0xFF, 0xD8, 0xD9},
                                                {0xFF, 0xD9, 0xFF, 0xD9},
                                                {0x00, 0xD8, 0xFF, 0xD9},
                                                {0xFF, 0xD8, 0xFF, 0xD8},
                                                {0xFF, 0xD8, 0x00, 0xD9}}) {
        EXPECT_EQ(findings(bytesOf(tables(damaged))),
                  (Lines{"0 347 jpegTablesDamaged(" + std::to_string(damaged.size()) + ')'}));
    }
}

TEST_P(JpegChecks, ThumbnailsBeginAndEndInTheFile) {
    constexpr std::int64_t kSize = 4000;
    Bytes bytes = bytesOf(thumbnail(kData, kSize));
    const std::string place = "0 513 ";
    EXPECT_EQ(findings(bytes), (Lines{place + "jpegDataWithoutStart(4096)"}));
    put(bytes, kData, kStart);
    EXPECT_EQ(findings(bytes), (Lines{place + "jpegDataWithoutEnd(4096, 4000)"}));
    put(bytes, kData + kSize - 2, kEnd);
    EXPECT_EQ(findings(bytes), Lines{});
    put(bytes, kData + kSize - 2, {0, 0});
    put(bytes, kData + 3000, kEnd);
    EXPECT_EQ(findings(bytes), Lines{}) << "filled up to a round size";
    bytes = bytesOf(thumbnail(kData, 4097));
    EXPECT_EQ(findings(bytes), (Lines{place + "jpegDataPastEOF(4096, 4097)"}));
    bytes = bytesOf(thumbnail(checkedfile::kFileSize, 0));
    EXPECT_EQ(findings(bytes), (Lines{place + "jpegDataPastEOF(8192, 0)"}));
    bytes = bytesOf(changed(thumbnail(kData, 1), {}, {514}));
    EXPECT_EQ(findings(bytes), (Lines{place + "jpegDataWithoutStart(4096)"}));
    put(bytes, kData, kStart);
    EXPECT_EQ(findings(bytes), Lines{}) << "how long it is is not known";
}

TEST_P(JpegChecks, AnEndIsLookedForInTheLastBytesAlone) {
    constexpr std::int64_t kSize = 6000;
    Bytes bytes = fileOf({Directory(thumbnail(kData, kSize))}).bytes;
    bytes.resize(kData + kSize);
    put(bytes, kData, kStart);
    const std::int64_t first = kData + kSize - 4096;
    put(bytes, first, kEnd);
    EXPECT_EQ(findings(bytes), Lines{});
    put(bytes, first, {0, 0});
    put(bytes, first - 1, kEnd);
    EXPECT_EQ(findings(bytes), (Lines{"0 513 jpegDataWithoutEnd(4096, 6000)"}));
}

TEST_P(JpegChecks, SoManyTilesAreLookedAtAndNoMore) {
    constexpr std::int64_t kTiles = ifdsweep::kMostJpegProbes;
    const auto row = [&](std::int64_t count) {
        std::vector<std::int64_t> offsets;
        for (std::int64_t tile = 0; tile < count; ++tile) {
            offsets.push_back(4 * kData + 16 * kData + 2 * tile);
        }
        return changed(
            tiles(),
            {shorts(259, {7}), longs(256, {16 * count}), shorts(257, {16}), longs(324, offsets),
             longs(325, std::vector<std::int64_t>(static_cast<std::size_t>(count), 2))});
    };
    for (const std::int64_t count : {kTiles - 1, kTiles, kTiles + 1}) {
        Bytes bytes = fileOf({Directory(row(count)), Directory(thumbnail(8, 2))}).bytes;
        ASSERT_LT(bytes.size(), 20U * kData);
        bytes.resize(40 * kData);
        const std::string looked = std::to_string(std::min(count, kTiles));
        Lines expected{"0 324 imageDataNotJpeg(tile, 0, " + looked + ", " + looked + ')'};
        if (count < kTiles) {
            expected.emplace_back("1 513 jpegDataWithoutStart(8)");
        }
        EXPECT_EQ(findings(bytes), expected) << count;
    }
}

TEST_P(JpegChecks, WhatCannotBeReadIsNoFinding) {
    const auto entries = changed(strips(), {shorts(259, {7})});
    const Bytes bytes = bytesOf(entries);
    const ifdsweep::Outcome all = checked(host, bytes);
    ASSERT_EQ(found(all), (Lines{"0 273 imageDataNotJpeg(strip, 0, 2, 2)"}));
    // From a budget that is spent before the walk ends to one that is enough.
    bool wasSpentAtTheEnd = false;
    for (std::uint64_t budget = 0; budget < 2000; budget += 8) {
        const ifdsweep::Outcome outcome = checked(host, bytes, {.readBudget = budget});
        const bool isSpent =
            !outcome.warnings.empty() && outcome.warnings[0].message.id() ==
                                             std::string_view("Velmora:filesystem:readBudgetSpent");
        const Lines lines = found(outcome);
        EXPECT_TRUE(isSpent || outcome.error || lines == found(all)) << budget;
        wasSpentAtTheEnd = wasSpentAtTheEnd || (isSpent && lines.empty() && !outcome.error);
    }
    EXPECT_TRUE(wasSpentAtTheEnd);
}

IFDSWEEP_TIFF_MATRIX(JpegChecks);

/// A JPEG file with Exif data of some directories and bytes behind it.
Bytes jpegWith(const fixture::Chain& chain, const std::vector<std::uint8_t>& behind) {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::big});
    for (const Directory& directory : chain) {
        builder.add(directory);
    }
    Bytes bytes = builder.buildInJpeg().bytes;
    // The builder ends its file with the end of image.
    bytes.resize(bytes.size() - 2);
    bytes.insert(bytes.end(), behind.begin(), behind.end());
    return bytes;
}

struct JpegFileCase {
    const char* name;
    std::vector<std::uint8_t> behind;  ///< the Exif segment
    std::string expected;              ///< "@" stands for the position behind the segment
};

class JpegFiles : public testing::TestWithParam<JpegFileCase> {};

TEST_P(JpegFiles, HaveImageDataAndAnEnd) {
    const JpegFileCase& row = GetParam();
    const fixture::Chain chain{{shorts(256, {3}), shorts(257, {2})}};
    const Bytes bytes = jpegWith(chain, row.behind);
    const std::size_t behind = bytes.size() - row.behind.size();
    std::string expected = row.expected;
    for (std::size_t at = expected.find('@'); at != expected.npos; at = expected.find('@')) {
        expected.replace(at, 2,
                         std::to_string(behind + static_cast<std::size_t>(expected[at + 1] - '0')));
    }
    ifdsweep::Host host;
    EXPECT_EQ(found(checked(host, bytes)), expected.empty() ? Lines{} : Lines{expected});
}

const JpegFileCase kJpegFiles[] = {
    {"Whole", {0xFF, 0xDA, 0, 2, 1, 2, 0xFF, 0xD9}, ""},
    {"WithSegmentsBefore", {0xFF, 0xDB, 0, 3, 7, 0xFF, 0xDA, 0, 2, 1, 0xFF, 0xD9}, ""},
    {"WithBytesBehindItsEnd", {0xFF, 0xDA, 0, 2, 1, 0xFF, 0xD9, 5, 6, 7}, ""},
    {"WithStuffingRestartsAndFill",
     {0xFF, 0xDA, 0, 2, 0xFF, 0, 0xD9, 0xFF, 0xD0, 0xFF, 0xFF, 0xD9, 4},
     ""},
    {"WithScansAndTablesAmongThem",
     {0xFF, 0xDA, 0, 2, 1, 0xFF, 0xC4, 0, 4, 0xFF, 0xD9, 0xFF, 0xDA, 0, 2, 1, 0xFF, 0xD9, 4},
     ""},
    {"CutInItsData", {0xFF, 0xDA, 0, 2, 1, 2, 3}, "file - jpegWithoutEnd(@0)"},
    {"CutBehindTheScansMarker", {0xFF, 0xDA}, "file - jpegWithoutEnd(@0)"},
    {"CutInTheMarkerOfItsEnd", {0xFF, 0xDA, 0, 2, 1, 0xFF}, "file - jpegWithoutEnd(@0)"},
    {"FilledUpWithZeros", {0xFF, 0xDA, 0, 2, 1, 0, 0, 0, 0}, "file - jpegWithoutEnd(@0)"},
    {"WhoseEndIsInASegment",
     {0xFF, 0xDA, 0, 2, 1, 0xFF, 0xC4, 0, 5, 0xFF, 0xD9, 4},
     "file - jpegWithoutEnd(@0)"},
    {"WithoutData", {0xFF, 0xD9}, "file - jpegWithoutImageData(@0)"},
    {"CutBehindItsExif", {}, "file - jpegWithoutImageData(@0)"},
    {"CutInASegment", {0xFF, 0xDB, 0, 7, 7}, "file - jpegWithoutImageData(@9)"},
    {"CutInALength", {0xFF, 0xDB, 0}, "file - jpegWithoutImageData(@2)"},
};

INSTANTIATE_TEST_SUITE_P(All, JpegFiles, testing::ValuesIn(kJpegFiles),
                         [](const auto& row) { return row.param.name; });

TEST(JpegFileDirectories, TheFirstIsOfTheFileAndTheSecondOfAThumbnail) {
    const std::vector<std::uint8_t> data{0xFF, 0xDA, 0, 2, 1, 0xFF, 0xD9};
    const fixture::Chain chain{Directory(changed(strips(), {longs(273, {70000, 70064})})),
                               Directory(thumbnail(0x10000, 50))};
    const Bytes bytes = jpegWith(chain, data);
    ifdsweep::Host host;
    const std::string cut = " 513 jpegDataPastEOF(65548, 50)";
    EXPECT_EQ(found(checked(host, bytes)), (Lines{"1" + cut}));
    EXPECT_EQ(found(checked(host, bytes, {.first = 1})), (Lines{"0" + cut}));
    EXPECT_EQ(found(checked(host, bytes, {.first = 0.5})), (Lines{"1" + cut}));
    const Bytes uncompressed = jpegWith({Directory(thumbnail(0, 0)), chain[0]}, data);
    EXPECT_EQ(found(checked(host, uncompressed)),
              (Lines{"1 273 imageDataPastEOF(strip, 0, 2, 2, 70012, 64)"}));
}

TEST(JpegFileDirectories, AFileThatCannotBeReadIsNotFoundToBeCut) {
    std::vector<std::uint8_t> data(100'000, 7);
    data[0] = 0xFF;
    data[1] = 0xDA;
    const Bytes bytes = jpegWith({{shorts(256, {3}), shorts(270, {2})}}, data);
    ifdsweep::Host host;
    EXPECT_EQ(found(checked(host, bytes)).size(), 1U);
    for (std::uint64_t budget = 400; budget < 100'000; budget += 1000) {
        const ifdsweep::Outcome outcome = checked(host, bytes, {.readBudget = budget});
        EXPECT_EQ(found(outcome), Lines{}) << budget;
        EXPECT_EQ(outcome.error || !outcome.warnings.empty(), true) << budget;
    }
}

}  // namespace
