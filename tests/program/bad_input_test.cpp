// Inputs that cannot be read, the standard input, lists, and the terminal.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using namespace programrun;
using fixture::readFile;

class BadInput : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::writePair(in("."));
    }
};

TEST_F(BadInput, EachCostsOneLineAndNoOther) {
    fs::create_symlink("nowhere", in("link"));
    ASSERT_EQ(::mkfifo(in("fifo").c_str(), 0600), 0);
    constexpr const char* kDevice =
        "this is a pipe or device and no file; pass it as standard input to - "
        "(inputFailure)";
    const std::pair<std::string, std::string> rows[] = {
        {"none.tif", "the file does not exist"},
        {"none/none.tif", "the file does not exist"},
        {"a.tif/none", "the file does not exist"},
        {"link", "the file does not exist"},
        {"fifo", kDevice},
        {"/dev/null", kDevice},
        {"/dev/zero", kDevice},
        {std::string(300, 'n'), "File name too long"},
    };
    for (const auto& [path, reason] : rows) {
        const Ending alone = run({path});
        EXPECT_EQ(alone.status, 1) << path;
        EXPECT_EQ(linesOf(alone.error).size(), 1U) << alone.error;
        EXPECT_EQ(alone.error.find("ifdsweep: " + path + ": "), 0U) << alone.error;
        EXPECT_EQ(alone.error.find(path, 10 + path.size()), std::string::npos) << alone.error;
        const Ending given = run({"--format", "ndjson", "a.tif", path, "b.tif"});
        EXPECT_EQ(given.status, 1);
        EXPECT_EQ(linesOf(given.out).size(), 3U);
        const auto lines = linesOf(given.error);
        ASSERT_EQ(lines.size(), 2U) << given.error;
        EXPECT_EQ(lines[0] + '\n', alone.error);
        EXPECT_NE(lines[0].find(reason), std::string::npos) << lines[0];
        EXPECT_EQ(lines[1], "ifdsweep: 2 files read, 1 failed, 3 directories");
    }
}

TEST_F(BadInput, WhatIsNoImageIsNamedByWhatItIs) {
    fixture::writeFile(in("letter.txt"), "Dear sir");
    fixture::writeFile(in("empty"), "");
    fixture::writeFile(in("short.tif"), "II*");
    const std::pair<std::string, std::string> rows[] = {
        {"letter.txt", "a text file, not a TIFF (badEndianness)"},
        {"empty", "an empty file, not a TIFF (tiffHeaderReadFailure)"},
        {"short.tif", "the file ends inside the TIFF header (tiffHeaderReadFailure)"},
    };
    for (const auto& [name, reason] : rows) {
        const std::string line = "ifdsweep: " + name + ": " + reason;
        EXPECT_EQ(run({name}).error, line + '\n');
        EXPECT_EQ(linesOf(run({"--failures", "failed", name, "a.tif"}).error)[0], line);
        EXPECT_EQ(readFile(in("failed")), name + "\t# " + reason + '\n');
    }
    const Ending piped = shell("$PROGRAM --format ndjson - <letter.txt");
    EXPECT_EQ(piped.error, "ifdsweep: -: a text file, not a TIFF (badEndianness)\n");
    EXPECT_NE(piped.out.find(R"(,"found":"a text file"}})"), std::string::npos) << piped.out;
    const Ending elsewhere = run({"--offset", "2", "letter.txt"});
    EXPECT_EQ(
        elsewhere.error.find("ifdsweep: letter.txt: the TIFF header begins with the bytes 97"), 0U)
        << elsewhere.error;
}

