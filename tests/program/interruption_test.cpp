// Signals in the middle of a run: whole lines, a summary, the exit status, nothing left behind.

#include "io/interruption.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "program/program_files.h"
#include "program/program_run.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using namespace programrun;

class Interruptions : public ProgramRun {
protected:
    void SetUp() override {
        ProgramRun::SetUp();
        programfiles::writePair(in("."));
        programfiles::write(in("slow.tif"), programfiles::endlessImage());
    }

    /// Starts a run of two files and an endless one; returns when that is being read.
    [[nodiscard]] Running startEndless(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--read-budget", "unlimited", "--value-budget",
                                           "unlimited", "a.tif", "b.tif", "slow.tif", "a.tif"});
        Launch launch;
        launch.arguments = std::move(arguments);
        Running program = start(launch);
        awaitReaderOf(program.process(), "slow.tif");
        return program;
    }
};

TEST_F(Interruptions, WhatWasPrintedIsWhole) {
    for (const int signal : ifdsweep::Interruption::kSignals) {
        Running program = startEndless({"--format", "ndjson", "--jobs", "1"});
        ASSERT_TRUE(comesTrue([&] { return linesOf(endingOf(0).out).size() == 2; }));
        program.send(signal);
        const Ending given = endingOf(program.wait());
        EXPECT_EQ(given.status, 128 + signal);
        EXPECT_EQ(given.error,
                  "ifdsweep: interrupted: 2 files read, 0 failed, 3 directories\n"
                  "ifdsweep: what was printed is whole lines\n");
        ASSERT_TRUE(given.out.ends_with('\n'));
        const auto lines = linesOf(given.out);
        ASSERT_EQ(lines.size(), 2U);
        EXPECT_EQ(nlohmann::json::parse(lines[0])["file"], "a.tif");
        EXPECT_EQ(nlohmann::json::parse(lines[1])["file"], "b.tif");
    }
}

TEST_F(Interruptions, AnOutputFileIsNotReplaced) {
    fixture::writeFile(in("table.csv"), "what was there\n");
    for (const char* const format : {"ndjson", "csv", "json", "text"}) {
        const auto before = names();
        Running program = startEndless({"--format", format, "--output", "table.csv"});
        program.send(SIGINT);
        const Ending given = endingOf(program.wait());
        EXPECT_EQ(given.status, 130);
        EXPECT_EQ(given.error.find("ifdsweep: interrupted: "), 0U) << given.error;
        EXPECT_EQ(linesOf(given.error).back(),
                  "ifdsweep: nothing was kept, table.csv is as it was; with --resume a run can be "
                  "gone on with");
        EXPECT_EQ(given.out, "");
        EXPECT_EQ(fixture::readFile(in("table.csv")), "what was there\n");
        EXPECT_EQ(names(), before);
    }
}

TEST_F(Interruptions, NothingStaysOfAnOutputThatWasNotFinished) {
    const auto before = names();
    for (const char* const format : {"ndjson", "csv"}) {
        // With more than its buffer holds, the output is being written.
        std::vector<std::string> arguments{"--format", format, "--output", "table.csv"};
        arguments.insert(arguments.end(), 200, "b.tif");
        Running program = startEndless(arguments);
        program.send(SIGKILL);
        EXPECT_EQ(program.wait(), 128 + SIGKILL);
        EXPECT_EQ(names(), before) << format;
    }
}

TEST_F(Interruptions, AtRandomMomentsLinesAreWhole) {
    fs::create_directory(in("many"));
    programfiles::writeMany(in("many"), 1000);
    const std::string whole = run({"--format", "ndjson", "many"}).out;
    for (int round = 0; round < 12; ++round) {
        Launch launch;
        // The last file takes longer than the test, so that no run ends by itself.
        launch.arguments = unlimited({"--format", "ndjson", "many", "slow.tif"});
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

TEST_F(Interruptions, OneFileEndsAtOnceToo) {
    Launch launch;
    launch.arguments = unlimited({"slow.tif"});
    Running program = start(launch);
    ASSERT_TRUE(comesTrue([&] { return hasOpen(program.process(), "slow.tif"); }));
    program.send(SIGINT);
    const Ending given = endingOf(program.wait());
    EXPECT_EQ(given.status, 130);
    EXPECT_EQ(given.out, "");
}

TEST_F(Interruptions, ASignalWhileTheListIsAwaited) {
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
    EXPECT_EQ(given.error,
              "ifdsweep: interrupted: 1 file read, 0 failed, 1 directory\n"
              "ifdsweep: what was printed is whole lines\n");
}

TEST_F(Interruptions, TheEndTellsHowToGoOn) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"--format", "ndjson", "--output", "o", "--resume", "j"},
         "ifdsweep: what is finished is kept; run the same command again to go on"},
        {{"--format", "csv"},
         "ifdsweep: a table whose columns are not chosen with --tags is printed at the end"},
        {{"--format", "json", "--compact"}, "ifdsweep: what was printed ends with a whole file"},
        {{"--output", "/dev/null"}, "ifdsweep: what was printed is whole lines"},
    };
    for (const auto& [arguments, text] : rows) {
        Running program = startEndless(arguments);
        program.send(SIGTERM);
        const Ending given = endingOf(program.wait());
        EXPECT_EQ(given.status, 143);
        EXPECT_EQ(linesOf(given.error).back(), text);
    }
}

