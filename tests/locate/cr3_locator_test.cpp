#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "locate/locators.h"
#include "support/box_builder.h"
#include "support/counted_bytes.h"
#include "support/located_text.h"
#include "support/repeated_bytes.h"

namespace {

using namespace fixture;
using ifdsweep::ByteReader;
using ifdsweep::DirectoryKind;
using ifdsweep::SearchDepth;

ifdsweep::Located search(const ifdsweep::ByteSource& file, SearchDepth depth = SearchDepth::all) {
    ByteReader reader(file);
    return ifdsweep::locateInCr3(reader, depth);
}

std::string found(const Bytes& file, SearchDepth depth = SearchDepth::all) {
    return locatedText(search(CountedBytes(file), depth));
}

const Bytes kUuid{0x85, 0xC0, 0xB6, 0x87, 0x82, 0x0F, 0x11, 0xE0,
                  0x81, 0x11, 0xF4, 0xCE, 0x46, 0x2B, 0x6A, 0x48};
const Bytes kOtherUuid(16, 0xBE);
const Bytes kFileType = fileTypeBox("crx ", {"crx ", "isom"});  // 24 bytes

/// A file with these boxes beside each other, of which the first begins at 56.
Bytes cr3(std::initializer_list<Bytes> boxes) {
    return joined({kFileType, box("moov", uuidBox(kUuid, joined(boxes)))});
}

/// 18 bytes.
Bytes stream(std::string_view name) {
    return box(name, Bytes(10, 0x5A));
}

struct Case {
    const char* name;
    Bytes file;
    const char* found;
};

void PrintTo(const Case& row, std::ostream* output) {
    *output << row.name;
}

const Case kCases[] = {
    {"all", cr3({stream("CMT1"), stream("CMT2"), stream("CMT3"), stream("CMT4")}),
     "CMT1: 64+10\nCMT2: 82+10\nCMT3: 100+10\nCMT4: 118+10\npieces 7, ended at 128"},
    {"theFirstAlone", cr3({stream("CMT1")}), "CMT1: 64+10\npieces 4, ended at 74"},
    {"behindOthers", cr3({stream("CNCV"), box("CCTP", {}), stream("CMT1"), stream("THMB")}),
     "CMT1: 90+10\npieces 7, ended at 118"},
    {"inAnotherOrder", cr3({stream("CMT4"), stream("CMT2"), stream("CMT1")}),
     "CMT1: 100+10\nCMT2: 82+10\nCMT4: 64+10\npieces 6, ended at 110"},
    {"firstOfEachName", cr3({stream("CMT1"), stream("CMT1"), stream("CMT2"), stream("CMT1")}),
     "CMT1: 64+10\nCMT2: 100+10\npieces 7, ended at 128"},
    {"empty", cr3({box("CMT1", {}), stream("CMT2")}),
     "CMT2: 72+10\npieces 5, ended at 82, damaged at 56"},
    {"otherNames", cr3({stream("CMT0"), stream("CMT5"), stream("cmt1")}), "pieces 6, ended at 110"},
    {"noBoxes", cr3({}), "pieces 3, ended at 56"},
    {"size64", cr3({largeBox("CMT1", Bytes(10, 0)), stream("CMT2")}),
     "CMT1: 72+10\nCMT2: 90+10\npieces 5, ended at 100"},
    {"sizeZero", cr3({openBox("CMT1", Bytes(10, 0)), stream("CMT2")}),
     "CMT1: 64+28\npieces 4, ended at 92"},
    {"sizeTooLarge", cr3({stream("CMT1"), lyingBox("CMT2", 500, Bytes(10, 0))}),
     "CMT1: 64+10\nCMT2: 82+10\npieces 5, ended at 92, damaged at 74"},
    {"sizeTooSmall", cr3({stream("CMT1"), lyingBox("CMT2", 7, Bytes(10, 0)), stream("CMT3")}),
     "CMT1: 64+10\npieces 4, ended at 110, damaged at 74"},
    {"anotherUuid", joined({kFileType, box("moov", uuidBox(kOtherUuid, stream("CMT1")))}),
     "pieces 3, ended at 74"},
    {"uuidCut",
     joined({kFileType, box("moov", box("uuid", Bytes(kUuid.begin(), kUuid.end() - 1)))}),
     "pieces 3, ended at 55"},
    {"behindAnotherUuid",
     joined({kFileType,
             box("moov", joined({uuidBox(kOtherUuid, {}), uuidBox(kUuid, stream("CMT1"))}))}),
     "CMT1: 88+10\npieces 5, ended at 98"},
    {"inTwoBoxes",
     joined({kFileType, box("moov", joined({uuidBox(kUuid, stream("CMT1")),
                                            uuidBox(kUuid, stream("CMT2"))}))}),
     "CMT1: 64+10\nCMT2: 106+10\npieces 6, ended at 116"},
    {"outsideOfTheMovie", joined({kFileType, uuidBox(kUuid, stream("CMT1"))}),
     "pieces 2, ended at 66"},
    {"movieBehindOthers",
     joined({kFileType, box("mdat", Bytes(8, 0)), box("moov", uuidBox(kUuid, stream("CMT1")))}),
     "CMT1: 80+10\npieces 5, ended at 90"},
    {"noMovie", kFileType, "pieces 1, ended at 24"},
};

class Cr3Locators : public testing::TestWithParam<Case> {};

TEST_P(Cr3Locators, FindTheStreamsInTheOrderOfTheirNames) {
    EXPECT_EQ(found(GetParam().file), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(All, Cr3Locators, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(Cr3Locators, KnowWhatTheStreamsDescribe) {
    const auto result =
        search(CountedBytes(cr3({stream("CMT1"), stream("CMT2"), stream("CMT3"), stream("CMT4")})));
    std::vector<DirectoryKind> kinds;
    for (const auto& located : result.streams) {
        kinds.push_back(located.kind);
    }
    EXPECT_EQ(kinds, (std::vector{DirectoryKind::primary, DirectoryKind::exif,
                                  DirectoryKind::primary, DirectoryKind::gps}));
}

TEST(Cr3Locators, LookAtImagesOnlyWhereAllStreamsAreAskedFor) {
    const Bytes file = joined({cr3({stream("CMT1")}), uuidBox(kOtherUuid, Bytes(30, 0)),
                               lyingBox("mdat", 5000, Bytes(100, 0))});
    EXPECT_EQ(found(file, SearchDepth::first), "CMT1: 64+10\npieces 4, ended at 74");
    EXPECT_EQ(found(file, SearchDepth::all), "CMT1: 64+10\npieces 6, ended at 236, damaged at 128");
    const Bytes late = joined(
        {kFileType, box("moov", {}), box("mdat", {}), box("moov", uuidBox(kUuid, stream("CMT1")))});
    EXPECT_EQ(found(late, SearchDepth::first), "CMT1: 80+10\npieces 6, ended at 90");
}

TEST(Cr3Locators, SearchWhatThereIsOfAFileThatIsCut) {
    const Bytes file = cr3({stream("CMT1"), stream("CMT2")});
    EXPECT_EQ(found(truncated(file, 91)),
              "CMT1: 64+10\nCMT2: 82+9\npieces 5, ended at 91, damaged at 74");
    for (std::size_t size = 0; size < file.size(); ++size) {
        const auto result = search(CountedBytes(truncated(file, size)));
        EXPECT_EQ(result.damagedAt.has_value(), size != 0 && size != 24) << size;
        EXPECT_EQ(result.streams.size(), (size > 64 ? 1U : 0U) + (size > 82 ? 1U : 0U)) << size;
    }
}

TEST(Cr3Locators, AreSoundWhateverAByteSays) {
    const Bytes file = joined({cr3({stream("CMT1"), largeBox("CMT2", Bytes(4, 0)), stream("CMT3")}),
                               box("mdat", Bytes(20, 0))});
    for (std::size_t position = 0; position < file.size(); ++position) {
        for (int value = 0; value < 256; ++value) {
            Bytes damaged = file;
            damaged[position] = static_cast<std::uint8_t>(value);
            const CountedBytes source(damaged);
            const auto result = search(source);
            EXPECT_LE(result.streams.size(), 4U);
            EXPECT_LE(source.reads, 3U);
            for (const auto& located : result.streams) {
                const ifdsweep::Extent& extent = located.extents.at(0);
                EXPECT_GT(extent.size, 0U);
                EXPECT_LT(extent.position, file.size());
                EXPECT_LE(extent.size, file.size() - extent.position);
            }
        }
    }
}

TEST(Cr3Locators, ReadEachByteOfALargeFileOnce) {
    constexpr std::uint64_t kLarge = 20'000'000;
    const Bytes streams = cr3({stream("CMT1")});
    const Bytes openMovie = joined({kFileType, openBox("moov", {})});
    const Bytes openUuid = joined({openMovie, openBox("uuid", kUuid)});
    const std::pair<Bytes, Bytes> files[] = {
        {kFileType, box("free", {})}, {kFileType, box("moov", {})}, {openMovie, uuidBox(kUuid, {})},
        {openUuid, box("CMT1", {})},  {openUuid, stream("CMT1")},   {streams, box("uuid", {})}};
    for (const auto& [start, piece] : files) {
        const RepeatedBytes file(start, piece, kLarge);
        const auto result = search(file);
        EXPECT_LE(result.streams.size(), 1U);
        EXPECT_GE(result.pieceCount, (kLarge - start.size()) / piece.size());
        EXPECT_LE(file.reads, kLarge / (ByteReader::kWindow - 32) + 8);
    }
}

}  // namespace
