#include "run/slow_file_line.h"

#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <string_view>
#include <system_error>

#include <poll.h>
#include <unistd.h>

#include "io/interruption.h"
#include "io/output.h"
#include "run/progress.h"

namespace ifdsweep {
namespace {

enum class LineState { idle, drawn, gone };

// What signal handlers can reach. The line is drawn and taken away by one at a time.
std::atomic<LineState> lineState{LineState::gone};
std::atomic<bool> isVisible{false};

static_assert(decltype(lineState)::is_always_lock_free && decltype(isVisible)::is_always_lock_free);

constexpr std::string_view kClear = "\r\x1b[K";
constexpr std::string_view kTakes = " takes ";
constexpr std::string_view kLongestTime = "999999 s";

void draw(std::string_view text) noexcept {
    static_cast<void>(writeBytes(STDERR_FILENO, text));
}

bool change(LineState from, LineState to) noexcept {
    return lineState.compare_exchange_strong(from, to);
}

}  // namespace

SlowFileLine::SlowFileLine(const RunOptions& options, const std::string& path) {
    if (!options.run.progress || ::isatty(STDERR_FILENO) != 1) {
        return;
    }
    const std::size_t columns = errorColumns();
    const std::size_t others = kTakes.size() + kLongestTime.size();
    const std::string name = shownPath(path, columns > others ? columns - others : 0);
    if (name.empty()) {
        return;
    }
    line.append(kClear).append(name).append(kTakes);
    line.reserve(line.size() + kLongestTime.size());
    start();
}

SlowFileLine::~SlowFileLine() {
    if (!shower.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
    }
    ending.notify_one();
    takeAway();
    shower.join();
    Interruption::callAtEnd(nullptr);
}

void SlowFileLine::start() {
    // The handlers take the line away, which a thread that draws it must not be stopped for.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        lineState = LineState::idle;
        shower = std::thread([this] { show(); });
        Interruption::callAtEnd(takeAway);
    } catch (const std::system_error&) {
        lineState = LineState::gone;
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void SlowFileLine::show() {
    const auto begin = std::chrono::steady_clock::now();
    const std::size_t size = line.size();
    for (std::chrono::seconds time = kSlowFile;; ++time) {
        {
            std::unique_lock lock(mutex);
            if (ending.wait_until(lock, begin + time, [this] { return isEnding; })) {
                return;
            }
        }
        std::array<char, 24> digits{};
        const char* end = std::to_chars(digits.begin(), digits.end(), time.count()).ptr;
        line.resize(size);
        line.append(digits.data(), static_cast<std::size_t>(end - digits.data())).append(" s");
        if (!change(LineState::idle, LineState::drawn)) {
            return;
        }
        draw(line);
        isVisible = true;
        lineState = LineState::idle;
    }
}

void SlowFileLine::takeAway() noexcept {
    // A terminal that takes no more is not waited for.
    constexpr int kTries = 100;
    for (int tries = 0; tries < kTries && !change(LineState::idle, LineState::gone) &&
                        lineState != LineState::gone;
         ++tries) {
        static_cast<void>(::poll(nullptr, 0, 1));
    }
    if (isVisible.exchange(false)) {
        draw(kClear);
    }
}

}  // namespace ifdsweep
