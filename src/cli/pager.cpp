#include "cli/pager.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "io/descriptor.h"
#include "io/exit_status.h"
#include "text/error_stream.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kUsualPager = "less";

/// The pager's command; empty for none.
std::string pagerCommand() {
    for (const char* const variable : {"IFDSWEEP_PAGER", "PAGER"}) {
        if (const char* const command = std::getenv(variable); command != nullptr) {
            return std::string_view(command) == "cat" ? "" : command;
        }
    }
    return std::string(kUsualPager);
}

/// The words of a command as a shell would take them; the shell itself where it would do more with
/// them than to part them.
std::vector<std::string> commandWords(const std::string& command) {
    if (command.find_first_of("|&;<>()$`\\\"'*?[#~=%{\n") != std::string::npos) {
        return {"/bin/sh", "-c", command};
    }
    constexpr const char* kBlanks = " \t";
    std::vector<std::string> words;
    for (std::size_t begin = 0;
         (begin = command.find_first_not_of(kBlanks, begin)) != std::string::npos;) {
        const std::size_t end = std::min(command.find_first_of(kBlanks, begin), command.size());
        words.push_back(command.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// What the first process waits for, instead of being interrupted by it: that a child ends, and the
/// signals that it passes on.
class AwaitedSignals {
public:
    AwaitedSignals() {
        ::sigemptyset(&signals);
        ::sigaddset(&signals, SIGCHLD);
        for (const int signal : {SIGTERM, SIGHUP}) {
            if (!isIgnored(signal)) {
                ::sigaddset(&signals, signal);
            }
        }
        ::sigprocmask(SIG_BLOCK, &signals, &before);
    }
    AwaitedSignals(const AwaitedSignals&) = delete;
    AwaitedSignals& operator=(const AwaitedSignals&) = delete;
    ~AwaitedSignals() { ::sigprocmask(SIG_SETMASK, &before, nullptr); }

    /// The next of them.
    [[nodiscard]] int next() const {
        int signal = 0;
        while (::sigwait(&signals, &signal) == EINTR) {
        }
        return signal;
    }

    /// The next of them, or SIGCHLD after a moment without any.
    [[nodiscard]] int nextSoon() const {
        constexpr timespec kMoment{0, 100'000'000};
        const int signal = ::sigtimedwait(&signals, nullptr, &kMoment);
        return signal > 0 ? signal : SIGCHLD;
    }

    [[nodiscard]] const sigset_t& maskBefore() const { return before; }

private:
    sigset_t signals{};
    sigset_t before{};
};

/// Leaves what the terminal's keys send to the other processes, as long as it lives.
class IgnoredKeys {
public:
    IgnoredKeys() {
        for (std::size_t index = 0; index < kSignals.size(); ++index) {
            struct sigaction ignoring {};
            ignoring.sa_handler = SIG_IGN;
            ::sigaction(kSignals[index], &ignoring, &before[index]);
        }
    }
    IgnoredKeys(const IgnoredKeys&) = delete;
    IgnoredKeys& operator=(const IgnoredKeys&) = delete;
    ~IgnoredKeys() {
        for (std::size_t index = 0; index < kSignals.size(); ++index) {
            ::sigaction(kSignals[index], &before[index], nullptr);
        }
    }

private:
    static constexpr std::array<int, 2> kSignals{SIGINT, SIGQUIT};
    std::array<struct sigaction, kSignals.size()> before{};
};

/// A child of the first process, until it has been waited for.
class Child {
public:
    explicit Child(pid_t process) : id(process) {}

    /// Whether it has ended, as far as is known without waiting.
    bool hasEnded() {
        if (!ended && ::waitpid(id, &status, WNOHANG) != 0) {
            ended = true;
        }
        return ended;
    }
    void send(int signal) const {
        if (!ended) {
            ::kill(id, signal);
        }
    }

    /// Of one that has ended, as a shell tells it.
    [[nodiscard]] int exitStatus() const {
        return WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
    }

private:
    pid_t id;
    int status = 0;
    bool ended = false;
};

/// Starts the pager with the end of a pipe as its standard input.
/// @param error errno, where no process is returned
std::optional<Child> startPager(const std::string& command, int input, const sigset_t& mask,
                                int& error) {
    std::vector<std::string> words = commandWords(command);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    // Colours are shown, a short output stays on the screen and ends the pager.
    ::setenv("LESS", "FRX", 0);
    ::setenv("LV", "-c", 0);
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    sigset_t usual;
    ::sigemptyset(&usual);
    ::sigaddset(&usual, SIGPIPE);  // this program ignores them
    ::sigaddset(&usual, SIGXFSZ);
    pid_t process = -1;
    error = ::posix_spawn_file_actions_init(&actions);
    if (error != 0) {
        return std::nullopt;
    }
    error = ::posix_spawnattr_init(&attributes);
    if (error == 0) {
        ::posix_spawnattr_setsigdefault(&attributes, &usual);
        ::posix_spawnattr_setsigmask(&attributes, &mask);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        error = ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
        if (error == 0) {
            error = ::posix_spawnp(&process, arguments[0], &actions, &attributes, arguments.data(),
                                   environ);
        }
        ::posix_spawnattr_destroy(&attributes);
    }
    ::posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::optional(Child(process)) : std::nullopt;
}

/// Whether it is the process's own terminal.
bool isOwnTerminal(int descriptor) {
    return ::tcgetpgrp(descriptor) >= 0;
}

/// The process that does the work: its output goes to the pager.
void joinPager(const Descriptor& output, pid_t first) {
    ::dup2(output.get(), STDOUT_FILENO);
    if (isOwnTerminal(STDERR_FILENO)) {
        ::dup2(output.get(), STDERR_FILENO);
    }
    // Where the first process is killed, nobody would wait for this one.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != first) {
        ::raise(SIGTERM);
    }
}

/// Whether anyone may still read what is written to a pipe.
bool hasReader(const Descriptor& pipe) {
    pollfd state{pipe.get(), 0, 0};
    return ::poll(&state, 1, 0) != 1 || (state.revents & POLLERR) == 0;
}

void awaitEnd(const AwaitedSignals& signals, Child& pager) {
    while (!pager.hasEnded()) {
        if (const int signal = signals.next(); signal != SIGCHLD) {
            pager.send(signal);
        }
    }
}

/// Waits until both have ended; the exit status of the work. Where the work was told to end because
/// the pager had, it is that of an output without a reader; where somebody else told both, that of
/// the signal, whichever of them ended first.
/// @param output what the work writes to, which is closed behind it: the pager then has it all
int awaitBoth(const AwaitedSignals& signals, Child& work, Child& pager, Descriptor output) {
    bool isStopped = false;
    int passedOn = 0;
    while (true) {
        const bool hasWorkEnded = work.hasEnded();
        const bool hasPagerEnded = pager.hasEnded();
        if (hasWorkEnded) {
            output.reset();
        }
        if (hasWorkEnded && hasPagerEnded) {
            break;
        }
        const bool isWatched = hasPagerEnded && !hasWorkEnded && !isStopped && passedOn == 0;
        // Nobody looks any more: it need not go on until it has something to print. Asked again and
        // again, since what the pager left in the background may read for longer.
        if (isWatched && !hasReader(output)) {
            isStopped = true;
            work.send(SIGTERM);
        }
        const int signal = isWatched && !isStopped ? signals.nextSoon() : signals.next();
        if (signal != SIGCHLD) {
            passedOn = signal;
            work.send(signal);
            pager.send(signal);
        }
    }
    const int status = work.exitStatus();
    if (passedOn != 0 && status == kOutputClosed) {
        return kSignalBase + passedOn;
    }
    return isStopped && status == kSignalBase + SIGTERM ? kOutputClosed : status;
}

/// What a shell ends with that cannot run the command.
bool isNoCommand(int status) {
    return status == 126 || status == 127;
}

}  // namespace

bool hasTerminalForPager() {
    const char* const terminal = std::getenv("TERM");
    const bool isCapable = terminal != nullptr && std::string_view(terminal) != "dumb";
    return isCapable && ::isatty(STDOUT_FILENO) == 1 && ::tcgetpgrp(STDOUT_FILENO) == ::getpgrp();
}

bool fitsTerminal(std::string_view text) {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
        return true;
    }
    std::size_t rows = 1;  // the one with the cursor
    while (!text.empty() && rows <= size.ws_row) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        rows += length == 0 ? 1 : (length + size.ws_col - 1) / size.ws_col;
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return rows <= size.ws_row;
}

