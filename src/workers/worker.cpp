#include "workers/worker.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "io/descriptor_passing.h"
#include "io/exit_status.h"
#include "io/interruption.h"
#include "io/packed.h"
#include "io/run_failure.h"
#include "io/shared_memory.h"
#include "read/messages.h"
#include "text/error_stream.h"
#include "workers/file_part.h"
#include "workers/file_task.h"
#include "workers/worker_limits.h"
#include "workers/worker_messages.h"

namespace ifdsweep {
namespace {

constexpr int kSocket = STDIN_FILENO;
constexpr std::size_t kReadSize = std::size_t{64} * 1024;

// Answers take no more than this before they are sent.
constexpr std::size_t kSendSize = std::size_t{128} * 1024;

/// Answers on their way to the main process. They go there many at a time, and none waits for a
/// slow file after it: a thread of the stream's sends what has waited too long. Where there can be
/// no thread, each goes at once.
class AnswerStream {
public:
    AnswerStream() {
        try {
            lateSender = std::thread([this] { sendLateOnes(); });
        } catch (const std::system_error&) {
            // As many processes and threads as the system allows.
        }
    }
    AnswerStream(const AnswerStream&) = delete;
    AnswerStream& operator=(const AnswerStream&) = delete;
    ~AnswerStream() {
        {
            const std::lock_guard lock(mutex);
            isEnding = true;
        }
        changed.notify_one();
        if (lateSender.joinable()) {
            lateSender.join();
        }
    }

    /// Throws RunFailure when the part's file cannot be handed over; nothing was answered then.
    void answer(std::uint64_t number, const FileReport& report, const FilePart& part) {
        const std::string message = packAnswer(number, report, part);
        const std::lock_guard lock(mutex);
        if (part.spill.isOpen()) {
            sendWaiting();
            sendWithFile(message, part.spill.get());
            return;
        }
        if (senderIsIdle && waiting.empty()) {
            changed.notify_one();
        }
        waiting.append(message);
        if (waiting.size() >= kSendSize || !lateSender.joinable()) {
            sendWaiting();
        }
    }

    void flush() {
        const std::lock_guard lock(mutex);
        sendWaiting();
    }

private:
    // The following functions are called with the mutex held.
    void sendLateOnes() {
        constexpr std::chrono::milliseconds kLongest{50};
        std::unique_lock lock(mutex);
        while (!isEnding) {
            senderIsIdle = true;
            changed.wait(lock, [this] { return isEnding || !waiting.empty(); });
            senderIsIdle = false;
            const std::uint64_t before = timesSent;
            changed.wait_for(lock, kLongest, [this] { return isEnding; });
            if (timesSent == before) {
                trySendWaiting();
            }
        }
    }

    void trySendWaiting() noexcept {
        try {
            sendWaiting();
        } catch (const OutputError&) {
            return;  // the main process has ended, which ends this one
        }
    }

    void sendWaiting() {
        ++timesSent;
        FileDescriptorSink(kSocket).write(waiting);
        waiting.clear();
    }

    static void sendWithFile(std::string_view message, int file) {
        // Files on their way are limited; the main process takes them as fast as it can.
        constexpr std::chrono::milliseconds kPause{10};
        constexpr int kMostPauses = 1000;
        const std::array<int, 1> files{file};
        ssize_t sent = -1;
        for (int pauses = 0; sent < 0; ++pauses) {
            sent = sendWithFiles(kSocket, message.substr(0, 1), files, 0);
            if (sent < 0 && (errno == ETOOMANYREFS || errno == ENOBUFS || errno == ENOMEM)) {
                if (pauses == kMostPauses) {
                    throw RunFailure("cannot hand over a temporary file: " +
                                     systemErrorText(errno));
                }
                std::this_thread::sleep_for(kPause);
            } else if (sent < 0 && errno != EINTR) {
                throw OutputError(errno);
            }
        }
        FileDescriptorSink(kSocket).write(message.substr(1));
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::string waiting;
    bool senderIsIdle = false;  ///< whether it waits for an answer, not for time to pass
    std::uint64_t timesSent = 0;
    bool isEnding = false;
    std::thread lateSender;  ///< last, so that it begins when all is there
};

class Worker {
public:
    Worker(WorkerState& workerState, const WorkerSetup& setup, int standardInput)
        : state(workerState),
          output(partSink),
          task(setup.task, output, setup.colour, standardInput) {
        task.setMemory([memory = setup.memory] { return memory; });
    }

    void answerRequest(const WorkerRequest& request) {
        state.began = steadyNanoseconds();
        state.file = request.number;
        FileReport report = read(request.file);
        state.file = WorkerState::kNoFile;
        try {
            answers.answer(request.number, report, partSink.part);
        } catch (const RunFailure& failure) {
            report = failed(request.file, unexpected(failure.what()));
            answers.answer(request.number, report, partSink.part);
        }
        partSink.part = FilePart();
    }

