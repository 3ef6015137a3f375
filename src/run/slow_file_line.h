#pragma once

// Slow file line: says on the foot of a terminal that a file which is read in the program's own
// process takes long, from its third second on, and for how long.
//
// Ownership: owns a thread, which takes no signals and no memory. Threads: one line at a time in a
// process, made and ended by one thread; it is taken away by any, in signal handlers too.

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "run/run_options.h"

namespace ifdsweep {

class SlowFileLine {
public:
    /// Shows nothing when the options or the error stream do not want it, or no thread is to be
    /// had.
    SlowFileLine(const RunOptions& options, const std::string& path);
    ~SlowFileLine();
    SlowFileLine(const SlowFileLine&) = delete;
    SlowFileLine& operator=(const SlowFileLine&) = delete;

    /// Takes the line away, if there is one, so that it does not come back.
    static void takeAway() noexcept;

private:
    void start();
    void show();

    std::string line;  ///< what stands before the seconds, and room for them
    std::mutex mutex;
    std::condition_variable ending;
    bool isEnding = false;
    std::thread shower;
};

}  // namespace ifdsweep
