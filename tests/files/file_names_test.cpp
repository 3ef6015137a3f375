#include "files/file_names.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using ifdsweep::fileNameFromSystem;
using ifdsweep::fileNameToSystem;

std::string bytes(std::initializer_list<int> values) {
    std::string result;
    for (const int value : values) {
        result.push_back(static_cast<char>(static_cast<unsigned char>(value)));
    }
    return result;
}

void expectRoundTrip(const std::string& name) {
    ASSERT_EQ(fileNameToSystem(fileNameFromSystem(name)), name) << testing::PrintToString(name);
}

struct NameCase {
    const char* name;
    std::string system;
    std::u16string units;
};

class NameForms : public testing::TestWithParam<NameCase> {};

TEST_P(NameForms, GoBothWays) {
    EXPECT_EQ(fileNameFromSystem(GetParam().system), GetParam().units);
    EXPECT_EQ(fileNameToSystem(GetParam().units), GetParam().system);
}

const NameCase kNames[] = {
    {"Empty", "", u""},
    {"Ascii", "a b.tif", u"a b.tif"},
    {"TwoBytes", bytes({0xC3, 0xA9}), u"\u00E9"},
    {"ThreeBytes", bytes({0xE2, 0x82, 0xAC}), u"\u20AC"},
    {"FourBytes", bytes({0xF0, 0x9F, 0x92, 0x80}), u"\U0001F480"},
    {"LastCharacter", bytes({0xF4, 0x8F, 0xBF, 0xBF}), u"\U0010FFFF"},
    {"PastTheLastCharacter", bytes({0xF4, 0x90, 0x80, 0x80}), {0xDCF4, 0xDC90, 0xDC80, 0xDC80}},
    {"LoneContinuation", bytes({0x80}), {0xDC80}},
    {"Latin1", bytes({'c', 'a', 'f', 0xE9}), {u'c', u'a', u'f', 0xDCE9}},
    {"CutShort", bytes({0xE2, 0x82}), {0xDCE2, 0xDC82}},
    {"Overlong", bytes({0xC0, 0xAF}), {0xDCC0, 0xDCAF}},
    {"OverlongThree", bytes({0xE0, 0x80, 0x80}), {0xDCE0, 0xDC80, 0xDC80}},
    {"OverlongFour", bytes({0xF0, 0x80, 0x80, 0x80}), {0xDCF0, 0xDC80, 0xDC80, 0xDC80}},
    {"EncodedHighSurrogate", bytes({0xED, 0xA0, 0x80}), {0xDCED, 0xDCA0, 0xDC80}},
    {"EncodedEscape", bytes({0xED, 0xB2, 0x80}), {0xDCED, 0xDCB2, 0xDC80}},
    {"PairThenEscape", bytes({0xF0, 0x9F, 0x92, 0x80, 0x80}), {0xD83D, 0xDC80, 0xDC80}},
    {"BrokenThenGood", bytes({0xE2, 'x'}), {0xDCE2, u'x'}},
};

INSTANTIATE_TEST_SUITE_P(Forms, NameForms, testing::ValuesIn(kNames),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(FileNames, EveryByteComesBack) {
    for (int first = 0; first < 256; ++first) {
        expectRoundTrip(bytes({first}));
    }
}

TEST(FileNames, EveryTwoByteNameComesBack) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            expectRoundTrip(bytes({first, second}));
        }
    }
}

TEST(FileNames, NamesOfCriticalBytesComeBack) {
    const std::vector<int> critical{0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xB2, 0xBF,
                                    0xC0, 0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5};
    for (const int a : critical) {
        for (const int b : critical) {
            for (const int c : critical) {
                for (const int d : critical) {
                    expectRoundTrip(bytes({a, b, c, d}));
                }
            }
        }
    }
}

TEST(FileNames, LoneSurrogatesThatStandForNoByteBecomeThreeBytes) {
    EXPECT_EQ(fileNameToSystem(std::u16string{0xD800}), bytes({0xED, 0xA0, 0x80}));
    EXPECT_EQ(fileNameToSystem(std::u16string{0xDC7F}), bytes({0xED, 0xB1, 0xBF}));
    EXPECT_EQ(fileNameToSystem(std::u16string{0xDD00}), bytes({0xED, 0xB4, 0x80}));
}

TEST(FileNames, HighSurrogateBeforeAnEscapeIsAPair) {
    EXPECT_EQ(fileNameToSystem(std::u16string{0xD83D, 0xDC80}), bytes({0xF0, 0x9F, 0x92, 0x80}));
}

}  // namespace
