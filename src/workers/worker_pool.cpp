#include "workers/worker_pool.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <limits>
#include <utility>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "io/packed.h"
#include "io/run_failure.h"
#include "read/messages.h"
#include "workers/seconds.h"

namespace ifdsweep {
namespace {

constexpr std::int64_t kMillisecond = 1'000'000;

// A worker has so many requests at a time that it is busy for about this long: enough to hide the
// way there and back, too little for others to wait for.
constexpr std::int64_t kNanosecondsAhead = 10 * kMillisecond;
constexpr std::size_t kLeastDepth = 2;
constexpr std::size_t kMostDepth = 256;
constexpr std::size_t kReceiveSize = std::size_t{256} * 1024;

// What waits after a file that takes longer than this goes to another worker.
constexpr std::int64_t kLongBeforeOthers = 100 * kMillisecond;

// How much longer than the time limit a worker may be silent, whatever it says of itself.
constexpr std::int64_t kMostDelay = 1000 * kMillisecond;

// Files that are taken over before the caller has them: the others wait in their sockets, where
// they take no descriptor of this process.
constexpr std::size_t kMostFilesAtATime = 8;

// Processes, memory and descriptors may be there a moment later.
constexpr std::int64_t kStartPause = 200 * kMillisecond;
constexpr int kStartTries = 10;

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

/// "signal 9 (Killed)", "exit status 1".
std::string endingText(int status) {
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return "signal " + std::to_string(signal) + " (" + ::strsignal(signal) + ')';
    }
    return "exit status " + std::to_string(WEXITSTATUS(status));
}

qxMessage failureOf(const char* id, const std::string& text) {
    return {id, {qxMessageText(text)}};
}

std::string packedSetup(const TaskOptions& task, const WorkerPoolSettings& settings) {
    WorkerSetup setup;
    setup.mainProcess = static_cast<std::uint64_t>(::getpid());
    setup.memory = settings.limits.memory;
    setup.hasStandardInput = settings.standardInput >= 0;
    setup.colour = settings.colour;
    setup.task = task;
    return packSetup(setup);
}

/// Whether a file is one, and as large as a worker says.
bool isPartOf(const Descriptor& file, std::uint64_t size) {
    struct stat status {};
    return ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
           static_cast<std::uint64_t>(status.st_size) == size;
}

}  // namespace

void WorkerPoolSettings::endProcess(pid_t process) {
    ::kill(process, SIGKILL);
}

WorkerPool::WorkerPool(const TaskOptions& task, WorkerPoolSettings poolSettings)
    : settings(std::move(poolSettings)),
      setup(packedSetup(task, settings)),
      timeLimit(nanosecondsOf(settings.limits.timeout)),
      workers(settings.workers),
      received(kReceiveSize) {
    assert(settings.workers >= 1);
}

WorkerPool::~WorkerPool() {
    // A worker that has nothing to do ends by itself, the others at once; none is waited for longer
    // than all together.
    for (Worker& worker : workers) {
        if (worker.process && worker.requests.empty() && !readBy(worker)) {
            worker.process->hangUp();
        } else if (worker.process) {
            settings.end(worker.process->id());
        }
    }
    const std::int64_t last = steadyNanoseconds() + settings.grace.count();
    const auto waitFor = [&](pid_t process, std::int64_t until) {
        const std::chrono::nanoseconds left(std::max<std::int64_t>(0, until - steadyNanoseconds()));
        return waitForEnd(process, left).has_value();
    };
    for (const Worker& worker : workers) {
        if (worker.process && !waitFor(worker.process->id(), last)) {
            settings.end(worker.process->id());
            static_cast<void>(waitFor(worker.process->id(), 0));
        }
    }
    for (const pid_t process : leftBehind) {
        static_cast<void>(waitFor(process, 0));
    }
}

bool WorkerPool::anyRuns() const {
    return std::any_of(workers.begin(), workers.end(),
                       [](const Worker& worker) { return worker.process.has_value(); });
}

bool WorkerPool::hasRoom() const {
    return pending.empty() &&
           (!anyRuns() || std::any_of(workers.begin(), workers.end(), [this](const Worker& worker) {
               return worker.isFilling && (worker.process || steadyNanoseconds() >= startAgain);
           }));
}

WorkerPool::Worker* WorkerPool::roomiest() {
    const std::int64_t now = steadyNanoseconds();
    Worker* found = nullptr;
    for (Worker& worker : workers) {
        const bool canTake =
            worker.isFilling && worker.ended == 0 && (worker.process || now >= startAgain);
        if (canTake && (found == nullptr || worker.requests.size() < found->requests.size())) {
            found = &worker;
        }
    }
    return found;
}

