// What happens when descriptors, processes, memory or room for temporary files run out: it costs a
// file or a worker, never the run.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/sanitized.h"
#include "program/program_files.h"
#include "program/program_run.h"
#include "support/tiff_builder.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using namespace programrun;

void limit(int resource, rlim_t most) {
    const rlimit both{most, most};
    if (::setrlimit(static_cast<__rlimit_resource>(resource), &both) != 0) {
        ::_exit(126);
    }
}

class Exhaustion : public ProgramRun {
protected:
    /// Writes images, each with a part of over 1 MiB.
    void writeLarge(int count) const {
        fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
        builder.add(
            fixture::Directory{fixture::longs(50000, std::vector<std::int64_t>(200000, 1234567))});
        const fixture::Bytes bytes = builder.build().bytes;
        for (int number = 0; number < count; ++number) {
            programfiles::write(in(std::to_string(100 + number) + ".tif"), bytes);
        }
    }

    /// Whether the last line tells of so many files in all, read or failed.
    static void expectAll(const Ending& given, int count) {
        int read = -1;
        int failed = -1;
        for (const std::string& line : linesOf(given.error)) {
            if (line.find(" failed, ") != std::string::npos) {
                ASSERT_EQ(
                    std::sscanf(line.c_str(), "ifdsweep: %d %*s read, %d failed", &read, &failed),
                    2)
                    << line;
            }
        }
        EXPECT_EQ(read + failed, count) << given.error;
        EXPECT_EQ(given.status, failed > 0 ? 1 : 0) << given.error;
        EXPECT_EQ(linesOf(given.out).size(), static_cast<std::size_t>(count)) << given.error;
    }

    [[nodiscard]] Launch launchOf(const std::string& jobs) const {
        Launch launch;
        launch.arguments = {"--format", "ndjson", "--jobs", jobs};
        const auto files = names();
        launch.arguments.insert(launch.arguments.end(), files.begin(), files.end());
        return launch;
    }
};

TEST_F(Exhaustion, FewDescriptorsCostFilesAtMost) {
    writeLarge(60);
    for (const rlim_t most : {rlim_t{20}, rlim_t{64}, rlim_t{256}}) {
        for (const char* const jobs : {"1", "4"}) {
            Launch launch = launchOf(jobs);
            launch.prepare = [most] { limit(RLIMIT_NOFILE, most); };
            const Ending given = run(launch);
            expectAll(given, 60);
            if (most == 256) {
                EXPECT_EQ(given.status, 0) << given.error;
            }
        }
    }
}

TEST_F(Exhaustion, LargePartsBehindASlowFileTakeNoDescriptors) {
    // Directories that share their numbers: many large parts come soon, from many workers at once.
    constexpr std::uint32_t kDirectories = 40;
    constexpr std::uint32_t kSize = 2 + 12 + 4;
    constexpr std::uint32_t kValues = 3000;
    std::string bytes("II*\0\x8\0\0\0", 8);
    const auto put = [&bytes](std::uint32_t number, std::size_t width) {
        for (std::size_t at = 0; at < width; ++at) {
            bytes.push_back(static_cast<char>(number >> (8 * at) & 0xFF));
        }
    };
    for (std::uint32_t index = 1; index <= kDirectories; ++index) {
        put(1, 2);
        put(50000, 2);
        put(4, 2);
        put(kValues, 4);
        put(8 + kDirectories * kSize, 4);
        put(index < kDirectories ? 8 + index * kSize : 0, 4);
    }
    for (std::uint32_t value = 0; value < kValues; ++value) {
        put(1234567890, 4);
    }
    programfiles::write(in("000.tif"), programfiles::endlessImage());
    fixture::writeFile(in("100.tif"), bytes);
    constexpr int kFiles = 300;
    for (int number = 101; number < 100 + kFiles; ++number) {
        fs::create_hard_link(in("100.tif"), in(std::to_string(number) + ".tif"));
    }
    for (const char* const jobs : {"8", "64"}) {
        Launch launch = launchOf(jobs);
        launch.arguments.insert(
            launch.arguments.end(),
            {"--read-budget", "unlimited", "--value-budget", "unlimited", "--timeout", "15"});
        launch.prepare = [] { limit(RLIMIT_NOFILE, 256); };
        Running program = start(launch);
        const pid_t slow = awaitReaderOf(program.process(), "000.tif");
        // Behind it the others are read, until only its worker has anything to do: nothing more,
        // or its memory would be spent.
        sendTo(slow, SIGSTOP);
        std::this_thread::sleep_for(std::chrono::seconds(5));
        sendTo(slow, SIGKILL);
        const Ending given = endingOf(program.wait());
        EXPECT_NE(given.error.find("300 files read, 1 failed"), std::string::npos)
            << jobs << given.error.substr(0, 1000);
    }
}

