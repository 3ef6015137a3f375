// What the checks find in one directory, over every layout and byte order: each finding with its
// arguments, and the sound variants in which they find nothing.

#include "check/directory_check.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "check/checked_file.h"
#include "support/tags.h"

namespace {

using checkedfile::changed;
using checkedfile::checked;
using checkedfile::found;
using checkedfile::kData;
using checkedfile::strips;
using checkedfile::thumbnail;
using checkedfile::tiles;
using checkedfile::withData;
using fixture::ascii;
using fixture::Directory;
using fixture::Entry;
using fixture::Lines;
using fixture::longs;
using fixture::shorts;

using Entries = std::vector<Entry>;

struct Case {
    const char* name;
    Entries entries;
    Lines expected;  ///< without the path, that of the one directory
};

class DirectoryChecks : public fixture::TiffMatrix {
protected:
    ~DirectoryChecks() override { EXPECT_EQ(host.liveValues(), 0U); }

    Lines findings(const Entries& entries) {
        return found(checked(host, withData(fileOf({Directory(entries)}).bytes)));
    }

    void expect(const std::vector<Case>& cases) {
        for (const Case& row : cases) {
            Lines expected;
            for (const std::string& line : row.expected) {
                expected.push_back("0 " + line);
            }
            EXPECT_EQ(findings(row.entries), expected) << row.name;
        }
    }

