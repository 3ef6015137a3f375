#include "app/worker_pool.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/messages.h"
#include "app/output.h"
#include "app/packed.h"
#include "app/run_failure.h"

namespace app {
namespace {

// A worker has so many requests at a time that it is busy for about this long: enough to hide the
// way there and back, too little for others to wait for.
constexpr std::int64_t kNanosecondsAhead = 10'000'000;
constexpr std::size_t kLeastDepth = 2;
constexpr std::size_t kMostDepth = 256;
constexpr std::size_t kReceiveSize = std::size_t{256} * 1024;

// No real file meets it: a gigabyte of tags takes seconds.
constexpr double kDefaultTimeout = 600;

std::string packRequest(std::uint64_t number, const InputFile& file) {
    std::string body;
    packed::putNumber(body, number);
    packed::putNumber(body, file.sniff == Sniff::on ? 1 : 0);
    packed::putText(body, file.path);
    std::string request;
    packed::putText(request, body);
    return request;
}

/// "signal 9 (Killed)", "exit status 1".
std::string endingText(int status) {
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return "signal " + std::to_string(signal) + " (" + ::strsignal(signal) + ')';
    }
    return "exit status " + std::to_string(WEXITSTATUS(status));
}

int waitForEnd(pid_t process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

std::string secondsText(std::int64_t nanoseconds) {
    constexpr std::int64_t kMillisecond = 1'000'000;
    const std::int64_t milliseconds = nanoseconds / kMillisecond;
    std::string text = std::to_string(milliseconds / 1000);
    if (milliseconds % 1000 != 0) {
        text += '.' + std::to_string(1000 + milliseconds % 1000).substr(1);
    }
    return text;
}

std::int64_t nanosecondsOf(double seconds) {
    constexpr double kMostSeconds = 1e9;
    return static_cast<std::int64_t>(std::min(seconds, kMostSeconds) * 1e9);
}

[[noreturn]] void failToStart() {
    throw RunFailure("cannot start a worker process: " + systemErrorText(errno));
}

/// Takes the descriptor that came with a message.
void keepDescriptor(msghdr& header, std::deque<Descriptor>& files) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr;
         part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part), sizeof descriptor);
            files.emplace_back(descriptor);
        }
    }
}

}  // namespace

WorkerPool::WorkerPool(const Arguments& programArguments, Colour outputColour,
                       int standardInputFile, std::size_t mostWorkers)
    : arguments(programArguments),
      colour(outputColour),
      standardInput(standardInputFile),
      timeLimit(nanosecondsOf(arguments.run.timeout.value_or(kDefaultTimeout))),
      states(mostWorkers),
      processes(mostWorkers),
      received(kReceiveSize) {}

WorkerPool::~WorkerPool() {
    for (const Process& process : processes) {
        if (process.id > 0) {
            ::kill(process.id, SIGKILL);
        }
    }
    for (const Process& process : processes) {
        if (process.id > 0) {
            waitForEnd(process.id);
        }
    }
}

bool WorkerPool::hasRoom() const {
    return std::any_of(processes.begin(), processes.end(),
                       [](const Process& process) { return process.isFilling; });
}

std::size_t WorkerPool::roomiest() const {
    const auto least = std::min_element(
        processes.begin(), processes.end(), [](const Process& left, const Process& right) {
            return std::pair(!left.isFilling, left.requests.size()) <
                   std::pair(!right.isFilling, right.requests.size());
        });
    return static_cast<std::size_t>(least - processes.begin());
}

void WorkerPool::submit(std::uint64_t number, const InputFile& file) {
    send(roomiest(), {number, packRequest(number, file)});
}

void WorkerPool::start(std::size_t index) {
    Process& process = processes[index];
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        failToStart();
    }
    process.socket.reset(ends[0]);
    Descriptor workerEnd(ends[1]);
    WorkerState& state = states[index];
    state.file = WorkerState::kNoFile;
    const pid_t mainProcess = ::getpid();
    process.id = ::fork();
    if (process.id < 0) {
        failToStart();
    }
    if (process.id == 0) {
        // A terminal's interrupt or end goes to all processes; the main one ends the others.
        ::signal(SIGINT, SIG_IGN);
        ::signal(SIGHUP, SIG_IGN);
        ::signal(SIGTERM, SIG_DFL);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != mainProcess) {
            ::_exit(1);
        }
        // What belongs to other workers counts against this one's memory, and holds their sockets.
        for (Process& other : processes) {
            if (&other != &process) {
                other = Process();
            }
        }
        process.socket.reset();
        try {
            runWorker(workerEnd.get(), state, arguments, colour, standardInput);
        } catch (...) {
            ::_exit(1);
        }
        ::_exit(0);
    }
    process.depth = kLeastDepth;
}

void WorkerPool::send(std::size_t index, Request request) {
    Process& process = processes[index];
    if (process.id < 0) {
        start(index);
    }
    if (process.requests.empty()) {
        process.lastAnswer = steadyNanoseconds();  // it was idle until now
    }
    process.outgoing.append(request.packed);
    process.requests.push_back(std::move(request));
    process.isFilling = process.requests.size() < process.depth;
}

void WorkerPool::sendOutgoing(Process& process) {
    while (!process.outgoing.empty()) {
        const ssize_t sent = ::send(process.socket.get(), process.outgoing.data(),
                                    process.outgoing.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent < 0) {
            return;  // full, or the worker has ended, which is seen when receiving
        }
        process.outgoing.erase(0, static_cast<std::size_t>(sent));
    }
}

