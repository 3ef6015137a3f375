// What a file and its name can do to a terminal: nothing.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "files/file_names.h"
#include "program/program_files.h"
#include "program/program_run.h"
#include "support/csv_reader.h"
#include "support/hidden_characters.h"
#include "support/tiff_builder.h"

namespace fixture {
namespace {

using namespace programrun;

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
    {"ShorthandFormat",    "a\xF0\x9B\xB2\xA0z",         "a\\U0001bca0z"},
    {"MusicalFormat",      "a\xF0\x9D\x85\xB3z",         "a\\U0001d173z"},
    {"VariationSelector",  "a\xEF\xB8\x8Fz",             "a\\ufe0fz"},
    {"HangulFiller",       "a\xE3\x85\xA4z",             "a\\u3164z"},
    {"ArabicNumberSign",   "a\xD8\x80z",                 "a\\u0600z"},
};
// clang-format on

class Shown : public ProgramRun {
protected:
    /// Writes a file with this text in two tags; its path.
    [[nodiscard]] std::string fileWith(std::string_view text, const std::string& name) const {
        programfiles::write(
            in(name),
            TiffBuilder(Format{}).add({ascii(315, text), ascii(60000, text)}).build().bytes);
        return in(name).string();
    }

    /// What the program shows, whose arguments are given, on a terminal without colours.
    [[nodiscard]] std::string shownOnTerminal(const std::vector<std::string>& arguments) const;
};

class TerminalSafety : public Shown, public testing::WithParamInterface<Case> {};

INSTANTIATE_TEST_SUITE_P(Texts, TerminalSafety, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& made) {
                             return std::string(made.param.name);
                         });

void expectNoControls(const std::string& output) {
    const std::u16string units = ifdsweep::fileNameFromSystem(output);
    const auto unsafe = firstUnsafe(units);
    EXPECT_FALSE(unsafe) << std::hex << static_cast<std::uint32_t>(unsafe.value_or(0)) << " in "
                         << output;
}

/// A terminal that shows nothing and keeps what it is given.
class Terminal {
public:
    Terminal() : master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
        if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) {
            throw std::runtime_error("no terminal can be had");
        }
        slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY);
        termios mode{};
        if (slave < 0 || ::tcgetattr(slave, &mode) != 0) {
            throw std::runtime_error("no terminal can be had");
        }
        ::cfmakeraw(&mode);  // what is written is kept as it is
        ::tcsetattr(slave, TCSANOW, &mode);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        ::close(slave);
        ::close(master);
    }

    [[nodiscard]] int end() const { return slave; }

    /// What was shown since it was asked last.
    [[nodiscard]] std::string take() const {
        std::string text;
        char piece[4096];
        for (ssize_t got = 0; (got = ::read(master, piece, sizeof piece)) > 0;) {
            text.append(piece, static_cast<std::size_t>(got));
        }
        return text;
    }

private:
    int master;
    int slave = -1;
};

std::string Shown::shownOnTerminal(const std::vector<std::string>& arguments) const {
    const Terminal terminal;
    Launch launch;
    launch.arguments = arguments;
    launch.prepare = [&terminal] {
        ::setenv("NO_COLOR", "1", 1);
        ::dup2(terminal.end(), STDOUT_FILENO);
    };
    const Ending given = run(launch);
    EXPECT_EQ(given.status, 0) << given.error;
    EXPECT_EQ(given.out, "");
    expectNoControls(given.error);
    return terminal.take();
}

void expectJson(const std::string& output) {
    EXPECT_FALSE(nlohmann::json::parse(output, nullptr, false).is_discarded()) << output;
}

TEST_P(TerminalSafety, TextOfATagIsShownEscaped) {
    const std::string file = fileWith(GetParam().text, "tag.tif");
    const Ending program = run(std::vector{file});
    EXPECT_EQ(program.status, 0);
    EXPECT_NE(program.out.find("Artist"), std::string::npos);
    EXPECT_NE(program.out.find(GetParam().shown), std::string::npos) << program.out;
    expectNoControls(program.out);
    expectJson(run({"--format", "json", file}).out);
    expectJson(run({"--format", "typed", file}).out);
}

