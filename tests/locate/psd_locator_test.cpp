#include "locate/locators.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/counted_bytes.h"
#include "support/located_text.h"
#include "support/psd_builder.h"
#include "support/repeated_bytes.h"

namespace {

using fixture::Bytes;
using fixture::CountedBytes;
using fixture::PsdFile;
using fixture::psdOf;
using fixture::PsdResource;

std::string located(const ifdsweep::ByteSource& file,
                    ifdsweep::SearchDepth depth = ifdsweep::SearchDepth::all) {
    ifdsweep::ByteReader reader(file);
    return fixture::locatedText(ifdsweep::locateInPsd(reader, depth));
}

std::string located(const Bytes& file) {
    return located(CountedBytes(file));
}

Bytes header(std::string_view signature, std::size_t size = 10) {
    Bytes stream(signature.begin(), signature.end());
    stream.resize(size, 0x11);
    return stream;
}

const Bytes kLittle = header({"II*\0", 4});
const Bytes kBig = header({"MM\0*", 4});
const PsdResource kExif{.id = 1058, .data = kLittle};
const PsdResource kThird{.id = 1059, .data = kBig};
const PsdResource kOther{.id = 1005, .data = Bytes(16, 1)};

struct Case {
    const char* name;
    Bytes file;
    std::string expected;
};

void PrintTo(const Case& row, std::ostream* stream) {
    *stream << row.name;
}

// A resource takes 12 bytes and its data where its name has a byte at most.
const Case kCases[] = {
    {"first", psdOf({.resources = {kExif}}), "Exif: 46+10\npieces 1, ended at 56"},
    {"bigEndian", psdOf({.resources = {{.id = 1058, .data = kBig}}}),
     "Exif: 46+10\npieces 1, ended at 56"},
    {"large", psdOf({.version = 2, .resources = {kExif}}), "Exif: 46+10\npieces 1, ended at 56"},
    {"behindColours", psdOf({.colours = Bytes(768), .resources = {kExif}}),
     "Exif: 814+10\npieces 1, ended at 824"},
    {"behindOthers", psdOf({.resources = {kOther, kOther, kExif, kOther}}),
     "Exif: 102+10\npieces 4, ended at 140"},
    {"behindOddData", psdOf({.resources = {{.id = 1, .data = Bytes(3)}, kExif}}),
     "Exif: 62+10\npieces 2, ended at 72"},
    {"oddDataAtTheEnd", psdOf({.resources = {{.id = 1058, .data = header({"II*\0", 4}, 9)}}}),
     "Exif: 46+9\npieces 1, ended at 56"},
    {"oddDataNotPaddedAtTheEnd",
     psdOf({.resources = {{.id = 1058, .data = header({"II*\0", 4}, 9)}}, .resourcesSize = 21}),
     "Exif: 46+9\npieces 1, ended at 55"},
    {"nameOfOne", psdOf({.resources = {{.id = 1058, .data = kLittle, .name = "a"}}}),
     "Exif: 46+10\npieces 1, ended at 56"},
    {"nameOfTwo", psdOf({.resources = {{.id = 1058, .data = kLittle, .name = "ab"}}}),
     "Exif: 48+10\npieces 1, ended at 58"},
    {"longestName",
     psdOf({.resources = {{.id = 1058,
                           .data = kLittle,
                           .name = std::string_view(
                               "012345678901234567890123456789012345678901234567890123456789"
                               "012345678901234567890123456789012345678901234567890123456789"
                               "012345678901234567890123456789012345678901234567890123456789"
                               "012345678901234567890123456789012345678901234567890123456789"
                               "012345678901234")}}}),
     "Exif: 300+10\npieces 1, ended at 310"},
    {"signatures",
     psdOf({.resources = {{.id = 1, .signature = "MeSa"},
                          {.id = 2, .signature = "AgHg"},
                          {.id = 3, .signature = "PHUT"},
                          {.id = 1058, .data = kLittle, .signature = "DCSR"}}}),
     "Exif: 82+10\npieces 4, ended at 92"},
    {"third", psdOf({.resources = {kExif, kThird}}),
     "Exif: 46+10\nExif 3: 68+10\npieces 2, ended at 78"},
    {"thirdAlone", psdOf({.resources = {kThird}}), "Exif 3: 46+10\npieces 1, ended at 56"},
    {"thirdOfBigTiff", psdOf({.resources = {{.id = 1059, .data = header({"II+\0", 4}, 16)}}}),
     "Exif 3: 46+16\npieces 1, ended at 62"},
    {"thirdOfSomethingElse", psdOf({.resources = {{.id = 1059, .data = Bytes(16, 'x')}, kExif}}),
     "Exif: 74+10\npieces 2, ended at 84"},
    {"thirdTooShort", psdOf({.resources = {{.id = 1059, .data = {'I', 'I', '*'}}, kExif}}),
     "Exif: 62+10\npieces 2, ended at 72"},
    {"notAHeader", psdOf({.resources = {{.id = 1058, .data = Bytes(8, 'x')}}}),
     "Exif: 46+8\npieces 1, ended at 54"},
    {"several", psdOf({.resources = {kExif, kThird, kExif, kThird}}),
     "Exif: 46+10\nExif 3: 68+10\nExif of resource 3: 90+10\nExif 3 of resource 4: 112+10\n"
     "pieces 4, ended at 122"},
    {"empty", psdOf({.resources = {{.id = 1058}, kOther}}), "pieces 2, ended at 74"},
    {"none", psdOf({.resources = {kOther}}), "pieces 1, ended at 62"},
    {"noResources", psdOf({}), "pieces 0, ended at 34"},
    {"behindTheSection", psdOf({.resources = {kOther, kExif}, .resourcesSize = 28}),
     "pieces 1, ended at 62"},
    {"noBytes", {}, "pieces 0, ended at 4, damaged at 0"},
    {"version0", psdOf({.version = 0, .resources = {kExif}}), "pieces 0, ended at 4, damaged at 4"},
    {"version3", psdOf({.version = 3, .resources = {kExif}}), "pieces 0, ended at 4, damaged at 4"},
    {"coloursBehindTheEnd", psdOf({.resources = {kExif}, .coloursSize = 0xFFFFFFFFU}),
     "pieces 0, ended at 4, damaged at 60"},
    {"sectionBehindTheEnd", psdOf({.resources = {kExif, kOther}, .resourcesSize = 0xFFFFFFFFU}),
     "Exif: 46+10\npieces 2, ended at 84, damaged at 84"},
    {"sizeBehindTheSection",
     psdOf({.resources = {kOther, {.id = 1058, .data = kLittle, .size = 0xFFFFFFFFU}}}),
     "Exif: 74+10\npieces 2, ended at 84, damaged at 62"},
    {"sizeOfOneMore", psdOf({.resources = {{.id = 1058, .data = kLittle, .size = 11}}}),
     "Exif: 46+10\npieces 1, ended at 56, damaged at 34"},
    {"signatureThatIsNone", psdOf({.resources = {kExif, {.id = 1, .signature = "8BIN"}, kExif}}),
     "Exif: 46+10\npieces 1, ended at 56, damaged at 56"},
    {"headerCutByTheSection", psdOf({.resources = {kExif, kExif}, .resourcesSize = 33}),
     "Exif: 46+10\npieces 1, ended at 56, damaged at 56"},
};

class PsdLocators : public testing::TestWithParam<Case> {};

TEST_P(PsdLocators, TellOfAllStreams) {
    EXPECT_EQ(located(GetParam().file), GetParam().expected);
}

TEST_P(PsdLocators, FindAsMuchInBothDepths) {
    EXPECT_EQ(located(CountedBytes(GetParam().file), ifdsweep::SearchDepth::first),
              GetParam().expected);
}

TEST_P(PsdLocators, ACutFileHasDamageOrIsComplete) {
    const Bytes& whole = GetParam().file;
    const std::string expected = located(whole);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string cut = located(fixture::truncated(whole, size));
        EXPECT_TRUE(cut == expected || cut.find("damaged at ") != std::string::npos) << size << '\n'
                                                                                     << cut;
    }
}