TEST_F(BadInput, WhatMayNotBeReadIsToldOf) {
    fs::create_directories(in("all/closed"));
    programfiles::write(in("all/closed/c.tif"), programfiles::image(7));
    programfiles::write(in("all/d.tif"), programfiles::image(7));
    programfiles::write(in("all/e.tif"), programfiles::image(7));
    fs::permissions(in("all/closed"), fs::perms::none);
    fs::permissions(in("all/d.tif"), fs::perms::none);
    fs::permissions(folder, fs::perms::owner_all | fs::perms::others_exec);
    fs::permissions(folder / "tmp", fs::perms::all);
    Launch launch;
    launch.arguments = {"--format", "ndjson", "--failures", "../tmp/failed", "all"};
    launch.prepare = becomeOrdinary;
    const Ending given = run(launch);
    const std::string failures = readFile(folder / "tmp/failed");
    fs::remove(folder / "tmp/failed");
    fs::permissions(in("all/closed"), fs::perms::owner_all);
    EXPECT_EQ(given.status, 1);
    const auto lines = linesOf(given.error);
    ASSERT_EQ(lines.size(), 3U) << given.error;
    EXPECT_EQ(lines[0],
              "ifdsweep: all/closed: cannot read the folder: Permission denied "
              "(inputFailure)");
    EXPECT_EQ(lines[1].find("ifdsweep: all/d.tif: "), 0U);
    EXPECT_NE(lines[1].find("Permission denied"), std::string::npos) << lines[1];
    EXPECT_EQ(lines[2], "ifdsweep: 1 file read, 2 failed, 1 directory");
    EXPECT_EQ(linesOf(failures)[0].find("all/closed\t# cannot read the folder"), 0U) << failures;
}

TEST_F(BadInput, PipesAndDevicesInFoldersAreLeftAlone) {
    fs::create_directory(in("all"));
    programfiles::write(in("all/a.tif"), programfiles::image(7));
    programfiles::write(in("all/b.tif"), programfiles::image(7));
    ASSERT_EQ(::mkfifo(in("all/pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", in("all/zero"));
    fs::create_symlink("pipe", in("all/link"));
    EXPECT_EQ(run({"--all", "all"}).error, "ifdsweep: 2 files read, 0 failed, 2 directories\n");
}

TEST_F(BadInput, Lists) {
    fixture::writeFile(in("list"), "a.tif\n\nnone.tif\n\nb.tif");
    const Ending given =
        run({"--format", "ndjson", "--files-from", "list", "--failures", "failed"});
    EXPECT_EQ(given.status, 1);
    const auto failed = linesOf(readFile(in("failed")));
    ASSERT_EQ(failed.size(), 1U) << "an empty line is no path to try again";
    EXPECT_EQ(failed[0].find("none.tif\t# "), 0U);
    EXPECT_EQ(linesOf(given.out).size(), 5U);
    const auto lines = linesOf(given.error);
    ASSERT_EQ(lines.size(), 4U) << given.error;
    EXPECT_EQ(lines[0], "ifdsweep: list: line 2 of the list is empty (inputFailure)");
    EXPECT_EQ(lines[1].find("ifdsweep: none.tif: "), 0U);
    EXPECT_EQ(lines[2], "ifdsweep: list: line 4 of the list is empty (inputFailure)");

    const Ending missing = run({"--files-from", "none"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.error, "ifdsweep: cannot open the list none: No such file or directory\n");
    const Ending aFolder = run({"--files-from", "/proc", "a.tif"});
    EXPECT_EQ(aFolder.status, 1);
    EXPECT_EQ(linesOf(aFolder.error)[0],
              "ifdsweep: /proc: the list cannot be read: Is a directory "
              "(inputFailure)");
    fixture::writeFile(in("empty"), "");
    const Ending none = run({"--files-from", "empty"});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(
        none.error,
        "ifdsweep: 0 files read, 0 failed, 0 directories; there is no file in what was named\n");
    std::filesystem::create_directory(in("folder"));
    fixture::writeFile(in("folder/a.tif"), "");
    EXPECT_EQ(run({"--include", "*.tff", "folder"}).error,
              "ifdsweep: 0 files read, 0 failed, 0 directories; no file matches --include or "
              "--iglob\n");
}

TEST_F(BadInput, ListsFromTheStandardInput) {
    programfiles::write(in("two\nlines.tif"), programfiles::image(7));
    programfiles::write(in("-"), programfiles::image(8));
    const std::string expected = run({"--format", "typed", "a.tif", "two\nlines.tif"}).out;
    EXPECT_EQ(shell(R"(printf "a.tif\0two\nlines.tif\0" | )"
                    "$PROGRAM --format typed --files-from - --null")
                  .out,
              expected);
    const Ending dash = shell("echo - | $PROGRAM --format csv --tags Width --files-from -");
    EXPECT_EQ(dash.out, "File,Directory,Width\r\n./-,0,8\r\n") << dash.error;
    const Ending closed = shell("$PROGRAM --files-from - --output table <&-");
    EXPECT_EQ(closed.status, 1);
    EXPECT_EQ(linesOf(closed.error)[0],
              "ifdsweep: -: the list cannot be read: Bad file descriptor "
              "(inputFailure)");
}

TEST_F(BadInput, FailuresAreReadAgain) {
    programfiles::write(in("bad # 1.tif"), {'I', 'I', 42, 0});
    programfiles::write(in("two\nlines.tif"), {'I', 'I', 42, 0});
    const std::vector<std::string> paths{"a.tif", "bad # 1.tif", "two\nlines.tif", "none.tif"};
    auto arguments = paths;
    arguments.insert(arguments.begin(), {"--failures", "failed"});
    const Ending first = run(arguments);
    EXPECT_NE(first.error.find("two\\nlines.tif: not in the list of failures"), std::string::npos);
    const auto lines = linesOf(readFile(in("failed")));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].find("bad # 1.tif\t# "), 0U);
    EXPECT_EQ(lines[1].find("none.tif\t# "), 0U);
    programfiles::write(in("none.tif"), programfiles::image(7));
    const Ending second = run({"--files-from", "failed", "--failures", "again"});
    EXPECT_EQ(linesOf(second.error).back(), "ifdsweep: 1 file read, 1 failed, 1 directory");
    EXPECT_EQ(readFile(in("again")), lines[0] + '\n');

    arguments.push_back("--null");
    EXPECT_EQ(run(arguments).error.find("not in the list"), std::string::npos);
    EXPECT_EQ(readFile(in("failed")), std::string("bad # 1.tif\0two\nlines.tif\0", 26));
    const Ending third = run({"--null", "--files-from", "failed"});
    EXPECT_EQ(linesOf(third.error).back(), "ifdsweep: 0 files read, 2 failed, 0 directories");
}

TEST_F(BadInput, AFullListOfFailuresEndsNothing) {
    const Ending given = run({"--failures", "/dev/full", "none", "a.tif"});
    EXPECT_EQ(given.status, 1);
    const auto lines = linesOf(given.error);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], "ifdsweep: cannot write /dev/full: No space left on device");
}

