#pragma once

// Progress: one line at the foot of a terminal that says how far a run is. Files are counted by a
// process of its own, so that nothing waits for it.
//
// Ownership: owns the counting process. Threads: one at a time, and no other thread in the process
// while it is made.

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include <sys/types.h>

#include "app/arguments.h"
#include "app/descriptor.h"

namespace app {

/// How far a run is.
struct RunState {
    std::uint64_t passed = 0;  ///< files that are done with, whatever came of them
    std::uint64_t failed = 0;
    std::string slowFile{};  ///< one that has been read for longer than others; empty for none
    std::chrono::seconds slowSince{0};  ///< for how long
};

class Progress {
public:
    /// Shows nothing when the command line or the error stream does not want it.
    explicit Progress(const Arguments& arguments);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Renews the line, though not more often than an eye can follow.
    void show(const RunState& state);

    /// Takes the line away, so that something else can be written.
    void hide();

    /// The text of the line.
    [[nodiscard]] static std::string text(const RunState& state,
                                          std::chrono::duration<double> elapsed,
                                          std::optional<std::uint64_t> total);

private:
    using Clock = std::chrono::steady_clock;

    void startCounting(const InputChoice& input);
    void takeTotal();

    bool isShown = false;
    bool isVisible = false;
    Clock::time_point begin = Clock::now();
    Clock::time_point lastShown;
    pid_t counter = -1;
    Descriptor count;  ///< where the counting process will tell the number of files
    std::optional<std::uint64_t> total;
};

}  // namespace app