    void flush() { answers.flush(); }

private:
    FileReport read(const InputFile& file) {
        try {
            return writtenReport([&] { return task.read(file); });
        } catch (const std::bad_alloc&) {
            return failed(file, outOfMemory());
        } catch (const OutputError& error) {
            return failed(file, unexpected("cannot write a temporary file: " +
                                           systemErrorText(error.systemError)));
        } catch (const RunFailure& failure) {
            return failed(file, unexpected(failure.what()));
        }
    }

    static qxMessage unexpected(const std::string& reason) {
        return {kUnexpectedFailureId, {qxMessageText(reason)}};
    }

    FileReport failed(const InputFile& file, const qxMessage& error) {
        output.discard();
        partSink.part = FilePart();
        return writtenReport([&] { return task.fail(file, error); });
    }

    /// @param attempt reads the file, or tells why it failed
    template <class Attempt>
    FileReport writtenReport(Attempt&& attempt) {
        FileReport report = attempt();
        if (report.isShown) {
            task.write();
            output.flush();
        }
        task.forget();
        return report;
    }

    WorkerState& state;
    AnswerStream answers;
    FilePartSink partSink;
    Output output;
    FileTask task;
};

std::size_t messagesIn(std::string_view bytes) {
    std::size_t count = 0;
    for (std::string_view message; packed::takeWholeText(bytes, message);) {
        ++count;
    }
    return count;
}

/// Whether the standard input can be the main process's end: a user's is none.
bool hasMainProcess() {
    int domain = 0;
    int type = 0;
    socklen_t size = sizeof domain;
    return ::getsockopt(kSocket, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 &&
           ::getsockopt(kSocket, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && domain == AF_UNIX &&
           type == SOCK_STREAM;
}

/// The messages of the main process.
class Requests {
public:
    Requests() : piece(kReadSize) {}

    /// Waits for more.
    /// @return whether there is more
    [[nodiscard]] bool receive() {
        while (true) {
            Received received = receiveWithFiles(kSocket, piece, kMostPassed, 0);
            if (received.size < 0 && errno == EINTR) {
                continue;
            }
            if (received.size <= 0) {
                return false;
            }
            incoming.append(piece.data(), static_cast<std::size_t>(received.size));
            for (Descriptor& file : received.files) {
                files.push_back(std::move(file));
            }
            return true;
        }
    }

    /// What has come and is not taken yet.
    [[nodiscard]] std::string_view bytes() const { return incoming; }
    void keep(std::string_view rest) { incoming.erase(0, incoming.size() - rest.size()); }

    std::vector<Descriptor> files;

private:
    std::vector<char> piece;
    std::string incoming;
};

std::optional<WorkerSetup> receiveSetup(Requests& requests) {
    std::string_view message;
    std::string_view rest;
    do {
        if (!requests.receive()) {
            return {};
        }
        rest = requests.bytes();
    } while (!packed::takeWholeText(rest, message));
    std::optional<WorkerSetup> setup = unpackSetup(message);
    requests.keep(rest);
    const std::size_t files = setup && setup->hasStandardInput ? 2 : 1;
    return requests.files.size() == files ? std::move(setup) : std::nullopt;
}

/// Ends with the main process, and not before it at an interrupt, which a terminal or a service
/// manager sends to all: the files under way would pass for ones that break their reader.
void bindToMainProcess() {
    for (const int signal : Interruption::kSignals) {
        ::signal(signal, SIG_IGN);
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_NAME, "ifdsweep");
}

/// @return whether every request could be understood
bool answerAll(Requests& requests, WorkerState& state, Worker& worker) {
    std::uint64_t begun = 0;
    do {
        std::string_view rest = requests.bytes();
        std::string_view message;
        // Sent at the half, so that the next requests are here before the last of these are done.
        const std::size_t half = messagesIn(rest) / 2;
        for (std::size_t answered = 1; packed::takeWholeText(rest, message); ++answered) {
            const std::optional<WorkerRequest> request = unpackRequest(message);
            if (!request) {
                return false;
            }
            if (++begun > state.takenBack) {
                worker.answerRequest(*request);
            }
            if (answered == half) {
                worker.flush();
            }
        }
        requests.keep(rest);
        worker.flush();
    } while (requests.receive());
    return true;
}

}  // namespace

std::int64_t steadyNanoseconds() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

int runWorker() {
    Requests requests;
    std::optional<WorkerSetup> setup;
    if (hasMainProcess()) {
        bindToMainProcess();
        setup = receiveSetup(requests);
    }
    if (!setup) {
        printError({kWorkerCommand, " is how the program starts its own processes"});
        return kWrongUsage;
    }
    if (static_cast<std::uint64_t>(::getppid()) != setup->mainProcess) {
        return kSomeFailed;  // it ended before it could take this one with it
    }
    const auto state = SharedMemory<WorkerState>::open(requests.files.front().get());
    if (!state) {
        return kSomeFailed;
    }
    limitMemory(setup->memory);
    const int standardInput = setup->hasStandardInput ? requests.files.back().get() : -1;
    Worker worker(**state, *setup, standardInput);
    return answerAll(requests, **state, worker) ? kAllRead : kSomeFailed;
}

}  // namespace ifdsweep
