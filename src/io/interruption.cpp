#include "io/interruption.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include "io/exit_status.h"

namespace ifdsweep {
namespace {

// What a signal handler can reach: the only mutable state that is not an object's.
volatile std::sig_atomic_t receivedSignal = 0;
volatile std::sig_atomic_t endsAtFirst = 0;
std::array<volatile std::sig_atomic_t, 2> signalPipe{-1, -1};
volatile pid_t notingProcess = -1;
std::array<char, PATH_MAX> pathToRemove{};
volatile std::sig_atomic_t removesPath = 0;

std::atomic<void (*)() noexcept> lastAct{nullptr};

static_assert(decltype(lastAct)::is_always_lock_free);

[[noreturn]] void endNow(int number) {
    if (const auto act = lastAct.load()) {
        act();
    }
    if (removesPath != 0) {
        static_cast<void>(::unlink(pathToRemove.data()));
    }
    ::_exit(kSignalBase + number);
}

extern "C" void noteSignal(int number) {
    // A process between fork and exec has the handler too, and the pipe is that of the main one.
    if (::getpid() != notingProcess) {
        return;
    }
    if (receivedSignal != 0 || endsAtFirst != 0) {
        endNow(receivedSignal != 0 ? receivedSignal : number);
    }
    const int error = errno;
    receivedSignal = number;
    static_cast<void>(!::write(signalPipe[1], "", 1));
    errno = error;
}

}  // namespace

Interruption::Interruption() {
    receivedSignal = 0;
    endsAtFirst = 0;
    notingProcess = ::getpid();
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0) {
        signalPipe[0] = ends[0];
        signalPipe[1] = ends[1];
    }
    struct sigaction action {};
    action.sa_handler = noteSignal;
    ::sigemptyset(&action.sa_mask);
    for (const int number : kSignals) {
        ::sigaddset(&action.sa_mask, number);  // no handler is interrupted by another
    }
    for (std::size_t index = 0; index < kSignals.size(); ++index) {
        ::sigaction(kSignals[index], nullptr, &before[index]);
        if (before[index].sa_handler != SIG_IGN) {
            ::sigaction(kSignals[index], &action, nullptr);
        }
    }
}

Interruption::~Interruption() {
    for (std::size_t index = 0; index < kSignals.size(); ++index) {
        ::sigaction(kSignals[index], &before[index], nullptr);
    }
    for (volatile std::sig_atomic_t& end : signalPipe) {
        ::close(end);
        end = -1;
    }
}

void Interruption::endAtOnce() {
    endsAtFirst = 1;
    if (receivedSignal != 0) {
        endNow(receivedSignal);
    }
}

void Interruption::takeNote() {
    endsAtFirst = 0;
}

int Interruption::signal() const noexcept {
    return receivedSignal;
}

int Interruption::descriptor() const noexcept {
    return signalPipe[0];
}

void Interruption::removeAtEnd(const std::string& path) noexcept {
    keep();
    if (path.size() < pathToRemove.size()) {
        pathToRemove[path.copy(pathToRemove.data(), path.size())] = '\0';
        std::atomic_signal_fence(std::memory_order_seq_cst);
        removesPath = 1;
    }
}

void Interruption::callAtEnd(void (*act)() noexcept) noexcept {
    lastAct = act;
}

void Interruption::keep() noexcept {
    removesPath = 0;
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

}  // namespace ifdsweep
