// What a file and its name can do to a terminal: nothing. The whole program, its output captured.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "hostile/captured_program.h"
#include "hostile/temporary_file.h"
#include "support/tiff_builder.h"

namespace fixture {
namespace {

struct Case {
    const char* name;
    std::string_view text;   ///< in a tag, or in the file's name
    std::string_view shown;  ///< in the text output
};

// clang-format off
const Case kCases[] = {
    {"Escape",             "a\x1b[2J\x1b]0;title\x07z",  "a\\x1b[2J\\x1b]0;title\\x07z"},
    {"LineEnds",           "a\nb\rc\td",                 "a\\nb\\rc\\td"},
    {"RightToLeft",        "a\xE2\x80\xAEgpj.exe",       "a\\u202egpj.exe"},
    {"Isolate",            "a\xE2\x81\xA6z",             "a\\u2066z"},
    {"ControlSequenceC1",  "a\xC2\x9B" "2Jz",            "a\\u009b2Jz"},
    {"Delete",             "a\x7Fz",                     "a\\x7fz"},
    {"Backslash",          "a\\x1bz",                    "a\\\\x1bz"},
};
// clang-format on

class TerminalSafety : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Texts, TerminalSafety, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& made) {
                             return std::string(made.param.name);
                         });

TemporaryFile fileWith(std::string_view text, const std::string& name) {
    return {name, TiffBuilder(Format{}).add({ascii(315, text), ascii(60000, text)}).build().bytes};
}

void expectNoControls(const std::string& output) {
    for (const char character : output) {
        const auto byte = static_cast<unsigned char>(character);
        EXPECT_TRUE(byte == '\n' || (byte >= 0x20 && byte != 0x7F)) << static_cast<int>(byte);
    }
    for (const char* hidden : {"\xE2\x80\xAE", "\xE2\x81\xA6", "\xC2\x9B"}) {
        EXPECT_EQ(output.find(hidden), std::string::npos);
    }
}

void expectJson(const std::string& output) {
    EXPECT_FALSE(nlohmann::json::parse(output, nullptr, false).is_discarded()) << output;
}

TEST_P(TerminalSafety, TextOfATagIsShownEscaped) {
    const TemporaryFile file = fileWith(GetParam().text, "tag.tif");
    const CapturedProgram program = runCaptured({file.path()});
    EXPECT_EQ(program.status, 0);
    EXPECT_NE(program.output.find("Artist"), std::string::npos);
    EXPECT_NE(program.output.find(GetParam().shown), std::string::npos) << program.output;
    expectNoControls(program.output);
    expectJson(runCaptured({"--format", "json", file.path()}).output);
    expectJson(runCaptured({"--format", "typed", file.path()}).output);
}

TEST_P(TerminalSafety, AFileNameIsShownEscaped) {
    const std::string name(GetParam().text);
    const TemporaryFile file = fileWith("artist", name);
    const CapturedProgram program = runCaptured({file.path()});
    EXPECT_EQ(program.status, 0);
    EXPECT_NE(program.output.find(GetParam().shown), std::string::npos) << program.output;
    expectNoControls(program.output);
    expectJson(runCaptured({"--format", "json", file.path()}).output);
    expectJson(runCaptured({"--format", "typed", file.path()}).output);

    const CapturedProgram missing = runCaptured({file.path() + ".gone"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.errors.find(GetParam().shown), std::string::npos) << missing.errors;
    expectNoControls(missing.errors);
}

// Bytes that are no UTF-8: in a tag Windows-1252, in a name shown as they are, escaped.
TEST(TerminalSafetyOfBytes, ThatAreNoUtf8) {
    const TemporaryFile file = fileWith("caf\xE9 \x9B", "caf\xE9\xFF.tif");
    const CapturedProgram program = runCaptured({file.path()});
    EXPECT_EQ(program.status, 0);
    EXPECT_NE(program.output.find("caf\\xe9\\xff.tif"), std::string::npos) << program.output;
    EXPECT_NE(program.output.find("caf\xC3\xA9"), std::string::npos) << program.output;
    expectNoControls(program.output);
    expectJson(runCaptured({"--format", "json", file.path()}).output);
}

}  // namespace
}  // namespace fixture
