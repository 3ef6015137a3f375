#pragma once

// Progress: one line at the foot of a terminal that says how far a run is, and which file takes
// long. Files are counted by a thread of its own, which gives up where counting is not cheap.
//
// Ownership: shares the count with the counting thread, which owns what else it uses: where the
// system keeps it waiting for a folder, it is left behind and nobody waits for it. Threads: one at
// a time.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "run/run_options.h"

namespace ifdsweep {

/// A file that takes as long is named while it is read.
inline constexpr std::chrono::seconds kSlowFile{2};

/// The columns of the terminal that the error stream is.
[[nodiscard]] std::size_t errorColumns();

/// A path, safe to show, or its end where it takes more than so many columns; empty when there is
/// no room for something that says anything.
[[nodiscard]] std::string shownPath(std::string_view path, std::size_t columns);

/// How far a run is.
struct RunState {
    std::uint64_t passed = 0;  ///< files that are done with, whatever came of them
    std::uint64_t failed = 0;
    std::string slowFile{};  ///< one that has been read for longer than others; empty for none
    std::chrono::seconds slowSince{0};  ///< for how long
};

/// What the counting thread and the line share.
struct FileCount {
    std::atomic<bool> isUnwanted{false};
    std::atomic<std::uint64_t> total{0};  ///< 0: not known
};

class Progress {
public:
    /// Shows nothing when the options or the error stream do not want it.
    explicit Progress(const RunOptions& options);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Renews the line, though not more often than an eye can follow.
    void show(const RunState& state);

    /// Takes the line away, so that something else can be written.
    void hide();

    /// The text of the line, which takes no more columns than there are.
    [[nodiscard]] static std::string text(const RunState& state,
                                          std::chrono::duration<double> elapsed,
                                          std::optional<std::uint64_t> total, std::size_t columns);

private:
    using Clock = std::chrono::steady_clock;

    void startCounting(const InputChoice& input);

    bool isShown = false;
    bool isVisible = false;
    Clock::time_point begin = Clock::now();
    Clock::time_point lastShown;
    std::shared_ptr<FileCount> count;  ///< null when nobody counts
    std::thread counter;
    std::future<void> counterEnd;
};

}  // namespace ifdsweep
