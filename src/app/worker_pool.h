#pragma once

// Worker pool: the worker processes as seen from the main one. Files go in with a number and come
// back in any order, each exactly once: with what a worker made of it, or with the reason why the
// worker did not. A worker that ends or takes too long costs the file that it was reading; what
// else was waiting for it goes to another.
//
// Ownership: owns its processes, which end with it. Threads: one at a time, and no other thread in
// the process while files are submitted.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <poll.h>
#include <sys/types.h>

#include "app/arguments.h"
#include "app/descriptor.h"
#include "app/file_part.h"
#include "app/file_report.h"
#include "app/input_file.h"
#include "app/result_writer.h"
#include "app/shared_memory.h"
#include "app/worker.h"
#include "gateway/qx.h"

namespace app {

/// What became of a submitted file.
struct WorkerAnswer {
    std::uint64_t number = 0;
    FileReport report;
    FilePart part;
    std::optional<qxMessage> failure;  ///< why there is no report and no part
};

class WorkerPool {
public:
    /// @param mostWorkers   processes at a time, made as they are needed; at least 1
    /// @param standardInput as in FileSweeper
    WorkerPool(const Arguments& programArguments, Colour outputColour, int standardInputFile,
               std::size_t mostWorkers);
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

private:
    struct Request {
        std::uint64_t number;
        std::string packed;
    };

    struct Process {
        pid_t id = -1;
        Descriptor socket;
        std::deque<Request> requests;  ///< sent and not answered
        std::string outgoing;          ///< not sent yet
        std::string incoming;          ///< not yet a whole answer
        std::deque<Descriptor> incomingFiles;
        std::size_t depth = 0;        ///< most requests at a time
        bool isFilling = true;        ///< gets requests: from half the depth on, up to all of it
        std::int64_t lastAnswer = 0;  ///< steady nanoseconds
        bool isLate = false;          ///< ended by the time limit
    };

    [[nodiscard]] std::size_t roomiest() const;
    void start(std::size_t index);
    void send(std::size_t index, Request request);
    static void sendOutgoing(Process& process);
    void receive(std::size_t index, std::vector<WorkerAnswer>& answers);
    static void takeAnswers(Process& process, std::string_view bytes,
                            std::vector<WorkerAnswer>& answers);
    [[nodiscard]] static WorkerAnswer unpackAnswer(Process& process, std::string_view body);
    void replace(std::size_t index, std::vector<WorkerAnswer>& answers);
    void endLateOnes();
    [[nodiscard]] std::chrono::milliseconds untilNextDeadline(std::chrono::milliseconds most) const;

    const Arguments& arguments;
    Colour colour;
    int standardInput;
    std::int64_t timeLimit;            ///< nanoseconds
    SharedMemory<WorkerState> states;  ///< by process
    std::vector<Process> processes;
    std::vector<pollfd> polled;
    std::vector<char> received;
};

}  // namespace app
