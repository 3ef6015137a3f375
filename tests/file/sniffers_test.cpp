// The first bytes that decide the layout.

#include <gtest/gtest.h>

#include <vector>

#include "file/tag_file.h"
#include "host/host_parts.h"
#include "ifdsweep/host.h"
#include "support/entry_call.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;

struct SniffCase {
    const char* name;
    Bytes bytes;
    bool isJpeg;
    bool isClassic;
    bool isBig;
};

std::vector<SniffCase> sniffCases() {
    return {
        {"empty", {}, false, false, false},
        {"one byte of a JPEG", {0xFF}, false, false, false},
        {"JPEG", {0xFF, 0xD8}, true, false, false},
        {"JPEG and more", {0xFF, 0xD8, 0x2A, 0}, true, false, false},
        {"JPEG reversed", {0xD8, 0xFF}, false, false, false},
        {"classic little-endian", {0x49, 0x49, 0x2A, 0}, false, true, false},
        {"classic big-endian", {0x4D, 0x4D, 0, 0x2A}, false, true, false},
        {"classic with the version turned", {0x49, 0x49, 0, 0x2A}, false, false, false},
        {"classic of three bytes", {0x49, 0x49, 0x2A}, false, false, false},
        {"BigTIFF little-endian", {0x49, 0x49, 0x2B, 0}, false, false, true},
        {"BigTIFF big-endian", {0x4D, 0x4D, 0, 0x2B}, false, false, true},
        {"BigTIFF of three bytes", {0x4D, 0x4D, 0}, false, false, false},
        {"mixed marks", {0x49, 0x4D, 0x2A, 0}, false, false, false},
        {"text", {'t', 'e', 'x', 't'}, false, false, false},
    };
}

TEST(Sniffers, FirstBytesDecide) {
    for (const SniffCase& each : sniffCases()) {
        ifdsweep::Host host;
        filesOf(host).serve(kFileName, each.bytes);
        const ifdsweep::Host::Scope scope(host);
        EXPECT_EQ(isJpeg(kFileName), each.isJpeg) << each.name;
        EXPECT_EQ(isClassicTiff(kFileName), each.isClassic) << each.name;
        EXPECT_EQ(isBigTiff(kFileName), each.isBig) << each.name;
    }
}

TEST(Sniffers, AMissingFileIsNoneOfThem) {
    ifdsweep::Host host;
    const ifdsweep::Host::Scope scope(host);
    EXPECT_FALSE(isJpeg(u"/no such folder/no such file"));
    EXPECT_FALSE(isClassicTiff(u"/no such folder/no such file"));
    EXPECT_FALSE(isBigTiff(u"/no such folder/no such file"));
}

TEST(Sniffers, TheLayoutFollows) {
    for (const SniffCase& each : sniffCases()) {
        ifdsweep::Host host;
        filesOf(host).serve(kFileName, each.bytes);
        const ifdsweep::Host::Scope scope(host);
        const TagFile file(kFileName, 0, 0, 0);
        const bool isWide = !each.isJpeg && !each.isClassic;
        EXPECT_EQ(static_cast<unsigned>(file.fileFormat),
                  each.isJpeg ? 0U : (each.isClassic ? 1U : 2U))
            << each.name;
        EXPECT_EQ(file.entrySize, isWide ? 20U : 12U);
        EXPECT_EQ(file.entryCountSize, isWide ? 8U : 2U);
        EXPECT_EQ(file.offsetSize, isWide ? 8U : 4U);
        EXPECT_EQ(file.valueOffsetPosition, isWide ? 12U : 8U);
        EXPECT_FALSE(file.hostIsBigEndian);
        EXPECT_TRUE(file.hostIsLittleEndian);
    }
}

}  // namespace
}  // namespace fixture
