#pragma once

// Read limits: what one named file may take, which is read in the program's own process: memory and
// time, as a file among many may. They hold for the reading, before anything is printed.
//
// Ownership: one of each at a time in a process; what was there before comes back with their end.
// Threads: the one that reads; another takes no signals.

#include <ctime>
#include <string>

#include <sys/resource.h>

#include "workers/worker_limits.h"

namespace ifdsweep {

/// Holds the process to an amount of address space. Without one given it asks the machine, when a
/// file turns out to need much; small files do not wait for that.
class MemoryLimit {
public:
    explicit MemoryLimit(const WorkerChoice& choice);
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

private:
    rlimit before{};
    bool isHeld = false;
};

/// What is printed of a file that was not read in time. It is made beforehand: when time is over,
/// nothing can be made any more.
struct LateEnding {
    std::string output;
    std::string error;
};

/// Ends the process when the time is over: prints the ending, with the status of a failed file.
class TimeLimit {
public:
    /// Borrows the ending. Throws RunFailure when the system has no timer.
    TimeLimit(double seconds, const LateEnding& ending);
    ~TimeLimit();
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;

private:
    timer_t timer{};
};

}  // namespace ifdsweep