void WorkerPool::submit(std::uint64_t number, const InputFile& file) {
    pending.push_back({number, file, 0, false});
    assign();
}

void WorkerPool::assign() {
    while (!pending.empty()) {
        Worker* worker = roomiest();
        if (worker == nullptr) {
            failPending();
            return;
        }
        if (worker->process || start(*worker)) {
            send(*worker, std::move(pending.front()));
            pending.pop_front();
        }
    }
}

bool WorkerPool::start(Worker& worker) {
    try {
        worker.process.emplace(settings.program, setup, settings.standardInput);
    } catch (const RunFailure& failure) {
        ++failedStarts;
        startFailure = failure.what();
        startAgain = steadyNanoseconds() + kStartPause;
        return false;
    }
    failedStarts = 0;
    worker.outgoing = setup.substr(1);  // the first byte went with the files
    worker.depth = kLeastDepth;
    return true;
}

void WorkerPool::failPending() {
    if (failedStarts < kStartTries || anyRuns()) {
        return;
    }
    for (const Request& request : pending) {
        fail(request.number, failureOf(kNoWorkerId, startFailure));
    }
    pending.clear();
}

void WorkerPool::send(Worker& worker, Request request) {
    if (worker.requests.empty()) {
        worker.lastAnswer = steadyNanoseconds();  // it was idle until now
        worker.silence = 0;
    }
    request.place = ++worker.sent;
    worker.outgoing.append(packRequest(request.place, request.file));
    worker.requests.push_back(std::move(request));
    worker.isFilling = worker.requests.size() < worker.depth;
}

void WorkerPool::sendOutgoing(Worker& worker) {
    while (!worker.outgoing.empty()) {
        const ssize_t sent = ::send(worker.process->socket(), worker.outgoing.data(),
                                    worker.outgoing.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent < 0) {
            return;  // full, or the worker has ended, which is seen when receiving
        }
        worker.outgoing.erase(0, static_cast<std::size_t>(sent));
    }
}

std::optional<FileBeingRead> WorkerPool::readBy(const Worker& worker) {
    if (!worker.process) {
        return {};
    }
    const WorkerState& state = worker.process->state();
    const FileBeingRead file{state.file, state.began};
    return file.number != WorkerState::kNoFile ? std::optional(file) : std::nullopt;
}

std::deque<WorkerPool::Request>::iterator WorkerPool::find(
    std::deque<Request>& requests, const std::optional<FileBeingRead>& read) {
    return std::find_if(requests.begin(), requests.end(), [&](const Request& request) {
        return read && request.place == read->number;
    });
}

std::optional<FileBeingRead> WorkerPool::longestRead(std::chrono::nanoseconds atLeast) const {
    std::optional<FileBeingRead> longest;
    const std::int64_t latest = steadyNanoseconds() - atLeast.count();
    for (const Worker& worker : workers) {
        const auto read = readBy(worker);
        if (!read || read->began > latest || (longest && longest->began <= read->began)) {
            continue;
        }
        for (const Request& request : worker.requests) {
            if (request.place == read->number) {
                longest = FileBeingRead{request.number, read->began};
            }
        }
    }
    return longest;
}

std::int64_t WorkerPool::deadlineOf(const Worker& worker, std::int64_t now) const {
    if (!worker.process) {
        return kNever;
    }
    if (worker.ended != 0) {
        return worker.ended + settings.grace.count();
    }
    // What it says of itself makes the limit exact. That it answers is what it is held to.
    std::int64_t deadline = kNever;
    if (const auto file = readBy(worker)) {
        deadline = std::min(file->began, now) + timeLimit;
    }
    if (!worker.requests.empty()) {
        deadline = std::min(deadline, now + timeLimit + kMostDelay - worker.silence);
    }
    return deadline;
}

std::chrono::milliseconds WorkerPool::untilNextEvent(std::chrono::milliseconds most) const {
    if (!answers.empty()) {
        return {};
    }
    const std::int64_t now = steadyNanoseconds();
    std::int64_t least = now + std::chrono::nanoseconds(most).count();
    for (const Worker& worker : workers) {
        least = std::min(least, deadlineOf(worker, now));
        const bool othersWait = workers.size() > 1 && worker.requests.size() > 1;
        if (const auto file = readBy(worker); file && othersWait) {
            const std::int64_t takenBack = file->began + kLongBeforeOthers;
            least = std::min(least, takenBack > now ? takenBack : least);
        }
    }
    if (!pending.empty() && failedStarts > 0) {
        least = std::min(least, std::max(startAgain, now));
    }
    return std::chrono::milliseconds(std::max<std::int64_t>(0, (least - now) / kMillisecond + 1));
}

