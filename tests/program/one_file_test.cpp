// One named file, which the program reads itself: the limits of a file among many hold for it, and
// nothing of it is half printed.

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include "cli/read_limits.h"
#include "io/sanitized.h"
#include "program/program_files.h"
#include "program/program_run.h"
#include "workers/seconds.h"

namespace {

using namespace programrun;

const std::vector<std::vector<std::string>> kWays{
    {"--format", "text"},
    {"--format", "json"},
    {"--format", "json", "--compact"},
    {"--format", "json", "--pretty"},
    {"--format", "ndjson", "--tags", "Width"},
    {"--format", "typed"},
    {"--format", "packed"},
    {"--format", "csv"},
    {"--format", "csv", "--tags", "Width,Height"},
    {"--format", "csv", "--rows", "file"},
    {"--format", "csv", "--layout", "tags"},
    {"--format", "csv", "--tags", "Width,FNumber"},
};

class OneFile : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::writePair(in("."));
        programfiles::write(in("slow \x1b.tif"), programfiles::endlessImage());
    }

    /// A run alone ends as one through a worker does.
    void expectTheSame(const std::vector<std::string>& arguments, const std::string& reason) {
        for (std::vector<std::string> way : kWays) {
            way.insert(way.end(), arguments.begin(), arguments.end());
            const Ending alone = run(way);
            way.insert(way.begin(), {"--jobs", "1"});
            const Ending throughWorker = run(way);
            EXPECT_EQ(alone.out, throughWorker.out) << way[3];
            EXPECT_EQ(alone.error, throughWorker.error) << way[3];
            EXPECT_EQ(alone.status, 1) << way[3];
            EXPECT_EQ(throughWorker.status, 1) << way[3];
            EXPECT_NE(alone.error.find(reason), std::string::npos) << alone.error;
        }
    }
};

TEST_F(OneFile, TheTimeLimitHolds) {
    expectTheSame({"--timeout", "0.05", "--read-budget", "unlimited", "--value-budget", "unlimited",
                   "slow \x1b.tif"},
                  "ifdsweep: slow \\x1b.tif: not finished within 0.050 s, the limit of --timeout "
                  "(timeout)\n");
}

TEST_F(OneFile, TheTimeLimitIsNotMetByAGoodFile) {
    const Ending given = run({"--timeout", "60", "--memory", "1000000000", "a.tif"});
    EXPECT_EQ(given.status, 0);
    EXPECT_EQ(given.out, run({"a.tif"}).out);
    EXPECT_EQ(given.error, "");
}

TEST_F(OneFile, TheAlarmOfTheStarterIsItsOwn) {
    Launch launch;
    launch.arguments = unlimited({"slow \x1b.tif"});
    launch.prepare = [] { ::alarm(1); };
    EXPECT_EQ(run(launch).status, 128 + SIGALRM);
}

TEST_F(OneFile, TheMemoryLimitHolds) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs all address space";
    }
    programfiles::writeLarge(in("large.tif"));
    expectTheSame({"--memory", "150000000", "--max-value", "all", "--tags", "50000", "large.tif"},
                  "ifdsweep: large.tif: out of memory: the limit is 150000000 bytes (--memory) "
                  "(outOfMemory)\n");
}

TEST_F(OneFile, NoMemoryAtAllIsToldToo) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs all address space";
    }
    const Ending given = run({"--memory", "1", "a.tif"});
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(given.error.find("ifdsweep: a.tif: out of memory"), 0U) << given.error;
}

/// Whether so much memory is given.
bool isGiven(std::size_t bytes) {
    try {
        ::operator delete(::operator new(bytes));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

TEST(MemoryLimits, HoldsWhileItLives) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs all address space";
    }
    ifdsweep::WorkerChoice choice;
    choice.memory = 400 * kMebibyte;
    rlimit before{};
    ::getrlimit(RLIMIT_AS, &before);
    {
        const ifdsweep::MemoryLimit limit(choice);
        EXPECT_TRUE(isGiven(100 * kMebibyte));
        EXPECT_FALSE(isGiven(400 * kMebibyte));
    }
    EXPECT_TRUE(isGiven(400 * kMebibyte));
    rlimit after{};
    ::getrlimit(RLIMIT_AS, &after);
    EXPECT_EQ(after.rlim_cur, before.rlim_cur);
    EXPECT_EQ(after.rlim_max, before.rlim_max);
}

