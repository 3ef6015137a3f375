#pragma once

// Interruption: the signals that ask a program to end (SIGINT, SIGTERM, SIGHUP) as something to be
// asked for. The first is taken note of; a second one, of whichever of them, ends the process at
// once. One that was ignored when the program was started stays ignored: nohup and the background
// jobs of a shell ask for that.
//
// Ownership: one at a time in a process; the old handlers come back with its end. Threads: the one
// that made it asks. A process that is forked off takes no note of anything.

#include <array>
#include <csignal>
#include <string>

namespace ifdsweep {

class Interruption {
public:
    static constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGHUP};

    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Lets signals end the process at once, with the exit status 128 and their number, until
    /// `takeNote`; one that was taken note of before ends it now.
    void endAtOnce();
    void takeNote();

    /// The signal that came first; 0 for none.
    [[nodiscard]] int signal() const noexcept;

    /// A descriptor that can be read once a signal came.
    [[nodiscard]] int descriptor() const noexcept;

    /// Has a file removed by the signal that ends the process at once, until `keep`. One file at a
    /// time; a path that no system call would take is not noted.
    static void removeAtEnd(const std::string& path) noexcept;
    static void keep() noexcept;

    /// Has a function called by the signal that ends the process at once; null for none. It may do
    /// what a signal handler may.
    static void callAtEnd(void (*act)() noexcept) noexcept;

private:
    std::array<struct sigaction, kSignals.size()> before{};
};

}  // namespace ifdsweep
