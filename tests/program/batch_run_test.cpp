// Many files through the built program: the same output for every number of jobs, one file's
// failure that costs no other, bounded memory, results as they come.

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "io/sanitized.h"
#include "program/program_files.h"
#include "program/program_run.h"
#include "support/tiff_builder.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using namespace programrun;

std::vector<std::string> operator+(std::vector<std::string> left,
                                   const std::vector<std::string>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

class BatchRuns : public ProgramRun {
protected:
    /// Ends the worker that reads a file, as often as one does.
    void endReaderOf(const Running& program, const std::string& fileName, int times) const {
        for (int time = 0; time < times; ++time) {
            const pid_t reader = awaitReaderOf(program.process(), fileName);
            sendTo(reader, SIGKILL);
            ASSERT_TRUE(comesTrue([&] { return !isRunning(reader); }));
        }
    }
};

TEST_F(BatchRuns, TheNumberOfJobsChangesNoByte) {
    fs::create_directories(in("many/folder"));
    programfiles::writeMany(in("many"), 100);
    programfiles::writeMany(in("many/folder"), 100);
    const std::vector<std::vector<std::string>> formats{
        {"--format", "text"},
        {"--format", "json"},
        {"--format", "json", "--pretty"},
        {"--format", "json", "--compact"},
        {"--format", "ndjson"},
        {"--format", "typed"},
        {"--format", "csv"},
        {"--format", "csv", "--nested", "--tags", "Width,ExposureTime,50000"},
        {"--format", "csv", "--tags", "Width,ExposureTime,50000"},
        {"--format", "csv", "--rows", "file"},
        {"--format", "csv", "--layout", "images"},
        {"--format", "text", "--warnings", "count"}};
    for (const auto& format : formats) {
        const Ending one = run(format + std::vector<std::string>{"--jobs", "1", "many", "none"});
        EXPECT_EQ(one.status, 1);
        EXPECT_GT(one.out.size(), 2000U);
        for (const char* const jobs : {"2", "16"}) {
            const Ending more =
                run(format + std::vector<std::string>{"--jobs", jobs, "many", "none"});
            EXPECT_EQ(more.out, one.out) << testing::PrintToString(format) << jobs;
            EXPECT_EQ(more.error, one.error) << testing::PrintToString(format) << jobs;
            EXPECT_EQ(more.status, one.status);
        }
    }
}

TEST_F(BatchRuns, ABatchWritesWhatEachFileAloneWould) {
    programfiles::writeMany(in(""), 32);
    std::string alone;
    for (const std::string& name : names()) {
        alone += run({"--format", "typed", name}).out;
    }
    EXPECT_EQ(run(std::vector<std::string>{"--format", "typed", "--jobs", "3"} + names()).out,
              alone);
}

TEST_F(BatchRuns, LargePartsKeepTheirPlace) {
    // Each is more than is kept in memory, and small ones stand between them.
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    std::vector<std::int64_t> numbers(300000);
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        numbers[index] = static_cast<std::int64_t>(index);
    }
    builder.add(fixture::Directory{fixture::longs(50000, numbers)});
    const fixture::Bytes large = builder.build().bytes;
    std::vector<std::string> files;
    for (int number = 0; number < 12; ++number) {
        files.push_back(std::to_string(number) + ".tif");
        programfiles::write(in(files.back()), number % 3 == 1 ? large : programfiles::image(7));
    }
    const std::vector<std::string> format{"--format", "ndjson"};
    std::string alone;
    for (const std::string& file : files) {
        alone += run(format + std::vector<std::string>{file}).out;
    }
    EXPECT_GT(alone.size(), 4U * 1024 * 1024);
    EXPECT_EQ(run(format + std::vector<std::string>{"--jobs", "3"} + files).out, alone);
}