TEST(MemoryLimits, TheDefaultIsThatOfTheMachine) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs all address space";
    }
    const std::uint64_t most = ifdsweep::defaultMemory(ifdsweep::availableMemory(), 1);
    const ifdsweep::MemoryLimit limit{ifdsweep::WorkerChoice()};
    EXPECT_TRUE(isGiven(500 * kMebibyte));
    EXPECT_FALSE(isGiven(ifdsweep::kMostDefaultMemory));
    // What there is changes while other programs run.
    if (most >= 4 * ifdsweep::kLeastDefaultMemory) {
        EXPECT_TRUE(isGiven(most / 2));
    }
}

TEST(MemoryLimits, ALowerOneOfTheSystemStays) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs all address space";
    }
    rlimit before{};
    ::getrlimit(RLIMIT_AS, &before);
    const rlimit lower{300 * kMebibyte, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &lower), 0);
    {
        const ifdsweep::MemoryLimit limit{ifdsweep::WorkerChoice()};
        EXPECT_FALSE(isGiven(300 * kMebibyte));
    }
    EXPECT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
}

TEST(SecondsText, Text) {
    EXPECT_EQ(ifdsweep::secondsText(ifdsweep::nanosecondsOf(600)), "600");
    EXPECT_EQ(ifdsweep::secondsText(ifdsweep::nanosecondsOf(0.125)), "0.125");
    EXPECT_EQ(ifdsweep::secondsText(ifdsweep::nanosecondsOf(2.05)), "2.050");
    EXPECT_EQ(ifdsweep::nanosecondsOf(1e300), 1'000'000'000'000'000'000);
}

TEST_F(OneFile, TheStandardInputNeedsNoProcessFolder) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer asks the system about its process";
    }
    constexpr int kNotPossible = 99;
    Launch launch;
    launch.input = in("b.tif");
    launch.prepare = [] {
        const bool hidden =
            (::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) &&
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
            ::mount("none", "/proc", "tmpfs", 0, nullptr) == 0;
        if (!hidden) {
            ::_exit(kNotPossible);
        }
    };
    for (const auto& way : {std::vector<std::string>{}, {"--jobs", "1"}}) {
        launch.arguments = way;
        launch.arguments.insert(launch.arguments.end(),
                                {"--format", "csv", "--tags", "Width", "-"});
        const Ending given = run(launch);
        if (given.status == kNotPossible) {
            GTEST_SKIP() << "not allowed to hide /proc";
        }
        EXPECT_EQ(given.error, "");
        EXPECT_EQ(given.out, "File,Directory,Width\r\n-,0,4\r\n-,1,4\r\n");
        EXPECT_EQ(given.status, 0);
    }
}

TEST_F(OneFile, AStandardInputThatCannotBeReadSaysSo) {
    const Ending given = shell("$PROGRAM - 0>>a.tif");
    EXPECT_EQ(given.error, "ifdsweep: cannot read the standard input: Bad file descriptor\n");
    EXPECT_EQ(given.status, 1);
}

TEST_F(OneFile, ClosedStreamsAreNobodyElsesFile) {
    const Ending output = shell("$PROGRAM a.tif >&-");
    EXPECT_EQ(output.error, "ifdsweep: cannot write the output: Bad file descriptor\n");
    EXPECT_EQ(output.status, 1);
    const Ending both = shell("$PROGRAM --format csv a.tif none.tif >table 2>&-; cat table");
    EXPECT_EQ(both.out.find("File,Directory"), 0U);
    EXPECT_EQ(both.out.find("ifdsweep: "), std::string::npos) << both.out;
}

TEST_F(OneFile, AnIgnoredEndOfChildrenIsNotInherited) {
    Launch launch;
    launch.arguments = unlimited({"--jobs", "1", "slow \x1b.tif"});
    launch.prepare = [] { ::signal(SIGCHLD, SIG_IGN); };
    Running program = start(launch);
    const pid_t worker = awaitReaderOf(program.process(), "slow \x1b.tif");
    sendTo(worker, SIGKILL);
    EXPECT_EQ(program.wait(), 1);
    EXPECT_NE(endingOf(0).error.find("signal 9"), std::string::npos) << endingOf(0).error;
}

}  // namespace