TEST_P(TerminalSafety, AFileNameIsShownEscaped) {
    const std::string name(GetParam().text);
    const std::string file = fileWith("artist", name);
    const Ending program = run(std::vector{file});
    EXPECT_EQ(program.status, 0);
    EXPECT_NE(program.out.find(GetParam().shown), std::string::npos) << program.out;
    expectNoControls(program.out);
    expectJson(run({"--format", "json", file}).out);
    expectJson(run({"--format", "typed", file}).out);

    const Ending missing = run(std::vector{file + ".gone"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.error.find(GetParam().shown), std::string::npos) << missing.error;
    expectNoControls(missing.error);
}

// One file is read by the program's own process, two are read by others.
TEST_P(TerminalSafety, EveryFormatIsSafeOnATerminal) {
    const std::string text(GetParam().text);
    const std::string first = fileWith(text, "1" + text);
    const std::string second = fileWith(text, "2" + text);
    for (const std::vector<std::string>& files : {std::vector{first}, std::vector{first, second}}) {
        for (const char* format : {"text", "json", "ndjson", "typed", "csv"}) {
            for (const char* more : {"", "--tags=Artist,60000", "--raw-cells"}) {
                if (more == std::string("--raw-cells") && format != std::string("csv")) {
                    continue;
                }
                std::vector<std::string> arguments{"--no-progress", "--format", format};
                if (*more != '\0') {
                    arguments.emplace_back(more);
                }
                arguments.insert(arguments.end(), files.begin(), files.end());
                std::string shown = shownOnTerminal(arguments);
                if (format == std::string("csv")) {
                    EXPECT_NE(shown.find(GetParam().shown), std::string::npos) << shown;
                    // A row ends with CR LF; there is no other CR.
                    for (std::size_t at = 0; (at = shown.find("\r\n", at)) != std::string::npos;) {
                        shown.erase(at, 1);
                    }
                }
                SCOPED_TRACE(std::string(format) + ' ' + more);
                EXPECT_NE(shown, "");
                expectNoControls(shown);
            }
        }
    }
}

TEST_P(TerminalSafety, ATableInAFileHoldsTheTextItselfOnDemandAlone) {
    const std::string text(GetParam().text);
    const std::string file = fileWith(text, "tag" + text + ".tif");
    for (const std::vector<std::string>& files : {std::vector{file}, std::vector{file, file}}) {
        for (const char* columns : {"--tags=Artist", "--first=0"}) {
            std::vector<std::string> arguments{"--no-progress", "--format", "csv", columns};
            arguments.insert(arguments.end(), files.begin(), files.end());
            const Ending safe = run(arguments);
            EXPECT_NE(safe.out.find(GetParam().shown), std::string::npos) << safe.out;
            for (const auto& row : rowsOf(safe.out)) {
                for (const std::string& cell : row) {
                    expectNoControls(cell);
                    EXPECT_EQ(cell.find('\n'), std::string::npos);
                }
            }
            arguments.emplace_back("--raw-cells");
            const Ending raw = run(arguments);
            EXPECT_NE(raw.out.find(text), std::string::npos) << raw.out;
            EXPECT_NE(raw.out.find("tag" + text + ".tif"), std::string::npos) << raw.out;
            EXPECT_EQ(raw.out.find("\\\\"), std::string::npos) << raw.out;
        }
    }
}

class TerminalSafetyOfBytes : public Shown {};

// Bytes that are no UTF-8: in a tag Windows-1252, in a name shown as they are, escaped.
TEST_F(TerminalSafetyOfBytes, ThatAreNoUtf8) {
    const std::string file = fileWith("caf\xE9 \x9B", "caf\xE9\xFF.tif");
    const Ending program = run(std::vector{file});
    EXPECT_EQ(program.status, 0);
    EXPECT_NE(program.out.find("caf\\xe9\\xff.tif"), std::string::npos) << program.out;
    EXPECT_NE(program.out.find("caf\xC3\xA9"), std::string::npos) << program.out;
    expectNoControls(program.out);
    expectJson(run({"--format", "json", file}).out);
}

}  // namespace
}  // namespace fixture
