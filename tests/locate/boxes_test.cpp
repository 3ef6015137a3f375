#include "locate/boxes.h"

#include <limits>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "support/box_builder.h"
#include "support/counted_bytes.h"
#include "support/repeated_bytes.h"

namespace {

using fixture::bigEndian;
using fixture::box;
using fixture::Bytes;
using fixture::bytesOf;
using fixture::CountedBytes;
using fixture::joined;
using fixture::largeBox;
using fixture::lyingBox;
using fixture::openBox;
using ifdsweep::Box;
using ifdsweep::Boxes;
using ifdsweep::ByteReader;

std::string typeText(std::uint32_t type) {
    const Bytes letters = bigEndian(4, type);
    return {letters.begin(), letters.end()};
}

/// "free 0/8..20": position, content and end of each box, then where one is damaged.
std::string walk(const Bytes& file, std::uint64_t begin, std::uint64_t end) {
    const CountedBytes source(file);
    ByteReader reader(source);
    Boxes boxes(reader, begin, end);
    std::string text;
    while (const auto found = boxes.next()) {
        text += typeText(found->type) + ' ' + std::to_string(found->position) + '/' +
                std::to_string(found->content) + ".." + std::to_string(found->end) + ' ';
    }
    const auto damaged = boxes.damagedAt();
    EXPECT_FALSE(boxes.next());
    return text + (damaged ? "damaged at " + std::to_string(*damaged) : "whole");
}

/// A box with a 64-bit size that lies.
Bytes lyingLargeBox(std::uint64_t size, const Bytes& content) {
    return joined({bigEndian(4, 1), bytesOf("mdat"), bigEndian(8, size), content});
}

const Bytes kFree = box("free", Bytes(4, 1));  // 12 bytes

struct Case {
    const char* name;
    Bytes file;
    const char* found;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.name;
}

const Case kCases[] = {
    {"none", {}, "whole"},
    {"empty", box("skip", {}), "skip 0/8..8 whole"},
    {"neighbours", joined({kFree, box("skip", {}), kFree}),
     "free 0/8..12 skip 12/20..20 free 20/28..32 whole"},
    {"size64", joined({largeBox("mdat", {1, 2}), kFree}), "mdat 0/16..18 free 18/26..30 whole"},
    {"size64Empty", largeBox("mdat", {}), "mdat 0/16..16 whole"},
    {"sizeZeroGoesToTheEnd", joined({kFree, openBox("mdat", {}), kFree, kFree}),
     "free 0/8..12 mdat 12/20..44 whole"},
    {"sizeZeroAtTheEnd", openBox("mdat", {}), "mdat 0/8..8 whole"},
    {"anyType", box("\xFF\x01\n ", {}), "\xFF\x01\n  0/8..8 whole"},
    {"oneByteTooMany", joined({kFree, {0}}), "free 0/8..12 damaged at 12"},
    {"sevenBytesTooMany", joined({kFree, Bytes(7, 0)}), "free 0/8..12 damaged at 12"},
    {"sizeTwo", joined({kFree, lyingBox("free", 2, {}), kFree}), "free 0/8..12 damaged at 12"},
    {"sizeSeven", joined({lyingBox("free", 7, {}), kFree}), "damaged at 0"},
    {"sizeOneBeyondTheEnd", joined({kFree, lyingBox("free", 13, Bytes(4, 0))}),
     "free 0/8..12 free 12/20..24 damaged at 12"},
    {"sizeFarBeyondTheEnd", joined({kFree, lyingBox("free", 0xFFFFFFFF, Bytes(4, 0))}),
     "free 0/8..12 free 12/20..24 damaged at 12"},
    {"size64CutOff", joined({kFree, lyingBox("mdat", 1, Bytes(7, 0))}),
     "free 0/8..12 damaged at 12"},
    {"size64Zero", joined({lyingLargeBox(0, {}), kFree}), "damaged at 0"},
    {"size64OfItsHeaderLessOne", joined({lyingLargeBox(15, {}), kFree}), "damaged at 0"},
    {"size64OneBeyondTheEnd", lyingLargeBox(19, {1, 2}), "mdat 0/16..18 damaged at 0"},
    {"size64BeyondAllNumbers", lyingLargeBox(std::numeric_limits<std::uint64_t>::max(), {1, 2}),
     "mdat 0/16..18 damaged at 0"},
};

class BoxWalks : public testing::TestWithParam<Case> {};

TEST_P(BoxWalks, GiveEachBoxAsFarAsItGoes) {
    const Case& row = GetParam();
    EXPECT_EQ(walk(row.file, 0, row.file.size()), row.found);
}

INSTANTIATE_TEST_SUITE_P(All, BoxWalks, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(BoxWalks, GoNoFartherThanWhatTheyLieIn) {
    const Bytes file = joined({kFree, kFree, kFree});
    EXPECT_EQ(walk(file, 12, 24), "free 12/20..24 whole");
    EXPECT_EQ(walk(file, 12, 23), "free 12/20..23 damaged at 12");
    EXPECT_EQ(walk(file, 12, 19), "damaged at 12");
    EXPECT_EQ(walk(file, 12, 12), "whole");
    EXPECT_EQ(walk(file, 12, 0), "whole");
    EXPECT_EQ(walk(joined({kFree, openBox("mdat", kFree), kFree}), 12, 32), "mdat 12/20..32 whole");
}

TEST(BoxWalks, EndWhereAFileEndsBeforeItsSize) {
    EXPECT_EQ(walk(kFree, 0, 1000), "free 0/8..12 damaged at 12");
    EXPECT_EQ(walk(kFree, 500, 1000), "damaged at 500");
}

TEST(BoxWalks, CostOneReadForEachBoxAtMost) {
    // Headers across the end of what is held, at each of their bytes.
    for (std::size_t length = ByteReader::kWindow - 32; length <= ByteReader::kWindow; ++length) {
        for (const Bytes& second : {kFree, largeBox("mdat", {})}) {
            const CountedBytes file(joined({box("skip", Bytes(length, 0)), second}));
            ByteReader reader(file);
            Boxes boxes(reader, 0, file.size());
            EXPECT_TRUE(boxes.next());
            EXPECT_TRUE(boxes.next());
            EXPECT_FALSE(boxes.next());
            EXPECT_LE(file.reads, 2U) << length;
        }
    }
}

TEST(BoxWalks, ReadNothingOfWhatTheyPass) {
    const fixture::RepeatedBytes file(lyingLargeBox(std::uint64_t{1} << 40U, {}), {0},
                                      std::uint64_t{1} << 40U);
    ByteReader reader(file);
    Boxes boxes(reader, 0, file.size());
    EXPECT_TRUE(boxes.next());
    EXPECT_FALSE(boxes.next());
    EXPECT_EQ(boxes.damagedAt(), std::nullopt);
    EXPECT_EQ(file.reads, 1U);
}

TEST(BoxWalks, ReadEachByteOnceWhereBoxesAreSmall) {
    constexpr std::uint64_t kSize = 100'000'000;
    const fixture::RepeatedBytes file({}, box("free", {}), kSize);
    ByteReader reader(file);
    Boxes boxes(reader, 0, file.size());
    std::uint64_t count = 0;
    while (boxes.next()) {
        ++count;
    }
    EXPECT_EQ(count, kSize / 8);
    EXPECT_LE(file.reads, kSize / ByteReader::kWindow + 1);
}

TEST(BoxTypes, AreTheirCharactersTheFirstOneHighest) {
    EXPECT_EQ(ifdsweep::boxType("ftyp"), 0x66747970U);
    EXPECT_EQ(ifdsweep::boxType("\xFF\xFE\xFD\xFC"), 0xFFFEFDFCU);
}

}  // namespace
