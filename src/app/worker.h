#pragma once

// Worker: the loop of a worker process. It takes files from a socket and answers each with its
// report and its part of the output; a part that lies in a temporary file is handed over as such.
//
// A request is a packed text with number, sniffing and path; an answer is one with number, report,
// where the part lies, and what is to be known of that place. Requests and answers stand one behind
// the other; requests are answered in their order.
//
// Ownership: borrows everything. Threads: the process's first one; a second sends answers.

#include <atomic>
#include <cstdint>

#include "app/arguments.h"
#include "app/result_writer.h"

namespace app {

/// What a worker lets the main process see of itself without being asked.
struct WorkerState {
    static constexpr std::uint64_t kNoFile = ~std::uint64_t{0};

    std::atomic<std::uint64_t> file{kNoFile};  ///< number of the file that is being read
    std::atomic<std::int64_t> began{0};        ///< when, in nanoseconds of the steady clock
};

/// Where the part of an answer lies, and what follows in the answer.
enum class PartPlace : std::uint8_t {
    answer,  ///< its bytes
    file,    ///< size; the file's descriptor comes with the answer
};

/// Nanoseconds of the steady clock, which all processes share.
[[nodiscard]] std::int64_t steadyNanoseconds();

/// Answers requests until the socket ends.
void runWorker(int socket, WorkerState& state, const Arguments& arguments, Colour colour,
               int standardInput);

}  // namespace app
