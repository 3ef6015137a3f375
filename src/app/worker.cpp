#include "app/worker.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

#include "app/file_part.h"
#include "app/file_sweeper.h"
#include "app/messages.h"
#include "app/packed.h"
#include "app/run_failure.h"
#include "app/worker_limits.h"

namespace app {
namespace {

constexpr std::size_t kReadSize = std::size_t{64} * 1024;

// Answers take no more than this before they are sent.
constexpr std::size_t kSendSize = std::size_t{128} * 1024;

/// Answers on their way to the main process. They go there many at a time, and none waits for a
/// slow file behind it: a thread of the stream's sends what has waited too long.
class AnswerStream {
public:
    explicit AnswerStream(int socketToMain)
        : socket(socketToMain), lateSender([this] { sendLateOnes(); }) {}
    AnswerStream(const AnswerStream&) = delete;
    AnswerStream& operator=(const AnswerStream&) = delete;
    ~AnswerStream() {
        {
            const std::lock_guard lock(mutex);
            isEnding = true;
        }
        changed.notify_one();
        lateSender.join();
    }

    void answer(std::uint64_t number, const FileReport& report, const FilePart& part) {
        std::string body;
        packed::putNumber(body, number);
        packReport(body, report);
        packPart(body, part);
        const std::lock_guard lock(mutex);
        if (part.spill.isOpen()) {
            sendWaiting();
            std::string message;
            packed::putText(message, body);
            sendWithDescriptor(message, part.spill.get());
            return;
        }
        if (senderIsIdle && waiting.empty()) {
            changed.notify_one();
        }
        packed::putText(waiting, body);
        if (waiting.size() >= kSendSize) {
            sendWaiting();
        }
    }

    void flush() {
        const std::lock_guard lock(mutex);
        sendWaiting();
    }

private:
    static void packPart(std::string& body, const FilePart& part) {
        const auto putPlace = [&body](PartPlace place) {
            packed::putNumber(body, static_cast<std::uint64_t>(place));
        };
        if (part.spill.isOpen()) {
            putPlace(PartPlace::file);
            packed::putNumber(body, part.spillSize);
        } else {
            putPlace(PartPlace::answer);
            packed::putText(body, part.bytes);
        }
    }

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
        FileDescriptorSink(socket).write(waiting);
        waiting.clear();
    }

    void sendWithDescriptor(std::string_view message, int descriptor) {
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
        std::string first(message.substr(0, 1));
        iovec vector{first.data(), first.size()};
        msghdr header{};
        header.msg_iov = &vector;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        cmsghdr* attached = CMSG_FIRSTHDR(&header);
        attached->cmsg_level = SOL_SOCKET;
        attached->cmsg_type = SCM_RIGHTS;
        attached->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(attached), &descriptor, sizeof descriptor);
        while (::sendmsg(socket, &header, MSG_NOSIGNAL) < 0) {
            if (errno != EINTR) {
                throw OutputError(errno);
            }
        }
        FileDescriptorSink(socket).write(message.substr(1));
    }

    int socket;
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
    Worker(int socketToMain, WorkerState& workerState, const Arguments& arguments, Colour colour,
           int standardInput)
        : state(workerState),
          answers(socketToMain),
          output(partSink),
          sweeper(arguments, output, colour, standardInput) {}

    void answerRequest(std::string_view request) {
        const std::uint64_t number = packed::takeNumber(request);
        InputFile file;
        file.sniff = packed::takeNumber(request) != 0 ? Sniff::on : Sniff::off;
        file.path = packed::takeText(request);
        state.began = steadyNanoseconds();
        state.file = number;
        const FileReport report = read(file);
        state.file = WorkerState::kNoFile;
        answers.answer(number, report, partSink.part);
        partSink.part = FilePart();
    }

    void flush() { answers.flush(); }

private:
    FileReport read(const InputFile& file) {
        try {
            return readAndWrite([&] { return sweeper.sweep(file); });
        } catch (const std::bad_alloc&) {
            return failed(file, outOfMemory());
        } catch (const OutputError& error) {
            return failed(file, qxMessage(kUnexpectedFailureId,
                                          {qxMessageText("cannot write a temporary file: " +
                                                         systemErrorText(error.systemError))}));
        } catch (const RunFailure& failure) {
            return failed(file, qxMessage(kUnexpectedFailureId,
                                          {qxMessageText(std::string(failure.what()))}));
        }
    }

    FileReport failed(const InputFile& file, const qxMessage& error) {
        output.discard();
        partSink.part = FilePart();
        return readAndWrite([&] { return sweeper.fail(file, error); });
    }

    template <class Sweep>
    FileReport readAndWrite(Sweep&& sweep) {
        FileReport report = sweep();
        if (report.isShown) {
            sweeper.write();
            output.flush();
        }
        sweeper.forget();
        return report;
    }

    WorkerState& state;
    AnswerStream answers;
    FilePartSink partSink;
    Output output;
    FileSweeper sweeper;
};

std::size_t requestsIn(std::string_view bytes) {
    std::size_t count = 0;
    for (std::string_view request; packed::takeWholeText(bytes, request);) {
        ++count;
    }
    return count;
}

}  // namespace

std::int64_t steadyNanoseconds() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void runWorker(int socket, WorkerState& state, const Arguments& arguments, Colour colour,
               int standardInput) {
    limitMemory(workerLimits(arguments.run, 1).memory);
    Worker worker(socket, state, arguments, colour, standardInput);
    std::string incoming;
    std::vector<char> piece(kReadSize);
    while (true) {
        const ssize_t got = ::read(socket, piece.data(), piece.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return;
        }
        incoming.append(piece.data(), static_cast<std::size_t>(got));
        std::string_view rest = incoming;
        std::string_view request;
        // Sent at the half, so that the next requests are here before the last of these are done.
        const std::size_t half = requestsIn(rest) / 2;
        for (std::size_t answered = 1; packed::takeWholeText(rest, request); ++answered) {
            worker.answerRequest(request);
            if (answered == half) {
                worker.flush();
            }
        }
        incoming.erase(0, incoming.size() - rest.size());
        worker.flush();
    }
}

}  // namespace app
