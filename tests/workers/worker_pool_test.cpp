// The worker pool beside workers that die, lie, hang or cannot be ended: each file comes back once,
// and the pool ends.

#include "workers/worker_pool.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "program/program_files.h"
#include "program/program_run.h"
#include "read/messages.h"
#include "support/temporary_folder.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

ifdsweep::InputFile file(std::string path) {
    ifdsweep::InputFile input;
    input.path = std::move(path);
    return input;
}

class WorkerPools : public testing::Test {
protected:
    WorkerPools() {
        settings.program = IFDSWEEP_LYING_WORKER;
        settings.workers = 2;
        settings.limits = {30, std::uint64_t{8} << 30};
    }
    ~WorkerPools() override {
        ::unsetenv("LIE");
        ::unsetenv("LIE_FILE");
    }

    void lie(const char* how) { ::setenv("LIE", how, 1); }

    /// Gives files to a pool until all have come back.
    void runFiles(ifdsweep::WorkerPool& pool, std::uint64_t count) {
        const auto end = steady_clock::now() + std::chrono::seconds(60);
        std::uint64_t next = 0;
        while (answers.size() < count) {
            ASSERT_LT(steady_clock::now(), end) << answers.size();
            while (next < count && pool.hasRoom()) {
                pool.submit(next, file(std::to_string(next)));
                ++next;
            }
            for (ifdsweep::WorkerAnswer& answer : pool.wait(milliseconds(100), {})) {
                const std::uint64_t number = answer.number;
                ASSERT_LT(number, count);
                ASSERT_TRUE(answers.emplace(number, std::move(answer)).second) << number;
            }
        }
    }

    /// The ids of the failures, with how many files had each; "" for none.
    [[nodiscard]] std::map<std::string, int> failures() const {
        std::map<std::string, int> counts;
        for (const auto& [number, answer] : answers) {
            ++counts[answer.failure ? std::string(answer.failure->id()) : ""];
        }
        return counts;
    }

    using Counts = std::map<std::string, int>;

    ifdsweep::TaskOptions task;
    ifdsweep::WorkerPoolSettings settings;
    std::map<std::uint64_t, ifdsweep::WorkerAnswer> answers;
};

TEST_F(WorkerPools, GoodWorkersAnswerAll) {
    lie("none");
    ifdsweep::WorkerPool pool(task, settings);
    runFiles(pool, 1000);
    EXPECT_EQ(failures(), (Counts{{"", 1000}}));
    for (const auto& [number, answer] : answers) {
        EXPECT_EQ(answer.part.bytes, std::to_string(number) + "\n");
    }
}

TEST_F(WorkerPools, WhatIsTakenBackComesOnceWhoeverReadsIt) {
    // A file may be taken from behind a slow one and come to the same worker again.
    lie("slow");
    settings.workers = 3;
    ifdsweep::WorkerPool pool(task, settings);
    runFiles(pool, 400);
    EXPECT_EQ(failures(), (Counts{{"", 400}}));
    for (const auto& [number, answer] : answers) {
        EXPECT_EQ(answer.part.bytes, std::to_string(number) + "\n");
    }
}

TEST_F(WorkerPools, AWorkerThatLiesIsADeadOne) {
    for (const char* const how :
         {"garbage", "number", "huge", "notAFile", "short", "noFile", "extraFile"}) {
        lie(how);
        answers.clear();
        ifdsweep::WorkerPool pool(task, settings);
        runFiles(pool, 20);
        EXPECT_EQ(failures(), (Counts{{ifdsweep::kWorkerDiedId, 20}})) << how;
    }
}

TEST_F(WorkerPools, WhatWasNotAskedIsNoAnswer) {
    // The answers to what was asked may have come before the lie was seen.
    for (const char* const how : {"unasked", "twice"}) {
        lie(how);
        answers.clear();
        ifdsweep::WorkerPool pool(task, settings);
        runFiles(pool, 20);
        const Counts counts = failures();
        EXPECT_EQ(answers.size(), 20U) << how;
        for (const auto& [id, count] : counts) {
            EXPECT_TRUE(id.empty() || id == ifdsweep::kWorkerDiedId) << id;
        }
    }
}