TEST_F(BadInput, TheStandardInputIsAnImage) {
    // All but the name and the time of the file.
    const auto recordsOf = [](const std::string& text) {
        const auto isKept = [](int, nlohmann::json::parse_event_t event, nlohmann::json& parsed) {
            return event != nlohmann::json::parse_event_t::key ||
                   (parsed != "Filename" && parsed != "FileModDate");
        };
        return nlohmann::json::parse(text, isKept)[0]["records"];
    };
    const auto expected = recordsOf(run({"--format", "json", "b.tif"}).out);
    ASSERT_EQ(expected.size(), 2U);
    for (const char* const line :
         {"$PROGRAM --format json - < b.tif", "cat b.tif | $PROGRAM --format json -",
          "cat b.tif | $PROGRAM --format json --jobs 2 -"}) {
        const Ending given = shell(line);
        EXPECT_EQ(given.status, 0) << given.error;
        EXPECT_EQ(nlohmann::json::parse(given.out)[0]["file"], "-");
        EXPECT_EQ(recordsOf(given.out), expected) << line;
    }
    const Ending both = shell("cat b.tif | $PROGRAM --format csv --tags Width a.tif - -");
    EXPECT_EQ(both.out,
              "File,Directory,Width\r\na.tif,0,7\r\n-,0,4\r\n-,1,4\r\n-,0,4\r\n-,1,4\r\n");
}

TEST_F(BadInput, TheStandardInputCanBeBad) {
    const std::pair<const char*, const char*> rows[] = {
        {"$PROGRAM - <&-", "ifdsweep: cannot read the standard input: Bad file descriptor\n"},
        {"$PROGRAM - < /proc", "ifdsweep: cannot read the standard input: Is a directory\n"},
        {"cat a.tif | TMPDIR=/none $PROGRAM -",
         "ifdsweep: cannot make a temporary file in /none: No such file or directory\n"},
        {"TMPDIR=/none $PROGRAM --format csv a.tif",
         "ifdsweep: cannot make a temporary file in /none: No such file or directory\n"},
    };
    for (const auto& [line, error] : rows) {
        const Ending given = shell(line);
        EXPECT_EQ(given.status, 1) << line;
        EXPECT_EQ(given.error, error) << line;
        EXPECT_EQ(given.out, "");
    }
    const Ending empty = shell("$PROGRAM - < /dev/null");
    EXPECT_EQ(empty.status, 1);
    EXPECT_EQ(linesOf(empty.error).size(), 1U) << empty.error;
    EXPECT_EQ(empty.error.find("ifdsweep: -: "), 0U) << empty.error;
}

