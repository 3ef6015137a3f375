// A worker as none should be. What it does is the value of the variable LIE:
//
//   none       answers every request as a good one would
//   exit       ends before it reads anything
//   once       the first of all such processes ends before it reads; LIE_FILE tells whether one did
//   garbage    answers with bytes that are no answer
//   number     answers another number than it was asked for
//   unasked    answers without being asked
//   twice      answers everything twice
//   huge       tells of an answer of 2^60 bytes
//   notAFile   hands a part over as a folder
//   short      hands a part over in a file that is shorter than it says
//   noFile     tells of a file and hands none over
//   extraFile  hands a file over with an answer that tells of none
//   dies       ends as soon as it is asked, having said that it reads a file nobody asked for
//   silent     reads requests and never answers, saying of itself that it just began
//   slow       is a good one that takes long for every eighth file
//   stopped    stops itself

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "io/descriptor_passing.h"
#include "io/packed.h"
#include "io/shared_memory.h"
#include "workers/worker.h"
#include "workers/worker_messages.h"

namespace {

constexpr int kSocket = 0;

void sendAll(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::write(kSocket, bytes.data(), bytes.size());
        if (sent <= 0) {
            std::_Exit(0);
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void sendWithFile(std::string_view message, int file) {
    const std::array<int, 1> files{file};
    if (ifdsweep::sendWithFiles(kSocket, message.substr(0, 1), files, 0) != 1) {
        std::_Exit(0);
    }
    sendAll(message.substr(1));
}

class Liar {
public:
    Liar(std::string lieToTell, ifdsweep::WorkerState& workerState)
        : lie(std::move(lieToTell)), state(workerState) {}

    void start() const {
        if (lie == "exit") {
            std::_Exit(3);
        }
        if (lie == "once") {
            const int file = ::open(std::getenv("LIE_FILE"), O_CREAT | O_EXCL | O_WRONLY, 0600);
            if (file >= 0) {
                std::_Exit(3);
            }
        }
        if (lie == "unasked") {
            sendAll(ifdsweep::packAnswer(0, {}, {}));
        }
        if (lie == "stopped") {
            ::raise(SIGSTOP);
        }
    }

    /// As a good worker does with a request that may have been taken back.
    void answerSlowly(const ifdsweep::WorkerRequest& request) const {
        constexpr std::chrono::milliseconds kLong{150};
        if (request.number > state.takenBack) {
            state.began = ifdsweep::steadyNanoseconds();
            state.file = request.number;
            if (std::stoi(request.file.path) % 8 == 0) {
                std::this_thread::sleep_for(kLong);
            }
            state.file = ifdsweep::WorkerState::kNoFile;
            answer(request);
        }
    }

    void answer(const ifdsweep::WorkerRequest& request) const {
        const std::uint64_t number = request.number;
        ifdsweep::FileReport report;
        report.isShown = true;
        ifdsweep::FilePart part;
        part.bytes = request.file.path + "\n";
        const std::string good = ifdsweep::packAnswer(number, report, part);
        if (lie == "garbage") {
            std::string bytes;
            ifdsweep::packed::putText(bytes, "garbage");
            sendAll(bytes);
        } else if (lie == "number") {
            sendAll(ifdsweep::packAnswer(number + 1000, report, part));
        } else if (lie == "twice") {
            sendAll(good + good);
        } else if (lie == "huge") {
            std::string bytes;
            ifdsweep::packed::putNumber(bytes, std::uint64_t{1} << 60);
            sendAll(bytes);
        } else if (lie == "dies") {
            state.began = ifdsweep::steadyNanoseconds();
            state.file = 12345;
            std::_Exit(4);
        } else if (lie == "silent") {
            state.file = number;
            state.began = ifdsweep::steadyNanoseconds() + 1'000'000'000'000;
        } else if (lie == "notAFile" || lie == "short" || lie == "noFile") {
            part.bytes.clear();
            part.spill = lie == "notAFile" ? ifdsweep::Descriptor(::open("/", O_RDONLY | O_CLOEXEC))
                                           : ifdsweep::makeTemporaryFile();
            part.spillSize = 1000;
            const std::string message = ifdsweep::packAnswer(number, report, part);
            if (lie == "noFile") {
                sendAll(message);
            } else {
                sendWithFile(message, part.spill.get());
            }
        } else if (lie == "extraFile") {
            sendWithFile(good, ifdsweep::makeTemporaryFile().get());
        } else {
            sendAll(good);
        }
    }

private:
    std::string lie;
    ifdsweep::WorkerState& state;
};

}  // namespace

int main() {
    std::array<char, 65536> piece{};
    ifdsweep::Received received =
        ifdsweep::receiveWithFiles(kSocket, piece, ifdsweep::kMostPassed, 0);
    if (received.size <= 0 || received.files.empty()) {
        return 2;
    }
    const auto state =
        ifdsweep::SharedMemory<ifdsweep::WorkerState>::open(received.files.front().get());
    const char* lie = std::getenv("LIE");
    if (!state || lie == nullptr) {
        return 2;
    }
    const Liar liar(lie, **state);
    liar.start();
    std::string incoming;
    bool isSetUp = false;
    while (received.size > 0) {
        incoming.append(piece.data(), static_cast<std::size_t>(received.size));
        std::string_view rest = incoming;
        for (std::string_view message; ifdsweep::packed::takeWholeText(rest, message);) {
            if (std::exchange(isSetUp, true)) {
                const ifdsweep::WorkerRequest request = ifdsweep::unpackRequest(message).value();
                if (lie == std::string_view("slow")) {
                    liar.answerSlowly(request);
                } else {
                    liar.answer(request);
                }
            }
        }
        incoming.erase(0, incoming.size() - rest.size());
        received = ifdsweep::receiveWithFiles(kSocket, piece, 0, 0);
    }
    return 0;
}
