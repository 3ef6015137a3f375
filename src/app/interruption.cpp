#include "app/interruption.h"

#include <array>

#include <fcntl.h>
#include <unistd.h>

#include "app/program.h"

namespace app {
namespace {

// What a signal handler can reach: the only mutable state that is not an object's.
volatile std::sig_atomic_t receivedSignal = 0;
std::array<volatile std::sig_atomic_t, 2> signalPipe{-1, -1};

extern "C" void noteSignal(int number) {
    receivedSignal = number;
    static_cast<void>(!::write(signalPipe[1], "", 1));
}

extern "C" void endAtSignal(int number) {
    ::_exit(kSignalBase + number);
}

void handleWith(void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

Interruption::Interruption() {
    receivedSignal = 0;
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0) {
        signalPipe[0] = ends[0];
        signalPipe[1] = ends[1];
    }
    ::sigaction(SIGINT, nullptr, &oldInterrupt);
    ::sigaction(SIGTERM, nullptr, &oldTerminate);
    takeNote();
}

Interruption::~Interruption() {
    ::sigaction(SIGINT, &oldInterrupt, nullptr);
    ::sigaction(SIGTERM, &oldTerminate, nullptr);
    for (volatile std::sig_atomic_t& end : signalPipe) {
        ::close(end);
        end = -1;
    }
}

void Interruption::endAtOnce() {
    handleWith(endAtSignal, 0);
}

void Interruption::takeNote() {
    handleWith(noteSignal, static_cast<int>(SA_RESETHAND));
}

int Interruption::signal() const noexcept {
    return receivedSignal;
}

int Interruption::descriptor() const noexcept {
    return signalPipe[0];
}

}  // namespace app