/// The program on a terminal of its own, for one or two of its streams.
class Terminals : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::write(in("a.tif"), programfiles::damagedImage());
        programfiles::write(in("slow.tif"), programfiles::endlessImage());
        int given = -1;
        char name[64] = {};
        ASSERT_EQ(::openpty(&terminal, &given, name, nullptr, nullptr), 0);
        device = name;
        other = given;  // open, so that the terminal lives through several runs
        ::fcntl(terminal, F_SETFL, O_NONBLOCK);
    }
    void TearDown() override {
        ::close(terminal);
        ::close(other);
        ProgramRun::TearDown();
    }

    /// What the terminal shows and did not show before.
    std::string shown() const {
        std::string text;
        char piece[4096];
        for (ssize_t got = 0; (got = ::read(terminal, piece, sizeof piece)) > 0;) {
            text.append(piece, static_cast<std::size_t>(got));
        }
        return text;
    }

    int terminal = -1;
    int other = -1;
    std::string device;
};

TEST_F(Terminals, ProgressIsShownThereAndNowhereElse) {
    Launch launch;
    launch.arguments =
        unlimited({"--format", "ndjson", "--jobs", "1", "a.tif", "none.tif", "slow.tif"});
    launch.error = device;
    Running program = start(launch);
    std::string text;
    ASSERT_TRUE(comesTrue([&] {
        text += shown();
        return text.find("2 files of 3, ") != std::string::npos;
    })) << text;
    EXPECT_NE(text.find("/s, 1 failed"), std::string::npos) << text;
    program.send(SIGINT);
    EXPECT_EQ(program.wait(), 130);
    text += shown();
    const std::size_t summary = text.find("ifdsweep: interrupted: 1 file read, 1 failed");
    ASSERT_NE(summary, std::string::npos) << text;
    EXPECT_EQ(text.substr(summary - 4, 4), "\r\x1b[K");  // on a line of its own
    const std::string out = endingOf(0).out;
    EXPECT_EQ(linesOf(out).size(), 2U);
    EXPECT_EQ(out.find('\x1b'), std::string::npos);
    EXPECT_EQ(out.find('\r'), std::string::npos);
}

TEST_F(Terminals, AFileThatTakesLongIsNamed) {
    // Alone it is read in the program's own process, which the limit and the signal end.
    const std::pair<std::vector<std::string>, bool> rows[] = {
        {{"slow.tif"}, false},
        {{"slow.tif"}, true},
        {{"--jobs", "1", "slow.tif"}, false},
        {{"--jobs", "3", "slow.tif", "a.tif", "a.tif"}, true}};
    for (const auto& [way, isInterrupted] : rows) {
        Launch launch;
        launch.arguments = unlimited({"--timeout", isInterrupted ? "60" : "4", "--format", "json"});
        launch.arguments.insert(launch.arguments.end(), way.begin(), way.end());
        launch.error = device;
        Running program = start(launch);
        std::string text;
        ASSERT_TRUE(comesTrue([&] {
            text += shown();
            return text.find("slow.tif takes ") != std::string::npos;
        })) << text;
        EXPECT_EQ(text.find("slow.tif takes 0 s"), std::string::npos) << text;
        EXPECT_EQ(text.find("slow.tif takes 1 s"), std::string::npos) << text;
        if (isInterrupted) {
            program.send(SIGINT);
        }
        EXPECT_EQ(program.wait(), isInterrupted ? 130 : 1);
        text += shown();
        // Nothing of the line is left, and the error stands in its place.
        const std::string clear = "\r\x1b[K";
        EXPECT_EQ(text.find(" takes ", text.rfind(clear)), std::string::npos) << text;
        const std::string error = clear + "ifdsweep: slow.tif: not finished within 4 s";
        EXPECT_EQ(text.find(error) == std::string::npos, isInterrupted) << text;
    }
}