TEST_F(Exhaustion, ASoftLimitOfDescriptorsIsRaised) {
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    Launch launch;
    launch.arguments = unlimited({"--jobs", "1", "slow.tif"});
    launch.prepare = [] {
        const rlimit both{100, 300};
        ::setrlimit(RLIMIT_NOFILE, &both);
    };
    Running program = start(launch);
    EXPECT_TRUE(comesTrue([&] {
        rlimit now{};
        return ::prlimit(program.process(), RLIMIT_NOFILE, nullptr, &now) == 0 &&
               now.rlim_cur == 300;
    }));
}

TEST_F(Exhaustion, OneProcessToSpareIsEnough) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs a user without other processes, so rights to become one";
    }
    programfiles::writeMany(in(""), 20);
    fs::permissions(folder, fs::perms::all);
    fs::permissions(folder / "in", fs::perms::all);
    fs::permissions(folder / "tmp", fs::perms::all);
    for (const auto& [most, fails] : {std::pair<rlim_t, bool>{1, true}, {2, false}, {3, false}}) {
        Launch launch = launchOf("4");
        launch.prepare = [most = most] {
            const auto user = static_cast<uid_t>(60000 + ::getpid() % 1000);
            if (::setgroups(0, nullptr) != 0 || ::setresgid(user, user, user) != 0) {
                ::_exit(126);
            }
            limit(RLIMIT_NPROC, most);
            if (::setresuid(user, user, user) != 0) {
                ::_exit(126);
            }
        };
        for (const std::string& name : names()) {
            fs::permissions(in(name), fs::perms::all);
        }
        const Ending given = run(launch);
        expectAll(given, 20);
        EXPECT_EQ(given.error.find("(noWorker)") != std::string::npos, fails)
            << most << given.error;
    }
}

TEST_F(Exhaustion, LittleAddressSpaceCostsFiles) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs all address space";
    }
    writeLarge(10);
    for (const rlim_t most : {rlim_t{48}, rlim_t{64}, rlim_t{128}}) {
        Launch launch = launchOf("2");
        launch.prepare = [most] { limit(RLIMIT_AS, most << 20); };
        expectAll(run(launch), 10);
    }
}

TEST_F(Exhaustion, WithoutRoomForTemporaryFilesLargePartsFail) {
    writeLarge(5);
    programfiles::write(in("small.tif"), programfiles::image(7));
    Launch launch = launchOf("2");
    launch.prepare = [] { ::setenv("TMPDIR", "/no/such/folder", 1); };
    const Ending given = run(launch);
    expectAll(given, 6);
    EXPECT_NE(given.error.find("1 file read, 5 failed"), std::string::npos) << given.error;
    EXPECT_NE(given.error.find("cannot make a temporary file in /no/such/folder"),
              std::string::npos)
        << given.error;
    launch.prepare = [] { limit(RLIMIT_FSIZE, rlim_t{3} << 20); };
    launch.out = "/dev/null";
    EXPECT_EQ(run(launch).status, 0);
}

TEST_F(Exhaustion, AStoppedWorkerIsEnded) {
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    programfiles::write(in("a.tif"), programfiles::image(7));
    Launch launch;
    launch.arguments = unlimited({"--jobs", "1", "--timeout", "1", "slow.tif", "a.tif"});
    Running program = start(launch);
    const pid_t reader = awaitReaderOf(program.process(), "slow.tif");
    sendTo(reader, SIGSTOP);
    const Ending given = endingOf(program.wait());
    EXPECT_EQ(given.error,
              "ifdsweep: slow.tif: not finished within 1 s, the limit of --timeout "
              "(timeout)\n"
              "ifdsweep: 1 file read, 1 failed, 1 directory\n");
}