TEST_F(BatchRuns, MoreFilesTakeNoMoreMemory) {
    fs::create_directory(in("many"));
    constexpr std::ptrdiff_t kFew = 3000;  // enough to fill the buffers, which are kept
    constexpr std::ptrdiff_t kMany = 8000;
    programfiles::writeMany(in("many"), kMany);
    std::string paths;
    for (const auto& entry : fs::directory_iterator(in("many"))) {
        paths += "many/" + entry.path().filename().string() + '\n';
    }
    ASSERT_EQ(::mkfifo((folder / "list").c_str(), 0600), 0);
    Launch launch;
    // One worker: of two, one may be kept waiting by the system, and what the other reads meanwhile
    // waits in memory, as it should.
    launch.arguments = {"--format",     "ndjson", "--jobs",     "1",
                        "--files-from", "-",      "--failures", "failed"};
    launch.input = folder / "list";
    // A sanitizer would keep what was freed.
    launch.prepare = [] { ::setenv("ASAN_OPTIONS", "quarantine_size_mb=0", 1); };
    Running program = start(launch);
    const int list = ::open(launch.input.c_str(), O_WRONLY | O_CLOEXEC);
    // The list comes in two parts, and the program is looked at behind each.
    std::size_t begin = 0;
    const auto memoryBehind = [&](std::ptrdiff_t files) {
        std::size_t end = begin;
        for (auto left =
                 files - std::count(paths.begin(),
                                    paths.begin() + static_cast<std::ptrdiff_t>(begin), '\n');
             left > 0; --left) {
            end = paths.find('\n', end) + 1;
        }
        const std::string part = paths.substr(begin, end - begin);
        for (std::size_t written = 0; written < part.size();) {
            const ssize_t count = ::write(list, part.data() + written, part.size() - written);
            if (count < 0) {
                return std::size_t{0};
            }
            written += static_cast<std::size_t>(count);
        }
        begin = end;
        EXPECT_TRUE(comesTrue([&] {
            const std::string out = endingOf(0).out;
            return std::count(out.begin(), out.end(), '\n') == files;
        }));
        return ownMemoryOf(program.process());
    };
    const std::size_t few = memoryBehind(kFew);
    const std::size_t many = memoryBehind(kMany);
    ::close(list);
    EXPECT_EQ(program.wait(), 1);
    ASSERT_GT(few, 0U);
    EXPECT_LT(many, few + std::size_t{512} * 1024);  // about 100 bytes of each file
    EXPECT_EQ(linesOf(fixture::readFile(in("failed"))).size(), 500U);
}

TEST_F(BatchRuns, AWorkerThatDiesCostsItsFileAlone) {
    programfiles::writeMany(in(""), 12);
    programfiles::write(in("00005a.tif"), programfiles::endlessImage());
    const std::vector<std::string> files = names();
    for (const char* const jobs : {"1", "3"}) {
        Launch launch;
        launch.arguments = unlimited({"--format", "ndjson", "--jobs", jobs}) + files;
        Running program = start(launch);
        endReaderOf(program, "00005a.tif", 1);
        const Ending given = endingOf(program.wait());
        EXPECT_EQ(given.status, 1);
        const auto lines = linesOf(given.out);
        ASSERT_EQ(lines.size(), files.size()) << given.error;
        for (std::size_t index = 0; index < files.size(); ++index) {
            const auto file = nlohmann::json::parse(lines[index]);
            EXPECT_EQ(file["file"], files[index]);
            if (files[index] == "00005a.tif") {
                EXPECT_EQ(file["error"]["id"], "ifdsweep:workerDied");
            } else {
                EXPECT_TRUE(file["error"].is_null()) << file;
            }
        }
        EXPECT_EQ(linesOf(given.error)[0],
                  "ifdsweep: 00005a.tif: the process that read the file ended: signal 9 (Killed) "
                  "(workerDied)");
        EXPECT_EQ(std::count(given.error.begin(), given.error.end(), '\n'), 4) << given.error;
    }
}

TEST_F(BatchRuns, WhatWaitsOutlivesItsWorker) {
    // Behind a file that takes for ever, a worker makes much that has to wait, and ends.
    constexpr std::size_t kKinds = 7;
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    std::string once;
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
        fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
        builder.add(fixture::Directory{
            fixture::longs(50000, std::vector<std::int64_t>(1000 * (kind + 1), 12345))});
        const std::string name = std::to_string(kind) + ".tif";
        programfiles::write(in(name), builder.build().bytes);
        once += run({"--format", "ndjson", name}).out;
    }
    std::vector<std::string> files{"slow.tif"};
    std::string alone;
    for (int time = 0; time < 30; ++time) {
        for (std::size_t kind = 0; kind < kKinds; ++kind) {
            files.push_back(std::to_string(kind) + ".tif");
        }
        alone += once;
    }
    ASSERT_GT(alone.size(), std::size_t{2} << 20);

    Launch launch;
    launch.arguments = unlimited({"--format", "ndjson", "--jobs", "2", "--timeout", "2"}) + files;
    Running program = start(launch);
    pid_t slow = -1;
    pid_t other = -1;
    ASSERT_TRUE(comesTrue([&] {
        slow = readerOf(program.process(), "slow.tif");
        const auto workers = childrenOf(program.process());
        const auto found = std::find_if(workers.begin(), workers.end(),
                                        [&](pid_t worker) { return worker != slow; });
        other = found == workers.end() ? -1 : *found;
        return slow > 0 && other > 0;
    }));
    sendTo(other, SIGKILL);
    const Ending given = endingOf(program.wait());
    EXPECT_EQ(given.status, 1);
    const std::vector<std::string> lines = linesOf(given.out);
    const std::vector<std::string> expected = linesOf(alone);
    ASSERT_EQ(lines.size(), expected.size() + 1);
    EXPECT_NE(lines[0].find("ifdsweep:timeout"), std::string::npos);
    int died = 0;
    for (std::size_t index = 0; index < expected.size(); ++index) {
        if (lines[index + 1] != expected[index]) {
            ++died;  // the file that the worker was reading, if it was
            EXPECT_NE(lines[index + 1].find("ifdsweep:workerDied"), std::string::npos) << index;
        }
    }
    EXPECT_LE(died, 1);
}

