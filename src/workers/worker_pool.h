#pragma once

// Worker pool: the worker processes as seen from the main one. Files go in with a number and come
// back in any order, each exactly once: with what a worker made of it, or with the reason why none
// did. Nothing that a worker says is believed: one that ends, takes too long or answers what was
// not asked costs the file that it was reading; what else was waiting for it goes to another. One
// that cannot be ended is left behind. Where no process can be started, files fail.
//
// Ownership: owns its processes, which end with it. Threads: one at a time, which lives as long as
// the pool; the process may have others.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <poll.h>
#include <sys/types.h>

#include "ifdsweep/qx.h"
#include "io/descriptor.h"
#include "io/descriptor_passing.h"
#include "walk/input_file.h"
#include "workers/file_part.h"
#include "workers/file_report.h"
#include "workers/file_task.h"
#include "workers/worker_limits.h"
#include "workers/worker_messages.h"
#include "workers/worker_process.h"
#include "write/output_choice.h"

namespace ifdsweep {

/// What became of a submitted file.
struct WorkerAnswer {
    std::uint64_t number = 0;
    FileReport report;
    FilePart part;
    std::optional<qxMessage> failure;  ///< why there is no report and no part
};

/// A file that a worker is reading.
struct FileBeingRead {
    std::uint64_t number = 0;
    std::int64_t began = 0;  ///< steady nanoseconds
};

struct WorkerPoolSettings {
    std::string program = ownProgram();  ///< what is started as a worker
    std::size_t workers = 1;             ///< most at a time, made as they are needed; at least 1
    WorkerLimits limits{};
    Colour colour = Colour::off;
    int standardInput = -1;  ///< as in FileTask
    /// Ends a process at once.
    std::function<void(pid_t)> end = endProcess;
    /// How long an ended process may stay before it is left behind.
    std::chrono::nanoseconds grace = std::chrono::seconds(2);

    static void endProcess(pid_t process);
};

class WorkerPool {
public:
    /// @param taskOptions what the workers read and how they write it
    WorkerPool(const TaskOptions& taskOptions, WorkerPoolSettings poolSettings);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Whether a file can be submitted now.
    [[nodiscard]] bool hasRoom() const;

    /// Gives a file to a worker. The caller numbers files, each with a number of its own.
    void submit(std::uint64_t number, const InputFile& file);

    /// Waits until an answer or something else has come, or the time is over.
    /// @param others descriptors of the caller's that end the waiting too
    [[nodiscard]] std::vector<WorkerAnswer> wait(std::chrono::milliseconds most,
                                                 const std::vector<int>& others);

    /// The file that has been read for longest; nothing when none is read for so long.
    [[nodiscard]] std::optional<FileBeingRead> longestRead(std::chrono::nanoseconds atLeast) const;

private:
    struct Request {
        std::uint64_t number = 0;
        InputFile file;
        /// What it is called between its process and us: how many that one was asked, with it. A
        /// file may come to the same process twice, and is then two requests.
        std::uint64_t place = 0;
        bool wasTried = false;  ///< a worker ended before it read this or another file
    };

    /// One place for a process, and what is between it and the main one.
    struct Worker {
        std::optional<WorkerProcess> process;
        std::deque<Request> requests;  ///< sent and not answered
        std::uint64_t takenBack = 0;   ///< place of the last request that may go without an answer
        std::uint64_t answered = 0;    ///< place of the last answer
        std::uint64_t sent = 0;        ///< requests to this process
        std::string outgoing;          ///< not sent yet
        std::string incoming;          ///< not yet a whole answer
        std::optional<Descriptor> incomingFile;  ///< not open when there was no room for it
        std::size_t depth = 0;                   ///< most requests at a time
        bool isFilling = true;        ///< gets requests: from half the depth on, up to all of it
        std::int64_t lastAnswer = 0;  ///< steady nanoseconds
        std::int64_t silence = 0;     ///< nanoseconds that we waited for an answer and got none
        std::int64_t ended = 0;       ///< when the time limit ended it; 0: it did not
    };

    [[nodiscard]] Worker* roomiest();
    [[nodiscard]] bool anyRuns() const;
    /// The request that a worker says it is reading, with its place for a number.
    [[nodiscard]] static std::optional<FileBeingRead> readBy(const Worker& worker);
    [[nodiscard]] static std::deque<Request>::iterator find(
        std::deque<Request>& requests, const std::optional<FileBeingRead>& read);
    [[nodiscard]] std::int64_t deadlineOf(const Worker& worker, std::int64_t now) const;
    void assign();
    [[nodiscard]] bool start(Worker& worker);
    void send(Worker& worker, Request request);
    static void sendOutgoing(Worker& worker);
    void receive(Worker& worker);
    [[nodiscard]] bool takeReceived(Worker& worker, Received& received);
    [[nodiscard]] bool takeAnswers(Worker& worker, std::string_view bytes);
    [[nodiscard]] bool takeAnswer(Worker& worker, std::string_view message);
    void noteAnswers(Worker& worker, std::size_t count) const;
    void fail(std::uint64_t number, qxMessage failure);
    void replace(Worker& worker, const char* lie = nullptr);
    void retire(Worker& worker, const qxMessage& failure, bool blamesFirst);
    void endLateOnes();
    void takeBack();
    void failPending();
    [[nodiscard]] std::chrono::milliseconds untilNextEvent(std::chrono::milliseconds most) const;

    const WorkerPoolSettings settings;
    std::string setup;       ///< packed
    std::int64_t timeLimit;  ///< nanoseconds
    std::vector<Worker> workers;
    std::deque<Request> pending;        ///< with no worker yet
    std::vector<WorkerAnswer> answers;  ///< not given to the caller yet
    std::size_t filesTaken = 0;         ///< with these answers
    std::vector<pid_t> leftBehind;      ///< processes that would not end
    std::int64_t startAgain = 0;        ///< when a process may be started after one could not be
    int failedStarts = 0;               ///< since the last that did not fail
    std::string startFailure;           ///< why the last one failed
    std::vector<pollfd> polled;
    std::vector<char> received;
};

}  // namespace ifdsweep