std::optional<int> splitForPager(WorkAgain workAgain) {
    const std::string command = pagerCommand();
    std::array<int, 2> ends{-1, -1};
    if (command.find_first_not_of(" \t") == std::string::npos ||
        ::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    Descriptor input(ends[0]);
    Descriptor output(ends[1]);
    const AwaitedSignals signals;
    int error = 0;
    std::optional<Child> pager = startPager(command, input.get(), signals.maskBefore(), error);
    if (!pager) {
        if (command != kUsualPager) {
            printError({"cannot run the pager ", command, ": ", systemErrorText(error)});
        }
        return std::nullopt;
    }
    const pid_t first = ::getpid();
    const pid_t process = ::fork();
    if (process == 0) {
        joinPager(output, first);
        return std::nullopt;
    }
    const IgnoredKeys keys;
    input.reset();
    if (process < 0) {
        output.reset();
        awaitEnd(signals, *pager);
        return std::nullopt;
    }
    Child work(process);
    const int status = awaitBoth(signals, work, *pager, std::move(output));
    if (isNoCommand(pager->exitStatus())) {
        printError({"cannot run the pager ", command});
        if (workAgain == WorkAgain::forbidden) {
            return kOutputClosed;
        }
        return std::nullopt;  // nothing was shown: once more, without it
    }
    return status;
}

}  // namespace ifdsweep
