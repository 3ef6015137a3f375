#include "locate/raw_profile.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/compressed_bytes.h"

namespace {

using namespace std::string_literals;

struct Case {
    const char* name;
    std::string profile;
    std::string bytes;
    std::string wrong;  ///< empty: nothing
};

const std::string kNoHead = "its profile does not begin with a name and a length";
const std::string kNoDigit = "its profile has a character that is no hexadecimal digit";
const std::string kOdd = "its profile has an odd number of digits";

const Case kCases[] = {
    {"asImageMagickWrites", "\nexif\n       4\n49492a00\n", "II*\0"s, ""},
    {"anotherName", "\nAPP1\n       4\n49492a00\n", "II*\0"s, ""},
    {"noName", "\n\n       4\n49492a00\n", "II*\0"s, ""},
    {"nameWithSpaces", "\nsome name\n4\n49492a00\n", "II*\0"s, ""},
    {"noFirstLineEnd", "exif\n       4\n49492a00\n", "II*\0"s, ""},
    {"noLastLineEnd", "\nexif\n       4\n49492a00", "II*\0"s, ""},
    {"linesOfAnyLength", "\nexif\n4\n4\n9\n\n49 2\t\r\na00", "II*\0"s, ""},
    {"capitals", "\nexif\n4\n49492A0F", "II*\x0F", ""},
    {"lengthWithZeros", "\nexif\n 00004\n49492a00\n", "II*\0"s, ""},
    {"nothing", "\nexif\n 0\n", "", ""},
    {"lengthTooSmall", "\nexif\n 3\n49492a00", "II*\0"s,
     "its profile has 4 bytes where its length is 3"},
    {"lengthTooLarge", "\nexif\n 5\n49492a00", "II*\0"s,
     "its profile has 4 bytes where its length is 5"},
    {"oneByte", "\nexif\n 5\n49", "I", "its profile has 1 byte where its length is 5"},
    {"largestLength", "\nexif\n 18446744073709551615\n49", "I",
     "its profile has 1 byte where its length is 18446744073709551615"},
    {"lengthBeyondAll", "\nexif\n 18446744073709551616\n49", "I",
     "its profile has 1 byte where its length is no number"},
    {"negativeLength", "\nexif\n -4\n49", "I",
     "its profile has 1 byte where its length is no number"},
    {"noLength", "\nexif\n\n49", "I", "its profile has 1 byte where its length is no number"},
    {"oddDigits", "\nexif\n 4\n49492a0", "II*", kOdd},
    {"oneDigit", "\nexif\n 4\n4", "", kOdd},
    {"anotherCharacter", "\nexif\n 4\n4949g2a00", "II", kNoDigit},
    {"anotherCharacterInAByte", "\nexif\n 4\n49494g2a00", "II", kNoDigit},
    {"nul", "\nexif\n 4\n4949\0002a00"s, "II", kNoDigit},
    {"empty", "", "", kNoHead},
    {"lineEndAlone", "\n", "", kNoHead},
    {"cutInTheName", "\nexif", "", kNoHead},
    {"cutInTheLength", "\nexif\n   4", "", kNoHead},
    {"digitsAlone", "49492a00", "", kNoHead},
    {"nameTooLong", "\n" + std::string(300, 'x') + "\n4\n49492a00", "", kNoHead},
};

TEST(RawProfile, GivesTheBytesAndSaysWhatIsWrong) {
    for (const Case& row : kCases) {
        SCOPED_TRACE(row.name);
        std::vector<std::uint8_t> bytes(row.profile.begin(), row.profile.end());
        const std::string wrong = ifdsweep::decodeRawProfile(bytes).value_or("");
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), row.bytes);
        EXPECT_EQ(wrong, row.wrong);
    }
}

TEST(RawProfile, GivesBackEveryByte) {
    for (std::size_t size = 0; size < 600; ++size) {
        std::vector<std::uint8_t> bytes(size);
        for (std::size_t place = 0; place < size; ++place) {
            bytes[place] = static_cast<std::uint8_t>(place * 7);
        }
        const std::string text = fixture::rawProfile(bytes, "APP1");
        std::vector<std::uint8_t> decoded(text.begin(), text.end());
        ASSERT_EQ(ifdsweep::decodeRawProfile(decoded), std::nullopt) << size;
        ASSERT_EQ(decoded, bytes);
    }
}

}  // namespace