TEST_F(Terminals, ALineOfASlowFileIsNotShownWhereItIsNotWanted) {
    Launch launch;
    launch.arguments = unlimited({"--no-progress", "--timeout", "3", "slow.tif"});
    launch.error = device;
    EXPECT_EQ(run(launch).status, 1);
    EXPECT_EQ(shown(),
              "ifdsweep: slow.tif: not finished within 3 s, the limit of --timeout (timeout)\r\n");
    launch.arguments = unlimited({"--timeout", "3", "slow.tif"});
    launch.error = folder / "error";
    EXPECT_EQ(run(launch).error,
              "ifdsweep: slow.tif: not finished within 3 s, the limit of --timeout (timeout)\n");
}

TEST_F(Terminals, WithoutProgressNoneIsShown) {
    Launch launch;
    launch.arguments =
        unlimited({"--no-progress", "--timeout", "0.5", "--format", "ndjson", "a.tif", "slow.tif"});
    launch.error = device;
    Running program = start(launch);
    EXPECT_EQ(program.wait(), 1);
    const std::string text = shown();
    EXPECT_EQ(text.find("ifdsweep: slow.tif: not finished"), 0U) << text;
    EXPECT_EQ(text.find('\x1b'), std::string::npos) << text;
}

TEST_F(Terminals, AListFromAPipeIsReadOnceOnly) {
    // Whoever counts for the progress line must not take lines away.
    ASSERT_EQ(::mkfifo((folder / "list").c_str(), 0600), 0);
    Launch launch;
    launch.arguments = {"--format", "ndjson", "--files-from", (folder / "list").string()};
    launch.error = device;
    Running program = start(launch);
    const int list = ::open((folder / "list").c_str(), O_WRONLY | O_CLOEXEC);
    std::string lines;
    for (int line = 0; line < 2000; ++line) {
        lines += "a.tif\n";
    }
    EXPECT_EQ(::write(list, lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
    ::close(list);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(linesOf(endingOf(0).out).size(), 2000U);
}

TEST_F(Terminals, LinesEndWhereTheTerminalDoes) {
    const auto longestLine = [&](std::uint16_t columns, std::vector<std::string> arguments) {
        winsize size{};
        size.ws_col = columns;
        EXPECT_EQ(::ioctl(terminal, TIOCSWINSZ, &size), 0);
        Launch launch;
        launch.arguments = std::move(arguments);
        launch.out = device;
        launch.prepare = [] { ::setenv("NO_COLOR", "1", 1); };
        Running program = start(launch);
        EXPECT_EQ(program.wait(), 0);
        std::size_t longest = 0;
        for (std::string line : linesOf(shown())) {
            std::erase(line, '\r');
            longest = std::max(longest, line.size());
        }
        return longest;
    };
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"a.tif"}, {"--jobs", "1", "a.tif"}}) {
        const std::size_t whole = longestLine(0, arguments);  // a terminal that does not tell
        EXPECT_GT(whole, 100U);
        EXPECT_EQ(longestLine(200, arguments), whole);
        for (const std::uint16_t columns : {std::uint16_t{80}, std::uint16_t{40}}) {
            EXPECT_LE(longestLine(columns, arguments), columns);
            EXPECT_GT(longestLine(columns, arguments), columns - 10U);
        }
    }
}

TEST_F(Terminals, ColoursAreForATerminalOnly) {
    Launch launch;
    launch.arguments = {"a.tif"};
    launch.out = device;
    const auto coloured = [&](const char* name, const char* value) {
        launch.prepare = [name, value] {
            ::setenv("TERM", "xterm", 1);
            ::unsetenv("NO_COLOR");
            ::setenv(name, value, 1);
        };
        Running program = start(launch);
        EXPECT_EQ(program.wait(), 0);
        const std::string text = shown();
        EXPECT_NE(text.find("a.tif"), std::string::npos);
        return text.find("\x1b[") != std::string::npos;
    };
    EXPECT_TRUE(coloured("TERM", "xterm"));
    EXPECT_FALSE(coloured("TERM", "dumb"));
    EXPECT_FALSE(coloured("NO_COLOR", "1"));
    launch.arguments = {"--jobs", "2", "a.tif", "a.tif"};
    EXPECT_TRUE(coloured("TERM", "xterm"));
    launch.arguments = {"--format", "json", "a.tif"};
    EXPECT_FALSE(coloured("TERM", "xterm"));
    launch.arguments = {"a.tif"};
    launch.out.clear();
    launch.prepare = [] { ::setenv("TERM", "xterm", 1); };
    EXPECT_EQ(run(launch).out.find('\x1b'), std::string::npos);
}

}  // namespace