    ifdsweep::Host host;
};

Entries without(const Entries& entries, const fixture::Codes& tags) {
    return changed(entries, {}, tags);
}

/// Colours of 16 x 8 pixels in strips of 4 rows.
Entries colours(std::int64_t photometric) {
    return changed(strips(), {shorts(258, {8, 8, 8}), shorts(262, {photometric}), shorts(277, {3}),
                              longs(273, {kData, kData + 192}), longs(279, {192, 192})});
}

TEST_P(DirectoryChecks, FindNothingInSoundImages) {
    const auto stripsWith = [](const Entries& others) { return changed(strips(), others); };
    expect({
        {"Strips", strips(), {}},
        {"Tiles", tiles(), {}},
        {"No image at all", {ascii(270, "text")}, {}},
        {"A size alone", {shorts(256, {16}), ascii(270, "text")}, {}},
        {"A last strip of fewer rows", stripsWith({shorts(257, {6}), longs(279, {64, 32})}), {}},
        {"More bytes than the pixels take",
         stripsWith({longs(273, {kData, kData + 200}), longs(279, {200, 70})}),
         {}},
        {"A strip left out", stripsWith({longs(273, {0, kData}), longs(279, {0, 64})}), {}},
        {"All strips left out", stripsWith({longs(273, {0, 0}), longs(279, {0, 0})}), {}},
        {"Strips that share their bytes", stripsWith({longs(273, {kData, kData})}), {}},
        {"Strips in another order", stripsWith({longs(273, {kData + 64, kData})}), {}},
        {"Strips up to the last byte",
         stripsWith({longs(273, {kData, std::int64_t{checkedfile::kFileSize} - 64})}),
         {}},
        {"One strip without its rows",
         without(stripsWith({longs(273, {kData}), longs(279, {128})}), {278}),
         {}},
        {"One strip of more rows than there are",
         stripsWith({longs(278, {0xFFFFFFFF}), longs(273, {kData}), longs(279, {128})}),
         {}},
        {"Short numbers",
         stripsWith({shorts(273, {kData, kData + 64}), shorts(279, {64, 64})}),
         {}},
        {"Numbers of 8 bytes",
         stripsWith({fixture::numbers(273, fixture::kLong8, {kData, kData + 64}),
                     fixture::numbers(279, fixture::kLong8, {64, 64})}),
         {}},
        {"Compressed data of any size", stripsWith({shorts(259, {5}), longs(279, {3, 1})}), {}},
        {"Rows that end inside a byte",
         stripsWith({shorts(256, {10}), shorts(258, {1}), longs(279, {8, 8})}),
         {}},
        {"No bits, which are 1 then",
         without(stripsWith({longs(279, {8, 8})}), {258, 259, 277}),
         {}},
        {"Colours", colours(2), {}},
        {"Colours and an extra sample",
         changed(colours(2), {shorts(258, {8, 8, 8, 8}), shorts(277, {4}), shorts(338, {1}),
                              longs(273, {kData, kData + 256}), longs(279, {256, 256})}),
         {}},
        {"Separate planes of different bits",
         changed(colours(2), {shorts(258, {8, 16, 4}), shorts(284, {2}),
                              longs(273, {kData, kData + 64, kData + 128, kData + 256, kData + 384,
                                          kData + 416}),
                              longs(279, {64, 64, 128, 128, 32, 32})}),
         {}},
        {"Tiles in separate planes",
         changed(tiles(),
                 {shorts(256, {16}), shorts(257, {16}), shorts(258, {8, 8, 8}), shorts(277, {3}),
                  shorts(284, {2}), longs(324, {kData, kData + 256, kData + 512}),
                  longs(325, {256, 256, 256})}),
         {}},
        {"Subsampled chrominances, by default 2 x 2",
         changed(colours(6), {longs(279, {96, 96})}),
         {}},
        {"Subsampled chrominances of 4 x 1",
         changed(colours(6), {shorts(530, {4, 1}), longs(279, {96, 96})}),
         {}},
        {"Subsampled chrominances of 4 x 4, beyond the edges",
         changed(colours(6), {shorts(256, {17}), shorts(278, {8}), shorts(257, {7}),
                              shorts(530, {4, 4}), longs(273, {kData}), longs(279, {180})}),
         {}},
        {"A palette",
         changed(strips(), {shorts(258, {2}), shorts(262, {3}),
                            shorts(320, std::vector<std::int64_t>(12, 7)), longs(279, {16, 16})}),
         {}},
        {"Old-style JPEG, whose size and samples are in its data",
         without(stripsWith({shorts(258, {8, 8, 8}), shorts(259, {6}), shorts(262, {6})}),
                 {256, 257, 277, 278}),
         {}},
        {"A thumbnail that there is none of", thumbnail(0, 0), {}},
        {"The length of a thumbnail alone", without(thumbnail(0, 0xFFFF), {513}), {}},
        {"Tiles with depth",
         changed(tiles(),
                 {longs(32997, {2}), longs(324, {kData, kData + 256}), longs(325, {256, 256})}),
         {}},
    });
}

TEST_P(DirectoryChecks, FindWhatIsMissingOrTwofold) {
    expect({
        {"No data", without(strips(), {273, 279}), {"- imageDataMissing()"}},
        {"No places", without(strips(), {273}), {"- imageDataMissing()"}},
        {"Tiles without places", without(tiles(), {324}), {"- imageDataMissing()"}},
        {"Strips and tiles",
         changed(tiles(), {longs(273, {kData}), longs(279, {340})}),
         {"- stripsAndTiles()"}},
        {"Tiles in the tags of strips",
         changed(strips(), {shorts(322, {16}), shorts(323, {16})}),
         {"- stripsAndTiles()"}},
        {"No sizes of strips",
         without(strips(), {279}),
         {"273 byteCountsMissing(StripByteCounts)"}},
        {"No sizes of tiles", without(tiles(), {325}), {"324 byteCountsMissing(TileByteCounts)"}},
        {"No sizes and a place past the end",
         without(changed(strips(), {longs(273, {kData, checkedfile::kFileSize})}), {279}),
         {"273 byteCountsMissing(StripByteCounts)",
          "273 imageDataPastEOF(strip, 1, 1, 2, 8192, 1)"}},
    });
}

TEST_P(DirectoryChecks, FindSizesThatCannotBe) {
    expect({
        {"No width", changed(strips(), {shorts(256, {0})}), {"256 imageSizeZero(0, 8)"}},
        {"Width missing", without(strips(), {256}), {"- imageSizeZero(0, 8)"}},
        {"No length", changed(strips(), {shorts(257, {0})}), {"257 imageSizeZero(16, 0)"}},
        {"Neither", without(tiles(), {256, 257}), {"- imageSizeZero(0, 0)"}},
        {"Strips without rows", changed(strips(), {shorts(278, {0})}), {"278 rowsPerStripZero()"}},
        {"Tiles without width", changed(tiles(), {shorts(322, {0})}), {"322 tileSizeZero(0, 16)"}},
        {"Tiles without length", without(tiles(), {323}), {"- tileSizeZero(16, 0)"}},
        {"Uneven tiles",
         changed(tiles(),
                 {shorts(322, {20}), shorts(323, {24}), longs(324, {kData}), longs(325, {480})}),
         {"322 tileSizeUneven(20, 24)"}},
        {"Tiles of uneven length",
         changed(tiles(),
                 {shorts(323, {17}), longs(324, {kData, kData + 300}), longs(325, {272, 272})}),
         {"323 tileSizeUneven(16, 17)"}},
    });
}

TEST_P(DirectoryChecks, FindCountsThatDoNotAddUp) {
    expect({
        {"Too few strips",
         changed(strips(), {shorts(257, {9})}),
         {"273 imageDataCountMismatch(strip, 2, 2, 3)"}},
        {"Too many strips",
         changed(strips(), {shorts(257, {4})}),
         {"273 imageDataCountMismatch(strip, 2, 2, 1)"}},
        {"Fewer sizes than places",
         changed(strips(), {longs(279, {64})}),
         {"273 imageDataCountMismatch(strip, 2, 1, 2)"}},
        {"More sizes than places",
         changed(strips(), {longs(279, {64, 64, 64})}),
         {"273 imageDataCountMismatch(strip, 2, 3, 2)"}},
        {"Separate planes in the strips of one",
         changed(colours(2), {shorts(284, {2}), longs(279, {64, 64})}),
         {"273 imageDataCountMismatch(strip, 2, 2, 6)"}},
        {"Too few tiles",
         changed(tiles(), {shorts(256, {33})}),
         {"324 imageDataCountMismatch(tile, 4, 4, 6)"}},
        {"An unknown number of strips, and as many sizes",
         changed(strips(), {shorts(284, {3}), shorts(278, {3})}),
         {}},
        {"An unknown number of strips, and fewer sizes",
         changed(strips(), {shorts(284, {3}), longs(279, {64})}),
         {"273 imageDataCountMismatch(strip, 2, 1, 2)"}},
    });
}

TEST_P(DirectoryChecks, FindPlacesThatCannotBe) {
    constexpr std::int64_t kEnd = checkedfile::kFileSize;
    expect({
        {"A byte past the end",
         changed(strips(), {longs(273, {kData, kEnd - 63})}),
         {"273 imageDataPastEOF(strip, 1, 1, 2, 8129, 64)"}},
        {"At the end",
         changed(strips(), {longs(273, {kEnd, kEnd + 64})}),
         {"273 imageDataPastEOF(strip, 0, 2, 2, 8192, 64)"}},
        {"As far as a number goes",
         changed(strips(), {longs(273, {0xFFFFFFFF, kData}), longs(279, {0xFFFFFFFF, 64})}),
         {"273 imageDataPastEOF(strip, 0, 1, 2, 4294967295, 4294967295)"}},
        {"A tile",
         changed(tiles(), {longs(325, {256, 256, 256, 8192})}),
         {"324 imageDataPastEOF(tile, 3, 1, 4, 4864, 8192)"}},
        {"No bytes",
         changed(strips(), {longs(279, {0, 0})}),
         {"279 imageDataEmpty(strip, 0, 2, 2)"}},
        {"No place",
         changed(strips(), {longs(273, {0, kData})}),
         {"273 imageDataUnplaced(strip, 0, 1, 2)"}},
        {"All of it",
         changed(strips(), {longs(273, {0, kData, kEnd, kData + 64}), longs(279, {64, 0, 64, 64}),
                            shorts(257, {16})}),
         {"273 imageDataPastEOF(strip, 2, 1, 4, 8192, 64)", "279 imageDataEmpty(strip, 1, 1, 4)",
          "273 imageDataUnplaced(strip, 0, 1, 4)"}},
    });
}

TEST_P(DirectoryChecks, FindOverlapsThatAreNotShared) {
    const auto tilesAt = [](const std::vector<std::int64_t>& offsets,
                            const std::vector<std::int64_t>& sizes) {
        return changed(tiles(), {shorts(259, {5}), longs(324, offsets), longs(325, sizes)});
    };
    expect({
        {"A byte of the one before",
         changed(strips(), {longs(273, {kData, kData + 63})}),
         {"273 imageDataOverlaps(strip, 1, 0, 1)"}},
        {"In another order",
         tilesAt({kData + 300, kData + 200, kData + 100, kData}, {100, 100, 100, 101}),
         {"324 imageDataOverlaps(tile, 2, 3, 1)"}},
        {"One inside another",
         tilesAt({kData, kData + 10, kData + 20, kData + 900}, {100, 5, 5, 9}),
         {"324 imageDataOverlaps(tile, 1, 0, 2)"}},
        {"The same place with other sizes",
         tilesAt({kData, kData, kData, kData}, {100, 100, 99, 100}),
         {"324 imageDataOverlaps(tile, 0, 2, 1)"}},
        {"Shared ones that another overlaps",
         tilesAt({kData, kData, kData + 99, kData + 99}, {100, 100, 50, 50}),
         {"324 imageDataOverlaps(tile, 2, 0, 1)"}},
        {"Next to each other",
         tilesAt({kData + 100, kData, kData + 200, kData + 300}, {100, 100, 100, 100}),
         {}},
        {"Some left out", tilesAt({kData + 100, 0, kData, 0}, {100, 0, 100, 0}), {}},
    });
}

TEST_P(DirectoryChecks, FindUncompressedDataThatAreTooShort) {
    expect({
        {"A strip",
         changed(strips(), {longs(279, {64, 63})}),
         {"279 imageDataTooShort(strip, 1, 1, 2, 63, 64)"}},
        {"The last strip",
         changed(strips(), {shorts(257, {7}), longs(279, {64, 47})}),
         {"279 imageDataTooShort(strip, 1, 1, 2, 47, 48)"}},
        {"Tiles at the edge, which are whole",
         changed(tiles(), {longs(325, {256, 64, 256, 64})}),
         {"325 imageDataTooShort(tile, 1, 2, 4, 64, 256)"}},
        {"Rows that end inside a byte",
         changed(strips(), {shorts(256, {10}), shorts(258, {1}), longs(279, {7, 8})}),
         {"279 imageDataTooShort(strip, 0, 1, 2, 7, 8)"}},
        {"Samples of different bits",
         changed(colours(2), {shorts(258, {5, 6, 5}), longs(279, {127, 128})}),
         {"279 imageDataTooShort(strip, 0, 1, 2, 127, 128)"}},
        {"A plane of more bits",
         changed(colours(2),
                 {shorts(258, {8, 16, 8}), shorts(284, {2}), shorts(278, {8}),
                  longs(273, {kData, kData + 128, kData + 512}), longs(279, {128, 255, 128})}),
         {"279 imageDataTooShort(strip, 1, 1, 3, 255, 256)"}},
        {"Subsampled chrominances",
         changed(colours(6), {longs(279, {96, 95})}),
         {"279 imageDataTooShort(strip, 1, 1, 2, 95, 96)"}},
        {"Chrominances that are not subsampled",
         changed(colours(6), {shorts(530, {1, 1}), longs(279, {192, 191})}),
         {"279 imageDataTooShort(strip, 1, 1, 2, 191, 192)"}},
        {"A strip past the expected ones",
         changed(strips(), {shorts(257, {4}), longs(279, {64, 1})}),
         {"273 imageDataCountMismatch(strip, 2, 2, 1)"}},
        {"Odd factors", changed(colours(6), {shorts(530, {3, 2}), longs(279, {1, 1})}), {}},
        {"Bits of a type that holds none",
         changed(strips(), {ascii(258, "8"), longs(279, {1, 1})}),
         {}},
    });
}

TEST_P(DirectoryChecks, FindSamplesThatDoNotAgree) {
    expect({
        {"One number of bits for three samples",
         changed(colours(2), {shorts(258, {8})}),
         {"258 bitsPerSampleCountMismatch(1, 3)"}},
        {"Three for one that goes without saying",
         without(changed(strips(), {shorts(258, {8, 8, 8})}), {277}),
         {"258 bitsPerSampleCountMismatch(3, 1)"}},
        {"More extra samples than samples",
         changed(strips(), {shorts(338, {1, 1})}),
         {"338 extraSamplesTooMany(2, 1)"}},
        {"RGB of one sample",
         changed(strips(), {shorts(262, {2})}),
         {"262 tooFewSamples(2, 1, 3)"}},
        {"YCbCr of two",
         changed(colours(6), {shorts(258, {8, 8}), shorts(277, {2}), longs(279, {128, 128})}),
         {"262 tooFewSamples(6, 2, 3)"}},
        {"A palette without colours",
         changed(strips(), {shorts(262, {3})}),
         {"262 colorMapCountMismatch(0, 768)"}},
        {"A palette with too few",
         changed(strips(), {shorts(262, {3}), shorts(320, std::vector<std::int64_t>(767, 7))}),
         {"320 colorMapCountMismatch(767, 768)"}},
    });
}

TEST_P(DirectoryChecks, NumbersNearTheirLimitsNeitherWrapNorTakeTime) {
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    const auto huge = [](std::uint16_t tag, const std::vector<std::int64_t>& values) {
        return fixture::numbers(tag, fixture::kLong8, values);
    };
    const std::string most = std::to_string(kMost);
    expect({
        // -1 is 2^64 - 1.
        {"Places",
         changed(strips(), {huge(273, {-1, -2}), huge(279, {-1, 1})}),
         {"273 imageDataPastEOF(strip, 0, 2, 2, " + most + ", " + most + ")",
          "279 imageDataTooShort(strip, 1, 1, 2, 1, 64)"}},
        {"A sum that is 0 when it wraps",
         changed(strips(), {huge(273, {-64, kData}), huge(279, {64, 64})}),
         {"273 imageDataPastEOF(strip, 0, 1, 2, " + most + ", 64)"}},
        {"Sizes",
         changed(strips(), {huge(256, {-1}), huge(257, {-1}), huge(278, {-1}), longs(273, {kData}),
                            longs(279, {64})}),
         {"279 imageDataTooShort(strip, 0, 1, 1, 64, " + most + ")"}},
        {"Strips of a row",
         changed(strips(), {huge(257, {-1}), shorts(278, {1}), longs(279, {64, 64})}),
         {"273 imageDataCountMismatch(strip, 2, 2, " + most + ")"}},
        {"Tiles",
         changed(tiles(), {huge(256, {-1}), huge(257, {-1}), huge(322, {16}), huge(323, {16})}),
         {"324 imageDataCountMismatch(tile, 4, 4, " + most + ")"}},
        {"Samples",
         changed(strips(), {huge(277, {-1}), shorts(284, {2})}),
         {"273 imageDataCountMismatch(strip, 2, 2, " + most + ")",
          "258 bitsPerSampleCountMismatch(1, " + most + ")"}},
        {"Bits",
         changed(strips(), {huge(258, {-1})}),
         {"279 imageDataTooShort(strip, 0, 2, 2, 64, " + most + ")"}},
    });
}

TEST_P(DirectoryChecks, CountsThatNoFileHoldsAreTakenForWhatTheyAre) {
    Entries entries = strips();
    entries[5] = entries[5].withCount(0xFFFFFFFF);
    EXPECT_EQ(findings(entries), (Lines{"0 273 imageDataCountMismatch(strip, 4294967295, 2, 2)"}))
        << "the value is past the end of the file, of which the reading warns";
}

TEST_P(DirectoryChecks, SayWhere) {
    Entries image = changed(strips(), {shorts(257, {9})});
    const Directory inner(image);
    const fixture::TiffFile file =
        fileOf({Directory(changed(strips(),
                                  {fixture::pointer(fixture::kSubIfds, {{inner}, {inner, inner}}),
                                   longs(279, {0, 64})})),
                Directory(without(image, {273, 279}))});
    const ifdsweep::Outcome outcome = checked(host, withData(file.bytes));
    EXPECT_EQ(found(outcome), (Lines{
                                  "0 279 imageDataEmpty(strip, 0, 1, 2)",
                                  "0/SubIFDs[0]/0 273 imageDataCountMismatch(strip, 2, 2, 3)",
                                  "0/SubIFDs[1]/0 273 imageDataCountMismatch(strip, 2, 2, 3)",
                                  "0/SubIFDs[1]/1 273 imageDataCountMismatch(strip, 2, 2, 3)",
                                  "1 - imageDataMissing()",
                              }));
    ASSERT_EQ(outcome.warnings.size(), 5U);
    const auto& places = file.places;
    EXPECT_EQ(outcome.warnings[0].place.offset, places[0].entries[8]);
    EXPECT_EQ(outcome.warnings[1].place.offset, places[1].entries[5]);
    EXPECT_EQ(outcome.warnings[3].place.offset, places[3].entries[5]);
    EXPECT_EQ(outcome.warnings[4].place.offset, places[4].position);
}

TEST_P(DirectoryChecks, AreNoneUnlessAskedFor) {
    const fixture::Bytes bytes = fileOf({Directory(without(strips(), {273, 279}))}).bytes;
    filesOf(host).serve(u"a.tif", bytes);
    EXPECT_EQ(ifdsweep::read(host, "a.tif").warnings.size(), 0U);
    EXPECT_EQ(checked(host, bytes).warnings.size(), 1U);
    EXPECT_EQ(checked(host, bytes, {.reading = ifdsweep::ReadingMode::contract}).warnings.size(),
              0U);
}

TEST_P(DirectoryChecks, ComeBehindTheWarningsOfTheReading) {
    const ifdsweep::Outcome outcome =
        checked(host, fileOf({Directory(without(strips(), {273, 279})),
                              Directory({shorts(259, {1}), shorts(60000, {})})})
                          .bytes);
    ASSERT_EQ(outcome.warnings.size(), 2U);
    EXPECT_EQ(checkedfile::line(outcome.warnings[0]), "1 60000 zeroComponentCount()");
    EXPECT_EQ(checkedfile::line(outcome.warnings[1]), "0 - imageDataMissing()");
}

TEST_P(DirectoryChecks, ValuesLeftInTheFileAreNamed) {
    const fixture::Bytes bytes =
        withData(fileOf({Directory(changed(strips(), {shorts(257, {9})}))}).bytes);
    EXPECT_EQ(found(checked(host, bytes, {.longestValue = 7})),
              (format().isBig() ? Lines{"0 273 imageDataCountMismatch(strip, 2, 2, 3)"}
                                : Lines{"0 - imageDataNotChecked(StripOffsets, StripByteCounts)",
                                        "0 273 imageDataCountMismatch(strip, 2, 2, 3)"}));
    EXPECT_EQ(found(checked(host, bytes, {.longestValue = 8})),
              (Lines{"0 273 imageDataCountMismatch(strip, 2, 2, 3)"}));
}

TEST_P(DirectoryChecks, OffsetsCountFromTheHeaderOfTheStream) {
    fixture::TiffBuilder builder(format());
    builder.add(Directory(strips()));
    const fixture::TiffFile file = builder.buildBehind(fixture::Bytes(100, 1));
    const auto linesOf = [&](std::size_t size) {
        return found(checked(host, withData(file.bytes, size), {.offset = 100.0}));
    };
    EXPECT_EQ(linesOf(kData + 100 + 128), Lines{});
    EXPECT_EQ(linesOf(kData + 100 + 127),
              (Lines{"0 273 imageDataPastEOF(strip, 1, 1, 2, 4260, 64)"}));
}

TEST_P(DirectoryChecks, RelativesOfTiffAreHeldToTheEndOfTheFileAlone) {
    if (format().isBig()) {
        return;  // they are all classic TIFF
    }
    const auto linesOf = [&](const Entries& entries) {
        fixture::TiffBuilder builder(format());
        builder.add(Directory(entries))
            .withVersion(format().byteOrder == fixture::ByteOrder::little ? 0x55 : 0x4F52);
        return found(checked(host, withData(builder.build().bytes)));
    };
    EXPECT_EQ(linesOf(changed(strips(), {shorts(256, {0}), longs(279, {60, 1})})), Lines{});
    EXPECT_EQ(linesOf(changed(strips(), {longs(273, {0xFFFFFFFF}), longs(279, {64})})), Lines{})
        << "the position stands elsewhere";
    EXPECT_EQ(linesOf(changed(strips(), {longs(279, {64, 8192})})),
              (Lines{"0 273 imageDataPastEOF(strip, 1, 1, 2, 4160, 8192)"}));
}

TEST_P(DirectoryChecks, WhatAFilterLeavesOutIsReadForThemAndTheSinkNotTold) {
    const Directory inner(changed(strips(), {ascii(271, "Inner"), shorts(257, {9})}));
    const fixture::Bytes bytes = withData(
        fileOf({Directory(changed(strips(), {ascii(271, "Outer"),
                                             fixture::pointer(fixture::kSubIfds, {{inner}})}))})
            .bytes);
    /// Keeps the tags that it is told of.
    class Tags final : public ifdsweep::EntrySink {
    public:
        void directoryBegins(const ifdsweep::DirectoryFacts&) override { told += '('; }
        void directoryEnds(const ifdsweep::DirectoryFacts&, bool) override { told += ')'; }
        void entry(const ifdsweep::DirectoryFacts&, const ifdsweep::EntryFacts& facts) override {
            told += ' ' + std::to_string(facts.tag) + (facts.isDefault ? "d" : "");
        }
        void warning(const qxMessage&, const ifdsweep::WarningFacts&) override {}

        std::string told;
    };
    for (const std::vector<std::uint16_t>& asked :
         std::vector<std::vector<std::uint16_t>>{{271}, {271, 278}, {278, 330}, {330}, {60000}}) {
        ifdsweep::TagFilter filter;
        for (const std::uint16_t tag : asked) {
            filter.ask(ifdsweep::DirectoryKind::primary, tag);
        }
        Tags unchecked;
        filesOf(host).serve(u"a.tif", bytes);
        EXPECT_EQ(
            ifdsweep::read(host, "a.tif", {.filter = &filter, .sink = &unchecked}).warnings.size(),
            0U);
        Tags withChecks;
        EXPECT_EQ(found(checked(host, bytes, {.filter = &filter, .sink = &withChecks})),
                  (Lines{"0/SubIFDs[0]/0 273 imageDataCountMismatch(strip, 2, 2, 3)"}));
        EXPECT_EQ(withChecks.told, unchecked.told);
    }
}

TEST_P(DirectoryChecks, FindingsCountAgainstTheBudgetOfValues) {
    // A chain that leads to its own beginning, and has a finding in each round.
    Directory directory({shorts(256, {1}), shorts(257, {1}), shorts(259, {1})});
    fixture::TiffFile file = fileOf({directory});
    file.setOffset(file.places[0].next, file.offsetOf(file.places[0].position));
    const ifdsweep::Outcome all = checked(host, file.bytes);
    const std::size_t rounds = all.result->rows();
    EXPECT_GT(rounds, 1000U);
    EXPECT_EQ(found(all).size(), rounds);
    const ifdsweep::Outcome some = checked(host, file.bytes, {.valueBudget = 100'000});
    EXPECT_LT(found(some).size(), 100'000U / 768 + 1024);
    EXPECT_EQ(some.warnings[0].message.id(),
              std::string_view("Velmora:filesystem:valueBudgetSpent"));
}

TEST_P(DirectoryChecks, ManyStripsInAnyOrderAreSorted) {
    constexpr std::int64_t kStrips = 100'000;
    std::vector<std::int64_t> offsets;
    for (std::int64_t strip = 0; strip < kStrips; ++strip) {
        offsets.push_back(2'000'000 + 3 * ((strip * 7919) % kStrips));
    }
    const auto entries = [&](std::int64_t size) {
        return changed(strips(),
                       {shorts(256, {3}), longs(257, {kStrips}), shorts(278, {1}),
                        longs(273, offsets), longs(279, std::vector<std::int64_t>(kStrips, size))});
    };
    const auto linesOf = [&](std::int64_t size) {
        return found(checked(host, withData(fileOf({Directory(entries(size))}).bytes, 2'300'001)));
    };
    EXPECT_EQ(linesOf(3), Lines{});
    const Lines overlapping = linesOf(4);
    ASSERT_EQ(overlapping.size(), 1U);
    EXPECT_TRUE(overlapping[0].ends_with(", 0, 99999)")) << overlapping[0];
}

IFDSWEEP_TIFF_MATRIX(DirectoryChecks);

}  // namespace