INSTANTIATE_TEST_SUITE_P(All, PsdLocators, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(PsdLocators, NoMoreStreamsAreToldOfThanAFileMayHave) {
    for (const std::size_t count : {255U, 256U, 257U}) {
        const CountedBytes file(psdOf({.resources = std::vector<PsdResource>(count, kExif)}));
        ifdsweep::ByteReader reader(file);
        const auto found = ifdsweep::locateInPsd(reader, ifdsweep::SearchDepth::all);
        EXPECT_EQ(found.streamCount, count);
        EXPECT_EQ(found.streams.size(), std::min<std::size_t>(count, 256));
        EXPECT_EQ(found.pieceCount, count);
    }
}

TEST(PsdLocators, ReadsAreInProportionToTheResources) {
    constexpr std::uint64_t kHuge = std::uint64_t{100} << 20U;
    const PsdFile whole{.resources = {kExif}, .resourcesSize = 0xFFFFFFFFU};
    Bytes start = psdOf(whole);
    start.resize(start.size() - 4);  // the section goes on
    const std::pair<const char*, PsdResource> pieces[] = {
        {"empty", {.id = 1}},
        {"empty Exif data", {.id = 1058}},
        {"Exif data", kExif},
        {"a byte at the third", {.id = 1059, .data = {1}}},
        {"names", {.id = 1, .name = "abcdefghijklmnopqrstuvwxyz"}},
    };
    for (const auto& [name, resource] : pieces) {
        const fixture::RepeatedBytes file(start, fixture::psdResource(resource), kHuge);
        static_cast<void>(located(file));
        EXPECT_LE(file.reads, kHuge / 4000) << name;
    }
    const fixture::RepeatedBytes large(
        start, fixture::psdResource({.id = 1, .data = Bytes(100000)}), kHuge);
    static_cast<void>(located(large));
    EXPECT_LE(large.reads, kHuge / 100000 + 6);
}

TEST(PsdLocators, AnOrdinaryFileCostsFewReads) {
    // A thumbnail, a profile and a caption before the Exif data, XMP behind it.
    const CountedBytes file(psdOf({.resources = {{.id = 1028, .data = Bytes(300)},
                                                 {.id = 1036, .data = Bytes(9000)},
                                                 {.id = 1039, .data = Bytes(3144)},
                                                 kExif,
                                                 {.id = 1060, .data = Bytes(14000)},
                                                 kOther}}));
    static_cast<void>(located(file));
    EXPECT_EQ(file.reads, 4U);
}

}  // namespace
