#pragma once

// Worker process: one process of the pool as the main process has it: how it is started, spoken to
// and ended. A worker is a program started anew, so nothing of this process's memory, threads and
// descriptors is in it but what it is given.
//
// Ownership: owns the socket and the shared state; the process itself is ended by whoever has this.
// Threads: one at a time. The process ends with the thread that started it.

#include <chrono>
#include <optional>
#include <string>

#include <sys/types.h>

#include "io/descriptor.h"
#include "io/shared_memory.h"
#include "workers/worker.h"

namespace ifdsweep {

/// This program, to be started again: also from where there is no /proc.
[[nodiscard]] std::string ownProgram();

class WorkerProcess {
public:
    /// Starts a process.
    /// @param setup         the packed first message; the rest of what is sent follows it
    /// @param standardInput a file that goes with it; -1 for none
    /// Throws RunFailure, and leaves nothing behind.
    WorkerProcess(const std::string& program, const std::string& setup, int standardInput);

    [[nodiscard]] pid_t id() const { return process; }
    [[nodiscard]] int socket() const { return ownEnd.get(); }
    [[nodiscard]] WorkerState& state() const { return *shared.first; }

    /// Lets the process end by itself, when it has nothing more to do.
    void hangUp() { ownEnd.reset(); }

private:
    void start(const std::string& program, int workerEnd);

    Descriptor ownEnd;
    std::pair<SharedMemory<WorkerState>, Descriptor> shared;  ///< the file until it is sent
    pid_t process = -1;
};

/// Waits for the end of a child, though not for ever: a process whose file system has stopped
/// answering cannot be ended.
/// @return its status; nothing when it has not ended
[[nodiscard]] std::optional<int> waitForEnd(pid_t process, std::chrono::nanoseconds most);

}  // namespace ifdsweep
