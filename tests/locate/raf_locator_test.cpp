#include "locate/locators.h"

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/counted_bytes.h"
#include "support/jpeg_builder.h"
#include "support/located_text.h"
#include "support/repeated_bytes.h"

namespace {

using fixture::ByteOrder;
using fixture::Bytes;
using fixture::CountedBytes;
using fixture::exifSegment;
using fixture::jpegOf;
using fixture::rafOf;

std::string located(const ifdsweep::ByteSource& file,
                    ifdsweep::SearchDepth depth = ifdsweep::SearchDepth::all) {
    ifdsweep::ByteReader reader(file);
    return fixture::locatedText(ifdsweep::locateInRaf(reader, depth));
}

std::string located(const Bytes& file) {
    return located(CountedBytes(file));
}

Bytes header(std::string_view signature) {
    Bytes stream = fixture::bytesOf(signature);
    stream.resize(10, 0x11);
    return stream;
}

/// A RAF file with a word of its directory replaced.
Bytes withWord(Bytes file, std::size_t position, std::uint32_t word) {
    fixture::setWord(file, position, 4, word, ByteOrder::big);
    return file;
}

const Bytes kLittle = header({"II*\0", 4});
const Bytes kBig = header({"MM\0*", 4});
const Bytes kSensor{1, 2, 3, 4, 5, 6};
const Bytes kJpeg = jpegOf({exifSegment(kLittle)});  // 36 bytes
const Bytes kPlain = rafOf(kJpeg, kSensor);

struct Case {
    const char* name;
    Bytes file;
    std::string expected;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.name;
}

const Case kCases[] = {
    {"jpeg", kPlain, "Exif: 120+10\npieces 2, ended at 130"},
    {"jpegAndRaw", rafOf(kJpeg, kLittle), "Exif: 120+10\nraw: 144+10\npieces 2, ended at 130"},
    {"rawOfTheOtherOrder", rafOf(kJpeg, kBig), "Exif: 120+10\nraw: 144+10\npieces 2, ended at 130"},
    {"split", rafOf(jpegOf({exifSegment(kBig), exifSegment({1, 2})}), kSensor),
     "Exif: 120+10 140+2\npieces 3, ended at 142"},
    {"severalStreams", rafOf(jpegOf({exifSegment(kBig), exifSegment(kLittle)}), kLittle),
     "Exif: 120+10\nExif 2: 140+10\nraw: 164+10\npieces 3, ended at 150"},
    {"pictures",
     rafOf(fixture::jpegWithPictures({exifSegment(kBig)}, {kJpeg}, ByteOrder::little), kSensor),
     "Exif: 120+10\nExif of picture 2: 234+10\npieces 5, ended at 208"},
    {"noExif", rafOf(jpegOf({}), kSensor), "pieces 1, ended at 110"},
    {"rawAlone", rafOf(jpegOf({}), kLittle), "raw: 124+10\npieces 1, ended at 110"},
    {"noJpeg", withWord(kPlain, 84, 0), "pieces 0, ended at 84"},
    {"noRaw", withWord(kPlain, 100, 0), "Exif: 120+10\npieces 2, ended at 130"},
    {"noImageThere", withWord(kPlain, 84, 109), "pieces 0, ended at 84, damaged at 109"},
    {"jpegBehindTheEnd", withWord(kPlain, 84, 0xFFFFFFFFU), "pieces 0, ended at 84, damaged at 84"},
    {"jpegReachesBehindTheEnd", withWord(kPlain, 88, 0xFFFFFFFFU),
     "Exif: 120+10\npieces 2, ended at 130, damaged at 84"},
    {"jpegCutInASegment", withWord(kPlain, 88, 20),
     "Exif: 120+8\npieces 1, ended at 130, damaged at 110"},
    {"jpegCutBehindASegment", withWord(kPlain, 88, 22),
     "Exif: 120+10\npieces 1, ended at 130, damaged at 130"},
    {"rawBehindTheEnd", withWord(rafOf(kJpeg, kLittle), 100, 0x7FFFFFFFU),
     "Exif: 120+10\npieces 2, ended at 130, damaged at 100"},
    {"rawReachesBehindTheEnd", withWord(rafOf(kJpeg, kLittle), 104, 0xFFFFFFFFU),
     "Exif: 120+10\nraw: 144+10\npieces 2, ended at 130, damaged at 100"},
    {"rawThatIsTheJpegsStream", withWord(kPlain, 100, 120),
     "Exif: 120+10\nraw: 120+6\npieces 2, ended at 130"},
    {"rawTooShort", withWord(rafOf(kJpeg, kLittle), 104, 3),
     "Exif: 120+10\npieces 2, ended at 130"},
    {"magicAlone", fixture::bytesOf("FUJIFILMCCD-RAW "), "pieces 0, ended at 84, damaged at 16"},
};

class RafLocators : public testing::TestWithParam<Case> {};

TEST_P(RafLocators, TellOfAllStreams) {
    EXPECT_EQ(located(GetParam().file), GetParam().expected);
}

TEST_P(RafLocators, FindAsMuchInBothDepths) {
    EXPECT_EQ(located(CountedBytes(GetParam().file), ifdsweep::SearchDepth::first),
              GetParam().expected);
}

TEST_P(RafLocators, ACutFileHasDamageOrIsComplete) {
    const Bytes& whole = GetParam().file;
    const std::string expected = located(whole);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string cut = located(fixture::truncated(whole, size));
        EXPECT_TRUE(cut == expected || cut.find("damaged at ") != std::string::npos) << size << '\n'
                                                                                     << cut;
    }
}

INSTANTIATE_TEST_SUITE_P(All, RafLocators, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(RafLocators, ADirectoryWhoseWordsAreChangedNeverMisleads) {
    const Bytes file = rafOf(kJpeg, kLittle);
    for (const std::size_t position : {84U, 88U, 100U, 104U}) {
        for (std::uint32_t word = 0; word <= file.size() + 2; ++word) {
            const CountedBytes changed(withWord(file, position, word));
            ifdsweep::ByteReader reader(changed);
            const auto found = ifdsweep::locateInRaf(reader, ifdsweep::SearchDepth::all);
            EXPECT_LE(found.streams.size(), 2U);
            for (const auto& stream : found.streams) {
                EXPECT_LE(stream.extents.front().position + stream.extents.front().size,
                          file.size());
            }
            EXPECT_LE(changed.reads, 8U);
        }
    }
}

TEST(RafLocators, ReadsAreInProportionToTheSegments) {
    constexpr std::uint64_t kHuge = std::uint64_t{100} << 20U;
    const Bytes start = withWord(rafOf({0xFF, 0xD8}, {}), 88, 0xFFFFFFFFU);
    for (const Bytes& piece : {fixture::jpegSegment(0xE2, {}), exifSegment(kBig), Bytes{0xFF, 1}}) {
        const fixture::RepeatedBytes file(start, piece, kHuge);
        static_cast<void>(located(file));
        EXPECT_LE(file.reads, kHuge / 4000);
    }
}

}  // namespace
