#pragma once

// Interruption: SIGINT and SIGTERM as something to be asked for. The first signal is taken note
// of; a second one ends the process at once.
//
// Ownership: one at a time in a process; the old handlers come back with its end. Threads: the one
// that made it asks.

#include <csignal>

namespace app {

/// Thrown where a signal ends what is being done.
struct Interrupted {};

class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Lets signals end the process at once, with the exit status 130 or 143, until `takeNote`.
    void endAtOnce();
    void takeNote();

    /// The signal that came; 0 for none.
    [[nodiscard]] int signal() const noexcept;

    /// A descriptor that can be read once a signal came.
    [[nodiscard]] int descriptor() const noexcept;

private:
    struct sigaction oldInterrupt {};
    struct sigaction oldTerminate {};
};

}  // namespace app
