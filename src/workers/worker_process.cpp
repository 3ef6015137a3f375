#include "workers/worker_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <span>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/auxv.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "io/descriptor_passing.h"
#include "io/interruption.h"
#include "io/run_failure.h"
#include "io/sanitized.h"

namespace ifdsweep {
namespace {

void check(int error) {
    if (error != 0) {
        throw RunFailure(systemErrorText(error));
    }
}

void checkCall(int result) {
    check(result == 0 ? 0 : errno);
}

/// What a new process is given of this one's descriptors.
class FileActions {
public:
    FileActions() { check(::posix_spawn_file_actions_init(&actions)); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions); }

    void give(int descriptor, int as) {
        check(::posix_spawn_file_actions_adddup2(&actions, descriptor, as));
    }
    void closeFrom(int first) {
        check(::posix_spawn_file_actions_addclosefrom_np(&actions, first));
    }

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions; }

private:
    posix_spawn_file_actions_t actions{};
};

/// How a new process takes signals: as a program does that nobody told otherwise. Interrupts wait
/// until it has said what it does with them.
class Attributes {
public:
    Attributes() {
        check(::posix_spawnattr_init(&attributes));
        sigset_t signals;
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
        ::sigemptyset(&signals);
        for (const int signal : Interruption::kSignals) {
            ::sigaddset(&signals, signal);
        }
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { ::posix_spawnattr_destroy(&attributes); }

    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes; }

private:
    posix_spawnattr_t attributes{};
};

/// A descriptor that takes nothing. Not /dev/null, which a bare root lacks.
Descriptor makeNowhere() {
    std::array<int, 2> ends{-1, -1};
    checkCall(::pipe2(ends.data(), O_CLOEXEC));
    ::close(ends[0]);
    return Descriptor(ends[1]);
}

}  // namespace

std::string ownProgram() {
    constexpr const char* kSelf = "/proc/self/exe";
    if (::access(kSelf, X_OK) == 0) {
        return kSelf;  // the program that runs, even if another has its name by now
    }
    // The system keeps what was started as a text, which outlives the call.
    const unsigned long address = ::getauxval(AT_EXECFN);
    const char* name = nullptr;
    static_assert(sizeof name == sizeof address);
    std::memcpy(&name, &address, sizeof name);
    if (name == nullptr) {
        return kSelf;
    }
    std::array<char, PATH_MAX> whole{};
    return ::realpath(name, whole.data()) != nullptr ? whole.data() : name;
}

WorkerProcess::WorkerProcess(const std::string& program, const std::string& setup,
                             int standardInput)
    : shared(SharedMemory<WorkerState>::make()) {
    std::array<int, 2> ends{-1, -1};
    checkCall(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()));
    ownEnd.reset(ends[0]);
    const Descriptor workerEnd(ends[1]);
    // Sent before the process is there, so that there is none when it cannot be.
    const std::array<int, kMostPassed> files{shared.second.get(), standardInput};
    const std::size_t fileCount = standardInput >= 0 ? 2 : 1;
    if (sendWithFiles(ownEnd.get(), setup.substr(0, 1), std::span(files).first(fileCount),
                      MSG_DONTWAIT) != 1) {
        check(errno);
    }
    shared.second.reset();
    start(program, workerEnd.get());
}

void WorkerProcess::start(const std::string& program, int workerEnd) {
    const Descriptor nowhere = makeNowhere();
    FileActions actions;
    // The program's own output is no worker's: whoever reads it must not wait for one that cannot
    // be ended.
    actions.give(workerEnd, STDIN_FILENO);
    actions.give(nowhere.get(), STDOUT_FILENO);
    if (!kIsSanitized) {
        actions.give(nowhere.get(), STDERR_FILENO);
    }
    actions.closeFrom(STDERR_FILENO + 1);
    const Attributes attributes;
    std::string name = "ifdsweep";
    std::string command = kWorkerCommand;
    const std::array<char*, 3> words{name.data(), command.data(), nullptr};
    check(::posix_spawn(&process, program.c_str(), actions.get(), attributes.get(), words.data(),
                        environ));
}

std::optional<int> waitForEnd(pid_t process, std::chrono::nanoseconds most) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::nanoseconds kLongestPause = std::chrono::milliseconds(10);
    std::chrono::nanoseconds pause = std::chrono::microseconds(20);
    const Clock::time_point end = Clock::now() + most;
    while (true) {
        int status = 0;
        const pid_t ended = ::waitpid(process, &status, WNOHANG);
        if (ended != 0 && !(ended < 0 && errno == EINTR)) {
            return status;
        }
        if (Clock::now() >= end) {
            return {};
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(2 * pause, kLongestPause);
    }
}

}  // namespace ifdsweep