TEST_F(Exhaustion, WhatTheParentIgnoresIsItsOwn) {
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    programfiles::write(in("a.tif"), programfiles::image(7));
    Launch launch;
    launch.arguments = unlimited({"--jobs", "1", "slow.tif", "a.tif"});
    launch.prepare = [] {
        ::signal(SIGCHLD, SIG_IGN);
        ::signal(SIGINT, SIG_IGN);
    };
    Running program = start(launch);
    const pid_t reader = awaitReaderOf(program.process(), "slow.tif");
    sendTo(reader, SIGKILL);
    const Ending given = endingOf(program.wait());
    EXPECT_EQ(linesOf(given.error)[0],
              "ifdsweep: slow.tif: the process that read the file ended: signal 9 (Killed) "
              "(workerDied)");
}

TEST_F(Exhaustion, AWorkerHasWhatItIsGivenAndNoMore) {
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    Launch launch;
    launch.arguments = unlimited({"--jobs", "2", "slow.tif", "slow.tif", "--output", "table"});
    launch.prepare = [] {
        if (::dup2(1, 77) < 0) {  // what a careless parent leaves open
            ::_exit(126);
        }
    };
    Running program = start(launch);
    pid_t reader = -1;
    ASSERT_TRUE(comesTrue([&] {
        reader = readerOf(program.process(), "slow.tif");
        return reader > 0 && childrenOf(program.process()).size() == 2;
    }));
    std::vector<std::string> open;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(reader) + "/fd")) {
        std::error_code error;
        const std::string target = fs::read_symlink(entry.path(), error).string();
        open.push_back(target.substr(0, target.find_first_of(":(")));
    }
    std::sort(open.begin(), open.end());
    open.erase(std::unique(open.begin(), open.end()), open.end());
    std::erase(open, (folder / "error").string());  // kept where a sanitizer writes to it
    std::vector<std::string> expected{in("slow.tif").string(), "/memfd", "pipe", "socket"};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(open, expected);
    const std::string command = fixture::readFile("/proc/" + std::to_string(reader) + "/cmdline");
    EXPECT_EQ(command, std::string("ifdsweep\0--worker-process\0", 26));
}

TEST_F(Exhaustion, AWorkerIsNothingForUsers) {
    const Ending given = run(std::vector<std::string>{"--worker-process"});
    EXPECT_EQ(given.status, 2);
    EXPECT_EQ(given.error,
              "ifdsweep: --worker-process is how the program starts its own processes\n");
    EXPECT_EQ(given.out, "");
}

TEST_F(Exhaustion, ASlowFileKeepsNobodyWaiting) {
    constexpr int kSmall = 20000;
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    programfiles::write(in("a.tif"), programfiles::image(7));
    programfiles::write(in("last.tif"), programfiles::endlessImage());
    std::string list = "slow.tif\n";
    for (int number = 0; number < kSmall; ++number) {
        list += "a.tif\n";
    }
    list += "last.tif\n";
    fixture::writeFile(in("list"), list);
    Launch launch;
    launch.arguments = unlimited({"--jobs", "2", "--files-from", "list", "--format", "ndjson"});
    Running program = start(launch);
    // The last file is begun while the first is still read: all between have been read, and wait.
    pid_t slow = -1;
    pid_t last = -1;
    EXPECT_TRUE(comesTrue([&] {
        slow = readerOf(program.process(), "slow.tif");
        last = readerOf(program.process(), "last.tif");
        return slow > 0 && last > 0;
    }));
    EXPECT_EQ(fixture::readFile(folder / "out"), "");
    const std::size_t memory = ownMemoryOf(program.process());
    EXPECT_GT(memory, 0U);
    EXPECT_LT(memory, std::size_t{96} << 20);
    sendTo(slow, SIGKILL);
    sendTo(last, SIGKILL);
    const Ending given = endingOf(program.wait());
    const std::vector<std::string> lines = linesOf(given.out);
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(kSmall + 2));
    EXPECT_EQ(lines.front().find(R"({"file":"slow.tif")"), 0U);
    EXPECT_EQ(lines.back().find(R"({"file":"last.tif")"), 0U);
    EXPECT_TRUE(std::all_of(lines.begin() + 1, lines.end() - 1,
                            [&](const std::string& line) { return line == lines[1]; }));
}

}  // namespace