TEST_F(BatchRuns, EveryReaderOfABadFileMayDie) {
    programfiles::write(in("a.tif"), programfiles::endlessImage());
    programfiles::write(in("b.tif"), programfiles::endlessImage());
    programfiles::write(in("c.tif"), programfiles::image(7));
    Launch launch;
    launch.arguments = unlimited({"--jobs", "1", "a.tif", "b.tif", "a.tif", "c.tif"});
    Running program = start(launch);
    endReaderOf(program, "a.tif", 1);
    endReaderOf(program, "b.tif", 1);
    endReaderOf(program, "a.tif", 1);
    const Ending given = endingOf(program.wait());
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(given.out.find("c.tif\n"), 0U);
    EXPECT_EQ(linesOf(given.error).back(), "ifdsweep: 1 file read, 3 failed, 1 directory");
}

TEST_F(BatchRuns, TheTimeLimitCostsOneFile) {
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    programfiles::write(in("a.tif"), programfiles::image(7));
    // Long enough for the good files however busy the machine is.
    const Ending given = run(unlimited({"--timeout", "5", "a.tif", "slow.tif", "a.tif"}));
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(given.error,
              "ifdsweep: slow.tif: not finished within 5 s, the limit of --timeout "
              "(timeout)\n"
              "ifdsweep: 2 files read, 1 failed, 2 directories\n");
    EXPECT_EQ(std::count(given.out.begin(), given.out.end(), '\n') % 2,
              1);  // two and a line between
    const Ending alone = run(unlimited({"--timeout", "0.125", "slow.tif"}));
    EXPECT_EQ(alone.status, 1);
    EXPECT_EQ(alone.error,
              "ifdsweep: slow.tif: not finished within 0.125 s, the limit of --timeout "
              "(timeout)\n");
}

TEST_F(BatchRuns, TheMemoryLimitCostsOneFile) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs all address space";
    }
    programfiles::writeLarge(in("large.tif"));
    programfiles::write(in("a.tif"), programfiles::image(7));
    const std::vector<std::string> files{"a.tif", "large.tif", "a.tif"};
    const Ending given =
        run(std::vector<std::string>{"--memory", "150000000", "--max-value", "all"} + files);
    EXPECT_EQ(given.status, 1);
    EXPECT_EQ(given.error,
              "ifdsweep: large.tif: out of memory: the limit is 150000000 bytes (--memory) "
              "(outOfMemory)\n"
              "ifdsweep: 2 files read, 1 failed, 2 directories\n");
    // So little that no worker gets far: every file fails, and the run ends.
    const Ending none = run(std::vector<std::string>{"--memory", "1"} + files);
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(linesOf(none.error).back(), "ifdsweep: 0 files read, 3 failed, 0 directories");
    EXPECT_EQ(none.out, "");
}

TEST_F(BatchRuns, MoreJobsThanDescriptorsAreFewerJobs) {
    programfiles::writeMany(in(""), 64);
    Launch launch;
    launch.arguments = std::vector<std::string>{"--format", "ndjson", "--jobs", "1024"} + names();
    launch.prepare = [] {
        const rlimit limit{224, 224};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    };
    const Ending given = run(launch);
    EXPECT_EQ(linesOf(given.out).size(), 64U) << given.error;
    EXPECT_NE(given.error.find("ifdsweep: 60 files read, 4 failed"), std::string::npos)
        << given.error;
}

TEST_F(BatchRuns, ResultsAreSeenAsTheyCome) {
    programfiles::write(in("a.tif"), programfiles::image(7));
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    const fs::path pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int reading = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    Launch launch;
    launch.arguments = unlimited({"--format", "ndjson", "--jobs", "1", "a.tif", "slow.tif"});
    launch.out = pipe;
    Running program = start(launch);
    std::string seen;
    EXPECT_TRUE(comesTrue([&] {
        char piece[4096];
        const ssize_t got = ::read(reading, piece, sizeof piece);
        seen.append(piece, got > 0 ? static_cast<std::size_t>(got) : 0);
        return seen.ends_with('\n');
    }));
    EXPECT_EQ(seen.find(R"({"file":"a.tif")"), 0U);
    ::close(reading);
    program.send(SIGINT);
    EXPECT_EQ(program.wait(), 130);
}

TEST_F(BatchRuns, WorkersEndWithTheProgram) {
    programfiles::write(in("slow.tif"), programfiles::endlessImage());
    Launch launch;
    launch.arguments = unlimited({"--jobs", "2", "slow.tif", "slow.tif"});
    Running program = start(launch);
    std::vector<pid_t> workers;
    ASSERT_TRUE(comesTrue([&] {
        workers = childrenOf(program.process());
        return workers.size() == 2;
    }));
    program.send(SIGKILL);
    EXPECT_EQ(program.wait(), 128 + SIGKILL);
    EXPECT_TRUE(comesTrue([&] { return std::none_of(workers.begin(), workers.end(), isRunning); }));
}

}  // namespace