/// Whether a process has got every signal that was sent to it.
bool hasAllSignals(pid_t process) {
    std::ifstream stream("/proc/" + std::to_string(process) + "/status");
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str().find("ShdPnd:\t0000000000000000") != std::string::npos;
}

TEST_F(Interruptions, ASecondSignalEndsItAtOnceAndLeavesNothing) {
    fixture::writeFile(in("table.json"), "what was there\n");
    ASSERT_EQ(::mkfifo((folder / "unread").c_str(), 0600), 0);
    const int unread = ::open((folder / "unread").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    const std::pair<int, int> rows[] = {{SIGINT, SIGINT},  {SIGINT, SIGTERM}, {SIGTERM, SIGINT},
                                        {SIGTERM, SIGHUP}, {SIGHUP, SIGHUP},  {SIGHUP, SIGINT}};
    for (const bool withJournal : {false, true}) {
        for (const auto& [first, second] : rows) {
            auto before = names();
            Launch launch;
            launch.arguments = {"--format", "json", "--output", "table.json"};
            if (withJournal) {
                launch.arguments.insert(launch.arguments.end(), {"--resume", "journal"});
                before.insert(before.end(), {"journal", "table.json.part"});
                std::sort(before.begin(), before.end());
            }
            // Nobody reads the error lines, and the program waits for room.
            launch.arguments.insert(launch.arguments.end(), 2000, std::string(100, 'n'));
            launch.error = folder / "unread";
            Running program = start(launch);
            const auto isStuck = [&] {
                pollfd room{unread, POLLOUT, 0};
                return ::poll(&room, 1, 0) == 0;
            };
            ASSERT_TRUE(comesTrue(isStuck));
            while (::write(unread, "x", 1) == 1) {
                // Nor is there room for a last line.
            }
            program.send(first);
            ASSERT_TRUE(comesTrue([&] { return hasAllSignals(program.process()); }));
            ASSERT_TRUE(isRunning(program.process()));
            program.send(second);
            ASSERT_TRUE(
                comesTrue([&] { return !isRunning(program.process()); }, std::chrono::seconds(10)));
            EXPECT_EQ(program.wait(), 128 + first) << first << ", then " << second;
            EXPECT_EQ(fixture::readFile(in("table.json")), "what was there\n");
            EXPECT_EQ(names(), before) << first << ", then " << second;
            fs::remove(in("journal"));
            fs::remove(in("table.json.part"));
            char piece[4096];
            for (pollfd rest{unread, POLLIN, 0}; ::poll(&rest, 1, 0) > 0;) {
                ASSERT_GT(::read(unread, piece, sizeof piece), 0);
            }
        }
    }
    ::close(unread);
}

TEST_F(Interruptions, WhatIsIgnoredAtTheStartStaysIgnored) {
    // As nohup does, and a shell for the jobs that its scripts leave in the background.
    for (const auto& arguments :
         {std::vector<std::string>{"--format", "ndjson"},
          std::vector<std::string>{"--format", "ndjson", "--output", "new"}}) {
        for (const auto& [ignored, other] : {std::pair(SIGHUP, SIGINT), {SIGINT, SIGHUP}}) {
            Launch launch;
            launch.arguments = arguments;
            launch.arguments.insert(
                launch.arguments.end(),
                {"--read-budget", "unlimited", "--value-budget", "unlimited", "a.tif", "slow.tif"});
            launch.prepare = [ignored = ignored] { ::signal(ignored, SIG_IGN); };
            const auto before = names();
            Running program = start(launch);
            awaitReaderOf(program.process(), "slow.tif");
            program.send(ignored);
            program.send(ignored);
            EXPECT_FALSE(comesTrue([&] { return !isRunning(program.process()); },
                                   std::chrono::milliseconds(100)));
            program.send(other);
            EXPECT_EQ(program.wait(), 128 + other);
            EXPECT_EQ(names(), before);
        }
    }
}

TEST_F(Interruptions, ALostTerminalEndsTheWholeGroupInOrder) {
    // The signal goes to the workers too; none of their files failed.
    Launch launch;
    launch.arguments = unlimited({"--format", "ndjson", "a.tif", "slow.tif"});
    launch.prepare = [] { ::setpgid(0, 0); };
    Running program = start(launch);
    awaitReaderOf(program.process(), "slow.tif");
    ASSERT_TRUE(comesTrue([&] { return endingOf(0).out.ends_with('\n'); }));
    program.sendToGroup(SIGHUP);
    const Ending given = endingOf(program.wait());
    EXPECT_EQ(given.status, 129);
    ASSERT_FALSE(given.error.empty());
    EXPECT_EQ(linesOf(given.error)[0], "ifdsweep: interrupted: 1 file read, 0 failed, 1 directory");
}

TEST_F(Interruptions, OneFileEndsAtOnceOnAnyOfThem) {
    for (const int signal : ifdsweep::Interruption::kSignals) {
        Launch launch;
        launch.arguments = unlimited({"slow.tif"});
        Running program = start(launch);
        ASSERT_TRUE(comesTrue([&] { return hasOpen(program.process(), "slow.tif"); }));
        program.send(signal);
        EXPECT_EQ(program.wait(), 128 + signal);
        EXPECT_EQ(endingOf(0).out, "");
    }
}

/// The exit status of a process that does something; 128 and the signal that ended it.
int statusOf(const std::function<void()>& act) {
    const pid_t child = ::fork();
    if (child == 0) {
        for (const int signal : ifdsweep::Interruption::kSignals) {
            ::signal(signal, SIG_DFL);
        }
        act();
        ::_exit(0);
    }
    return Running(child).wait();
}

TEST_F(Interruptions, AFileIsRemovedAtTheEnd) {
    const fs::path file = in("unfinished");
    const auto endTwice = [&](bool isKept) {
        fixture::writeFile(file, "");
        return statusOf([&] {
            const ifdsweep::Interruption interruption;
            ifdsweep::Interruption::removeAtEnd(file.string());
            if (isKept) {
                ifdsweep::Interruption::keep();
            }
            ::raise(SIGTERM);
            if (interruption.signal() == SIGTERM && fs::exists(file)) {
                ::raise(SIGINT);
            }
        });
    };
    EXPECT_EQ(endTwice(false), 143);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(endTwice(true), 143);
    EXPECT_TRUE(fs::exists(file));
    // A longer one cannot be the name of a file.
    const int status = statusOf([&] {
        const ifdsweep::Interruption interruption;
        ifdsweep::Interruption::removeAtEnd(file.string());
        ifdsweep::Interruption::removeAtEnd(std::string(100'000, 'x'));
        ::raise(SIGINT);
        ::raise(SIGINT);
    });
    EXPECT_EQ(status, 130);
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(Interruptions, ASignalOfBeforeEndsItWhenItIsToEndAtOnce) {
    EXPECT_EQ(statusOf([] {
                  ifdsweep::Interruption interruption;
                  ::raise(SIGHUP);
                  interruption.endAtOnce();
              }),
              129);
    EXPECT_EQ(statusOf([] {
                  ifdsweep::Interruption interruption;
                  interruption.endAtOnce();
                  interruption.takeNote();
                  ::raise(SIGINT);
                  ::_exit(interruption.signal());
              }),
              SIGINT);
}

TEST_F(Interruptions, AForkedProcessTellsNothing) {
    const int status = statusOf([] {
        const ifdsweep::Interruption interruption;
        const pid_t child = ::fork();
        if (child == 0) {
            ::raise(SIGTERM);
            ::_exit(0);
        }
        ::waitpid(child, nullptr, 0);
        pollfd told{interruption.descriptor(), POLLIN, 0};
        ::_exit(::poll(&told, 1, 0));
    });
    EXPECT_EQ(status, 0);
}

TEST_F(Interruptions, TheHandlerKeepsErrno) {
    const int status = statusOf([] {
        const rlimit none{0, 0};
        ::setrlimit(RLIMIT_NOFILE, &none);  // no pipe, and the handler's write fails
        const ifdsweep::Interruption interruption;
        errno = 77;
        ::raise(SIGINT);
        ::_exit(errno == 77 && interruption.signal() == SIGINT ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
}

}  // namespace