std::chrono::milliseconds WorkerPool::untilNextDeadline(std::chrono::milliseconds most) const {
    const std::int64_t now = steadyNanoseconds();
    std::int64_t least = std::chrono::nanoseconds(most).count();
    for (std::size_t index = 0; index < processes.size(); ++index) {
        const WorkerState& state = states[index];
        if (processes[index].id > 0 && state.file != WorkerState::kNoFile) {
            least = std::min(least, state.began + timeLimit - now);
        }
    }
    constexpr std::int64_t kMillisecond = 1'000'000;
    return std::chrono::milliseconds(std::max<std::int64_t>(0, least / kMillisecond + 1));
}

void WorkerPool::endLateOnes() {
    const std::int64_t now = steadyNanoseconds();
    for (std::size_t index = 0; index < processes.size(); ++index) {
        Process& process = processes[index];
        const WorkerState& state = states[index];
        if (process.id > 0 && !process.isLate && state.file != WorkerState::kNoFile &&
            now - state.began > timeLimit) {
            process.isLate = true;
            ::kill(process.id, SIGKILL);
        }
    }
}

std::vector<WorkerAnswer> WorkerPool::wait(std::chrono::milliseconds most,
                                           const std::vector<int>& others) {
    polled.clear();
    for (Process& process : processes) {
        sendOutgoing(process);
        const bool isFull = !process.outgoing.empty();
        polled.push_back({process.id > 0 ? process.socket.get() : -1,
                          static_cast<short>(POLLIN | (isFull ? POLLOUT : 0)), 0});
    }
    for (const int other : others) {
        polled.push_back({other, POLLIN, 0});
    }
    std::vector<WorkerAnswer> answers;
    const auto milliseconds = static_cast<int>(untilNextDeadline(most).count());
    if (::poll(polled.data(), polled.size(), milliseconds) > 0) {
        for (std::size_t index = 0; index < processes.size(); ++index) {
            if ((polled[index].revents & POLLOUT) != 0) {
                sendOutgoing(processes[index]);
            }
            if ((polled[index].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
                receive(index, answers);
            }
        }
    }
    endLateOnes();
    return answers;
}

void WorkerPool::receive(std::size_t index, std::vector<WorkerAnswer>& answers) {
    Process& process = processes[index];
    while (true) {
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
        iovec vector{received.data(), received.size()};
        msghdr header{};
        header.msg_iov = &vector;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        const ssize_t got =
            ::recvmsg(process.socket.get(), &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        if (got > 0) {
            keepDescriptor(header, process.incomingFiles);
            takeAnswers(process, std::string_view(received.data(), static_cast<std::size_t>(got)),
                        answers);
        } else if (got < 0 && errno == EAGAIN) {
            return;
        } else if (got == 0 || errno != EINTR) {
            replace(index, answers);
            return;
        }
    }
}

void WorkerPool::takeAnswers(Process& process, std::string_view bytes,
                             std::vector<WorkerAnswer>& answers) {
    // Whole answers are taken from where they were received.
    const bool isContinued = !process.incoming.empty();
    if (isContinued) {
        process.incoming.append(bytes);
        bytes = process.incoming;
    }
    std::string_view body;
    std::size_t taken = 0;
    while (packed::takeWholeText(bytes, body)) {
        answers.push_back(unpackAnswer(process, body));
        process.requests.pop_front();
        ++taken;
    }
    if (isContinued) {
        process.incoming.erase(0, process.incoming.size() - bytes.size());
    } else {
        process.incoming.assign(bytes);
    }
    if (taken > 0) {
        const std::int64_t now = steadyNanoseconds();
        const auto each = (now - process.lastAnswer) / static_cast<std::int64_t>(taken) + 1;
        const auto depth = static_cast<std::size_t>(kNanosecondsAhead / each);
        process.depth = std::clamp(depth, kLeastDepth, kMostDepth);
        process.isFilling = process.requests.size() <= process.depth / 2;
        process.lastAnswer = now;
    }
}

WorkerAnswer WorkerPool::unpackAnswer(Process& process, std::string_view body) {
    WorkerAnswer answer;
    answer.number = packed::takeNumber(body);
    answer.report = unpackReport(body);
    switch (static_cast<PartPlace>(packed::takeNumber(body))) {
        case PartPlace::answer:
            answer.part.bytes = packed::takeText(body);
            break;
        case PartPlace::file:
            answer.part.spillSize = packed::takeNumber(body);
            answer.part.spill = std::move(process.incomingFiles.front());
            process.incomingFiles.pop_front();
            break;
    }
    return answer;
}

void WorkerPool::replace(std::size_t index, std::vector<WorkerAnswer>& answers) {
    Process& process = processes[index];
    ::kill(process.id, SIGKILL);
    const int status = waitForEnd(process.id);
    std::deque<Request> requests = std::move(process.requests);
    const bool wasLate = process.isLate;
    process = Process();

    // A worker that was not reading blames the file that it would have read next: otherwise a
    // worker that cannot even start would be started for ever.
    const std::uint64_t read = states[index].file;
    auto blamed = std::find_if(requests.begin(), requests.end(),
                               [read](const Request& request) { return request.number == read; });
    if (blamed == requests.end()) {
        blamed = requests.begin();
    }
    if (blamed != requests.end()) {
        WorkerAnswer answer;
        answer.number = blamed->number;
        answer.failure.emplace(wasLate ? kTimeoutId : kWorkerDiedId,
                               std::vector<qxMessageArgument>{qxMessageText(
                                   wasLate ? secondsText(timeLimit) : endingText(status))});
        answers.push_back(std::move(answer));
        requests.erase(blamed);
    }
    for (Request& request : requests) {
        send(index, std::move(request));
    }
}

}  // namespace app
