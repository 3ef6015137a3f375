#pragma once

// Worker: the loop of a worker process. It takes files from a socket and answers each with its
// report and its part of the output; a part that lies in a temporary file is handed over as such.
//
// A worker is this program, started with `kWorkerCommand`; the socket is its standard input. What
// it is to do comes as the first message (worker_messages.h), with the file of its WorkerState and,
// when the standard input of the program is to be read, with a file of those bytes.
//
// Ownership: the process is the worker's. Threads: the process's first one; a second sends answers.

#include <atomic>
#include <cstdint>

namespace ifdsweep {

/// The command line of a worker, which is for the program itself alone.
inline constexpr const char* kWorkerCommand = "--worker-process";

/// What a worker and the main process let each other see without being asked.
struct WorkerState {
    static constexpr std::uint64_t kNoFile = ~std::uint64_t{0};

    std::atomic<std::uint64_t> file{kNoFile};  ///< number of the file that is being read
    std::atomic<std::int64_t> began{0};        ///< when, in nanoseconds of the steady clock
    /// The main process's: of the requests since the start, so many need not be answered if they
    /// are not begun yet.
    std::atomic<std::uint64_t> takenBack{0};

    static_assert(std::atomic<std::uint64_t>::is_always_lock_free,
                  "a lock would be of one process alone");
};

/// Nanoseconds of the steady clock, which all processes share.
[[nodiscard]] std::int64_t steadyNanoseconds();

/// Answers requests until the socket ends.
/// @return the exit status of the process
[[nodiscard]] int runWorker();

}  // namespace ifdsweep