TEST_F(WorkerPools, WorkersThatCannotBeginAreNotBegunForEver) {
    for (const char* const how : {"exit", "dies"}) {
        lie(how);
        answers.clear();
        ifdsweep::WorkerPool pool(task, settings);
        runFiles(pool, 10);
        EXPECT_EQ(failures(), (Counts{{ifdsweep::kWorkerDiedId, 10}})) << how;
    }
}

TEST_F(WorkerPools, AWorkerThatWasReadingNothingCostsNoFile) {
    const fixture::TemporaryFolder folder;
    ::setenv("LIE_FILE", (folder.path() / "died").c_str(), 1);
    lie("once");
    ifdsweep::WorkerPool pool(task, settings);
    runFiles(pool, 10);
    EXPECT_EQ(failures(), (Counts{{"", 10}}));
}

TEST_F(WorkerPools, SilenceEndsWhateverAWorkerSaysOfItself) {
    for (const char* const how : {"silent", "stopped"}) {
        lie(how);
        answers.clear();
        settings.limits.timeout = 0.1;
        ifdsweep::WorkerPool pool(task, settings);
        runFiles(pool, 2);
        EXPECT_EQ(failures(), (Counts{{ifdsweep::kTimeoutId, 2}})) << how;
    }
}

TEST_F(WorkerPools, AProcessThatCannotBeEndedIsLeftBehind) {
    std::vector<pid_t> processes;
    settings.end = [&](pid_t process) { processes.push_back(process); };
    settings.grace = milliseconds(200);
    settings.limits.timeout = 2;  // enough for the process to start
    settings.workers = 1;
    lie("silent");
    const auto begin = steady_clock::now();
    {
        ifdsweep::WorkerPool pool(task, settings);
        runFiles(pool, 2);
        EXPECT_EQ(failures(), (Counts{{ifdsweep::kStuckId, 2}}));
        ASSERT_GE(processes.size(), 2U);
        // Of its two requests the worker says last that it reads the second.
        EXPECT_EQ(ifdsweep::messageText(*answers.at(1).failure),
                  "the process that reads the file cannot be ended: process " +
                      std::to_string(processes[0]) + ", not finished within 2 s");
        pool.submit(100, file("file"));
        EXPECT_TRUE(pool.wait(milliseconds(10), {}).empty());
    }
    // The end did not wait for any of them either, though they are all still there.
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(20));
    for (const pid_t process : processes) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
}

TEST_F(WorkerPools, WithoutAnyProcessFilesFail) {
    settings.program = "/no/such/program";
    ifdsweep::WorkerPool pool(task, settings);
    runFiles(pool, 100);
    EXPECT_EQ(failures(), (Counts{{ifdsweep::kNoWorkerId, 100}}));
    EXPECT_EQ(ifdsweep::messageText(*answers.at(5).failure),
              "no process can be started to read the file: No such file or directory");
}

TEST_F(WorkerPools, AProcessWithThreadsCanHaveAPool) {
    const fixture::TemporaryFolder folder;
    programfiles::write(folder.path() / "a.tif", programfiles::image(7));
    settings.program = IFDSWEEP_PROGRAM;
    task.output.format = ifdsweep::Format::ndjson;
    const auto readMany = [&](std::string& text) {
        ifdsweep::WorkerPool pool(task, settings);
        for (std::uint64_t number = 0; number < 50; ++number) {
            while (!pool.hasRoom()) {
                for (const auto& answer : pool.wait(milliseconds(100), {})) {
                    text += answer.part.bytes;
                }
            }
            pool.submit(number, file((folder.path() / "a.tif").string()));
        }
        for (int time = 0; time < 600 && std::count(text.begin(), text.end(), '\n') < 50; ++time) {
            for (const auto& answer : pool.wait(milliseconds(100), {})) {
                text += answer.part.bytes;
            }
        }
    };
    std::vector<std::string> texts(4);
    std::vector<std::thread> threads;
    for (std::string& text : texts) {
        threads.emplace_back(readMany, std::ref(text));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& text : texts) {
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 50);
        EXPECT_EQ(text, texts[0]);
    }
}

}  // namespace