std::vector<WorkerAnswer> WorkerPool::wait(std::chrono::milliseconds most,
                                           const std::vector<int>& others) {
    assign();
    polled.clear();
    for (Worker& worker : workers) {
        if (!worker.process) {
            polled.push_back({-1, 0, 0});
            continue;
        }
        sendOutgoing(worker);
        const bool isFull = !worker.outgoing.empty();
        polled.push_back(
            {worker.process->socket(), static_cast<short>(POLLIN | (isFull ? POLLOUT : 0)), 0});
    }
    for (const int other : others) {
        polled.push_back({other, POLLIN, 0});
    }
    const std::int64_t begin = steadyNanoseconds();
    const int ready =
        ::poll(polled.data(), polled.size(), static_cast<int>(untilNextEvent(most).count()));
    // Only what we waited counts: while we write to a reader who takes a rest, nobody is silent.
    const std::int64_t waited = steadyNanoseconds() - begin;
    for (Worker& worker : workers) {
        worker.silence += worker.requests.empty() ? 0 : waited;
    }
    for (std::size_t index = 0; ready > 0 && index < workers.size(); ++index) {
        if ((polled[index].revents & POLLOUT) != 0) {
            sendOutgoing(workers[index]);
        }
        if ((polled[index].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            receive(workers[index]);
        }
    }
    endLateOnes();
    takeBack();
    assign();
    std::erase_if(leftBehind, [](pid_t process) {
        return waitForEnd(process, std::chrono::nanoseconds(0)).has_value();
    });
    filesTaken = 0;
    return std::exchange(answers, {});
}

void WorkerPool::endLateOnes() {
    const std::int64_t now = steadyNanoseconds();
    for (Worker& worker : workers) {
        if (deadlineOf(worker, now) >= now) {
            continue;
        }
        const pid_t process = worker.process->id();
        if (worker.ended == 0) {
            worker.ended = now;
            settings.end(process);
        } else {
            leftBehind.push_back(process);
            retire(
                worker,
                failureOf(kStuckId, "process " + std::to_string(process) +
                                        ", not finished within " + secondsText(timeLimit) + " s"),
                false);
        }
    }
}

void WorkerPool::takeBack() {
    const std::int64_t now = steadyNanoseconds();
    for (Worker& worker : workers) {
        const auto file = readBy(worker);
        if (workers.size() == 1 || !file || now - file->began < kLongBeforeOthers) {
            continue;
        }
        const auto read = find(worker.requests, file);
        if (read == worker.requests.end() || read + 1 == worker.requests.end()) {
            continue;
        }
        // It may have begun the next one by now, and then two workers read that.
        worker.takenBack = worker.sent;
        worker.process->state().takenBack = worker.sent;
        worker.isFilling = false;
        pending.insert(pending.begin(), std::make_move_iterator(read + 1),
                       std::make_move_iterator(worker.requests.end()));
        worker.requests.erase(read + 1, worker.requests.end());
    }
}

void WorkerPool::receive(Worker& worker) {
    while (worker.process && filesTaken < kMostFilesAtATime) {
        Received piece = receiveWithFiles(worker.process->socket(), received, 1, MSG_DONTWAIT);
        if (piece.size > 0) {
            if (!takeReceived(worker, piece)) {
                replace(worker, "its answer makes no sense");
            }
        } else if (piece.size < 0 && errno == EAGAIN) {
            return;
        } else if (piece.size == 0 || errno != EINTR) {
            replace(worker);
        }
    }
}

bool WorkerPool::takeReceived(Worker& worker, Received& piece) {
    const std::string_view bytes(received.data(), static_cast<std::size_t>(piece.size));
    if (piece.files.empty() && !piece.lostFiles) {
        return takeAnswers(worker, bytes);
    }
    // A file comes with the last of the bytes, which must be the first of its answer.
    if (!takeAnswers(worker, bytes.substr(0, bytes.size() - 1)) || !worker.incoming.empty() ||
        worker.incomingFile || piece.files.size() > 1) {
        return false;
    }
    worker.incomingFile = piece.files.empty() ? Descriptor() : std::move(piece.files.front());
    return takeAnswers(worker, bytes.substr(bytes.size() - 1));
}

bool WorkerPool::takeAnswers(Worker& worker, std::string_view bytes) {
    // Whole answers are taken from where they were received.
    const bool isContinued = !worker.incoming.empty();
    if (isContinued) {
        worker.incoming.append(bytes);
        bytes = worker.incoming;
    }
    std::string_view message;
    std::size_t taken = 0;
    while (packed::takeWholeText(bytes, message)) {
        if (!takeAnswer(worker, message)) {
            return false;
        }
        ++taken;
    }
    if (isContinued) {
        worker.incoming.erase(0, worker.incoming.size() - bytes.size());
    } else {
        worker.incoming.assign(bytes);
    }
    noteAnswers(worker, taken);
    return worker.incoming.size() < packed::kNumberSize ||
           packed::numberAt(worker.incoming) <= kMostAnswerSize;
}

bool WorkerPool::takeAnswer(Worker& worker, std::string_view message) {
    const std::optional<UnpackedAnswer> unpacked = unpackAnswer(message);
    std::optional<Descriptor> file = std::exchange(worker.incomingFile, std::nullopt);
    if (message.size() > kMostAnswerSize || !unpacked ||
        unpacked->spillSize.has_value() != file.has_value()) {
        return false;
    }
    // Answers come in the order of the requests, where those taken back may be missing.
    const std::uint64_t place = unpacked->number;
    if (place <= std::exchange(worker.answered, place)) {
        return false;
    }
    if (worker.requests.empty() || worker.requests.front().place != place) {
        return place <= worker.takenBack;  // another worker's by now
    }
    const std::uint64_t number = worker.requests.front().number;
    if (file && !file->isOpen()) {
        fail(number, failureOf(kUnexpectedFailureId,
                               "cannot take over a temporary file: " + systemErrorText(EMFILE)));
    } else if (file && !isPartOf(*file, *unpacked->spillSize)) {
        return false;
    } else {
        WorkerAnswer& answer = answers.emplace_back();
        answer.number = number;
        answer.report = unpacked->report;
        answer.part.bytes = unpacked->bytes;
        if (file) {
            ++filesTaken;
            answer.part.spill = std::move(*file);
            answer.part.spillSize = *unpacked->spillSize;
        }
    }
    worker.requests.pop_front();
    return true;
}

void WorkerPool::noteAnswers(Worker& worker, std::size_t count) const {
    if (count == 0) {
        return;
    }
    const std::int64_t now = steadyNanoseconds();
    const auto each = (now - worker.lastAnswer) / static_cast<std::int64_t>(count) + 1;
    const auto depth = static_cast<std::size_t>(kNanosecondsAhead / each);
    worker.depth = std::clamp(depth, kLeastDepth, kMostDepth);
    worker.isFilling = worker.requests.size() <= worker.depth / 2;
    worker.lastAnswer = now;
    worker.silence = 0;
}

void WorkerPool::fail(std::uint64_t number, qxMessage failure) {
    WorkerAnswer& answer = answers.emplace_back();
    answer.number = number;
    answer.failure.emplace(std::move(failure));
}

void WorkerPool::replace(Worker& worker, const char* lie) {
    const pid_t process = worker.process->id();
    settings.end(process);
    const std::optional<int> status = waitForEnd(process, settings.grace);
    if (!status) {
        leftBehind.push_back(process);
    }
    if (worker.ended != 0) {
        retire(worker, failureOf(kTimeoutId, secondsText(timeLimit)), false);
    } else {
        const std::string reason = lie != nullptr ? lie : endingText(status.value_or(0));
        retire(worker, failureOf(kWorkerDiedId, reason), lie != nullptr);
    }
}

void WorkerPool::retire(Worker& worker, const qxMessage& failure, bool blamesFirst) {
    const auto file = readBy(worker);
    std::deque<Request> requests = std::move(worker.requests);
    worker = Worker();
    auto blamed = find(requests, file);
    if (blamesFirst) {
        blamed = requests.begin();
    }
    // A worker that was reading nothing may have ended for any reason, so the file that it would
    // have read next gets another. A second time it is to blame: otherwise a worker that cannot
    // even start would be started for ever.
    if (blamed == requests.end() && !requests.empty() &&
        std::exchange(requests.front().wasTried, true)) {
        blamed = requests.begin();
    }
    if (blamed != requests.end()) {
        fail(blamed->number, failure);
        requests.erase(blamed);
    }
    pending.insert(pending.begin(), std::make_move_iterator(requests.begin()),
                   std::make_move_iterator(requests.end()));
}

}  // namespace ifdsweep
