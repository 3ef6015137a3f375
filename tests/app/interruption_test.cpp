// Signals in the middle of a run: whole lines, a summary, the exit status, nothing left behind.

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "program_files.h"
#include "program_run.h"

namespace {

namespace fs = std::filesystem;
using programrun::comesTrue;
using programrun::Ending;
using programrun::hasOpen;
using programrun::Launch;
using programrun::linesOf;
using programrun::readerOf;
using programrun::Running;

class InterruptionTest : public programrun::ProgramTest {
protected:
    void SetUp() override {
        programrun::ProgramTest::SetUp();
        programfiles::writePair(in("."));
        programfiles::write(in("slow.tif"), programfiles::endlessImage());
    }

    /// Starts a run of two files and an endless one; returns when that is being read.
    [[nodiscard]] Running startEndless(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(),
                         {"--read-budget", "unlimited", "a.tif", "b.tif", "slow.tif", "a.tif"});
        Launch launch;
        launch.arguments = std::move(arguments);
        Running program = start(launch);
        EXPECT_TRUE(comesTrue([&] { return readerOf(program.process(), "slow.tif") > 0; }));
        return program;
    }
};

TEST_F(InterruptionTest, whatWasPrintedIsWhole) {
    for (const int signal : {SIGINT, SIGTERM}) {
        Running program = startEndless({"--format", "ndjson", "--jobs", "1"});
        ASSERT_TRUE(comesTrue([&] { return linesOf(endingOf(0).out).size() == 2; }));
        program.send(signal);
        const Ending given = endingOf(program.wait());
        EXPECT_EQ(given.status, 128 + signal);
        EXPECT_EQ(given.error, "ifdsweep: interrupted: 2 files read, 0 failed, 3 directories\n");
        ASSERT_TRUE(given.out.ends_with('\n'));
        const auto lines = linesOf(given.out);
        ASSERT_EQ(lines.size(), 2U);
        EXPECT_EQ(nlohmann::json::parse(lines[0])["file"], "a.tif");
        EXPECT_EQ(nlohmann::json::parse(lines[1])["file"], "b.tif");
    }
}

TEST_F(InterruptionTest, anOutputFileIsNotReplaced) {
    programrun::write(in("table.csv"), "what was there\n");
    for (const char* const format : {"ndjson", "csv", "json", "text"}) {
        const auto before = names();
        Running program = startEndless({"--format", format, "--output", "table.csv"});
        program.send(SIGINT);
        const Ending given = endingOf(program.wait());
        EXPECT_EQ(given.status, 130);
        EXPECT_EQ(given.error.find("ifdsweep: interrupted: "), 0U) << given.error;
        EXPECT_EQ(given.out, "");
        EXPECT_EQ(programrun::contents(in("table.csv")), "what was there\n");
        EXPECT_EQ(names(), before);
    }
}

TEST_F(InterruptionTest, atRandomMomentsLinesAreWhole) {
    fs::create_directory(in("many"));
    programfiles::writeMany(in("many"), 1000);
    const std::string whole = run({"--format", "ndjson", "many"}).out;
    for (int round = 0; round < 12; ++round) {
        Launch launch;
        // The last file takes longer than the test, so that no run ends by itself.
        launch.arguments = {"--format", "ndjson", "--read-budget", "unlimited", "many", "slow.tif"};
        Running program = start(launch);
        // At the first output, then later and later.
        const std::size_t least = whole.size() / 16 * static_cast<std::size_t>(round);
        ASSERT_TRUE(comesTrue([&] {
            std::error_code error;
            return fs::file_size(folder / "out", error) + 1 > least + 1 || round == 0;
        }));
        program.send(SIGINT);
        const Ending given = endingOf(program.wait());
        ASSERT_EQ(given.out, whole.substr(0, given.out.size()));
        if (!given.out.empty()) {
            EXPECT_EQ(given.out.back(), '\n');
        }
        EXPECT_EQ(given.status, 130);
    }
}

TEST_F(InterruptionTest, oneFileEndsAtOnceToo) {
    Launch launch;
    launch.arguments = {"--read-budget", "unlimited", "slow.tif"};
    Running program = start(launch);
    ASSERT_TRUE(comesTrue([&] { return hasOpen(program.process(), "slow.tif"); }));
    program.send(SIGINT);
    const Ending given = endingOf(program.wait());
    EXPECT_EQ(given.status, 130);
    EXPECT_EQ(given.out, "");
}

TEST_F(InterruptionTest, aSignalWhileTheListIsAwaited) {
    ASSERT_EQ(::mkfifo((folder / "list").c_str(), 0600), 0);
    Launch launch;
    launch.arguments = {"--format", "ndjson", "--files-from", "-"};
    launch.input = folder / "list";
    Running program = start(launch);
    const int list = ::open(launch.input.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(::write(list, "a.tif\n", 6), 6);
    ASSERT_TRUE(comesTrue([&] { return endingOf(0).out.ends_with('\n'); }));
    program.send(SIGINT);
    const Ending given = endingOf(program.wait());
    ::close(list);
    EXPECT_EQ(given.status, 130);
    EXPECT_EQ(given.error, "ifdsweep: interrupted: 1 file read, 0 failed, 1 directory\n");
}

}  // namespace
