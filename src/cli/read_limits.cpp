#include "cli/read_limits.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <new>
#include <string_view>

#include <unistd.h>

#include "io/descriptor.h"
#include "io/exit_status.h"
#include "io/output.h"
#include "io/run_failure.h"
#include "io/sanitized.h"
#include "run/slow_file_line.h"
#include "workers/seconds.h"

namespace ifdsweep {
namespace {

// What the handlers of spent time and spent memory can reach: state that is not an object's,
// because they are called without one.
std::atomic<const LateEnding*> lateEnding{nullptr};
rlim_t mostMemory = RLIM_INFINITY;

static_assert(decltype(lateEnding)::is_always_lock_free);

/// The timer's own: SIGALRM may be that of whoever started the program, for all of it.
int timeSignal() {
    return SIGRTMIN;
}

extern "C" void endLate(int) {
    const LateEnding* const ending = lateEnding;
    std::string_view output = ending->output;
    std::string_view error = ending->error;
    SlowFileLine::takeAway();
    if (writeBytes(STDOUT_FILENO, output) == EPIPE) {
        ::_exit(kOutputClosed);
    }
    static_cast<void>(writeBytes(STDERR_FILENO, error));
    ::_exit(kSomeFailed);
}

void setMemory(rlim_t most) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_AS, &limit) == 0) {
        limit.rlim_cur = std::min(most, mostMemory);
        static_cast<void>(::setrlimit(RLIMIT_AS, &limit));
    }
}

/// The least default is spent: asks the machine how much it may be.
void takeShareOfMachine() {
    std::set_new_handler(nullptr);
    setMemory(kMostDefaultMemory);  // asking takes some, too
    setMemory(defaultMemory(availableMemory(), 1));
}

}  // namespace

MemoryLimit::MemoryLimit(const WorkerChoice& choice) {
    if (kIsSanitized || ::getrlimit(RLIMIT_AS, &before) != 0) {
        return;
    }
    isHeld = true;
    mostMemory = before.rlim_cur;
    setMemory(choice.memory.value_or(kLeastDefaultMemory));
    if (!choice.memory) {
        std::set_new_handler(takeShareOfMachine);
    }
}

MemoryLimit::~MemoryLimit() {
    if (isHeld) {
        std::set_new_handler(nullptr);
        static_cast<void>(::setrlimit(RLIMIT_AS, &before));
    }
}

TimeLimit::TimeLimit(double seconds, const LateEnding& ending) {
    lateEnding = &ending;
    struct sigaction action {};
    action.sa_handler = endLate;
    ::sigemptyset(&action.sa_mask);
    sigset_t own;
    ::sigemptyset(&own);
    ::sigaddset(&own, timeSignal());
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = timeSignal();
    constexpr std::int64_t kSecond = 1'000'000'000;
    const std::int64_t time = std::max<std::int64_t>(nanosecondsOf(seconds), 1);
    const itimerspec once{{0, 0}, {time / kSecond, time % kSecond}};
    if (::sigaction(timeSignal(), &action, nullptr) != 0 ||
        ::sigprocmask(SIG_UNBLOCK, &own, nullptr) != 0 ||
        ::timer_create(CLOCK_MONOTONIC, &event, &timer) != 0 ||
        ::timer_settime(timer, 0, &once, nullptr) != 0) {
        throw RunFailure("cannot limit the time of reading: " + systemErrorText(errno));
    }
}

TimeLimit::~TimeLimit() {
    static_cast<void>(::timer_delete(timer));
}

}  // namespace ifdsweep
