#include "program/program_run.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/whole_file.h"

namespace programrun {

namespace fs = std::filesystem;
using fixture::readFile;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

Running::Running(Running&& other) noexcept : id(std::exchange(other.id, -1)) {}

Running::~Running() {
    if (id > 0) {
        ::kill(id, SIGKILL);
        ::waitpid(id, nullptr, 0);
    }
}

void Running::send(int signal) const {
    sendTo(id, signal);
}

void Running::sendToGroup(int signal) const {
    ASSERT_GT(id, 1);
    EXPECT_EQ(::kill(-id, signal), 0);
}

int Running::wait() {
    int status = 0;
    EXPECT_EQ(::waitpid(id, &status, 0), id);
    id = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void becomeOrdinary() {
    constexpr uid_t kNobody = 65534;
    if (::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) {
        ::_exit(126);
    }
}

namespace {

/// What the system tells of a process; empty when it has gone, be it while it is read.
std::string systemText(pid_t process, const std::string& name) {
    std::ifstream stream("/proc/" + std::to_string(process) + '/' + name);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

/// Of "ID (NAME) STATE PARENT ...", where a name may hold anything, the state and what follows.
std::string stateOf(pid_t process) {
    const std::string status = systemText(process, "stat");
    const std::size_t nameEnd = status.rfind(") ");
    return nameEnd == std::string::npos ? "Z" : status.substr(nameEnd + 2);
}

}  // namespace

bool isRunning(pid_t process) {
    return stateOf(process)[0] != 'Z';
}

std::vector<pid_t> childrenOf(pid_t process) {
    std::vector<pid_t> children;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const pid_t id = std::atoi(entry.path().filename().c_str());
        const std::string state = id > 0 ? stateOf(id) : "Z";
        if (state[0] != 'Z' && std::atoi(state.c_str() + 2) == process) {
            children.push_back(id);
        }
    }
    return children;
}

std::size_t ownMemoryOf(pid_t process) {
    const std::string status = systemText(process, "status");
    constexpr std::string_view kMark = "RssAnon:";
    const std::size_t mark = status.find(kMark);
    return mark == std::string::npos
               ? 0
               : std::strtoul(status.c_str() + mark + kMark.size(), nullptr, 10) * 1024;
}

bool comesTrue(const std::function<bool()>& isTrue, std::chrono::milliseconds longest) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + longest;
    while (!isTrue()) {
        if (steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool hasOpen(pid_t process, const std::string& fileName) {
    // The process may go while its files are looked at.
    std::error_code error;
    fs::directory_iterator entry("/proc/" + std::to_string(process) + "/fd", error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        std::error_code linkError;
        if (fs::read_symlink(entry->path(), linkError).filename() == fileName) {
            return true;
        }
    }
    return false;
}

pid_t readerOf(pid_t process, const std::string& fileName) {
    for (const pid_t child : childrenOf(process)) {
        if (hasOpen(child, fileName)) {
            return child;
        }
    }
    return -1;
}

pid_t awaitReaderOf(pid_t process, const std::string& fileName) {
    pid_t reader = -1;
    if (!comesTrue([&] {
            reader = readerOf(process, fileName);
            return reader > 0;
        })) {
        throw std::runtime_error("no process reads " + fileName);
    }
    return reader;
}

std::vector<std::string> unlimited(const std::vector<std::string>& arguments) {
    std::vector<std::string> all{"--read-budget", "unlimited", "--value-budget", "unlimited"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

void sendTo(pid_t process, int signal) {
    ASSERT_GT(process, 1);
    EXPECT_EQ(::kill(process, signal), 0);
}

void ProgramRun::SetUp() {
    fs::create_directory(folder / "in");
    fs::create_directory(folder / "tmp");
}

void ProgramRun::TearDown() {
    EXPECT_TRUE(fs::is_empty(folder / "tmp")) << "temporary files were left behind";
}

Launch ProgramRun::withStreams(Launch launch) const {
    if (launch.out.empty()) {
        launch.out = folder / "out";
    }
    if (launch.error.empty()) {
        launch.error = folder / "error";
    }
    return launch;
}

Running ProgramRun::start(const Launch& given) const {
    const Launch launch = withStreams(given);
    std::vector<char*> words{const_cast<char*>("ifdsweep")};
    for (const std::string& argument : launch.arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    // A test that runs in the background may have been told to ignore them, and its children too.
    ::signal(SIGINT, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
    ::signal(SIGHUP, SIG_DFL);
    const pid_t child = ::fork();
    if (child == 0) {
        const int input = ::open(launch.input.c_str(), O_RDONLY);
        const int out = ::open(launch.out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int error = ::open(launch.error.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        // Who has given up rights may not be let into the folder of the program any more.
        const int program = ::open(IFDSWEEP_PROGRAM, O_PATH | O_CLOEXEC);
        ::setenv("TZ", "UTC", 1);
        ::setenv("TMPDIR", (folder / "tmp").c_str(), 1);
        if (input < 0 || out < 0 || error < 0 || program < 0 || ::dup2(input, 0) < 0 ||
            ::dup2(out, 1) < 0 || ::dup2(error, 2) < 0 || ::chdir((folder / "in").c_str()) != 0) {
            ::_exit(126);
        }
        ::close(input);
        ::close(out);
        ::close(error);
        launch.prepare();
        ::execve(IFDSWEEP_PROGRAM, words.data(), environ);
        ::fexecve(program, words.data(), environ);
        ::_exit(127);
    }
    return Running(child);
}

Ending ProgramRun::endingOf(int status) const {
    return {readFile(folder / "out"), readFile(folder / "error"), status};
}

Ending ProgramRun::run(const Launch& launch) const {
    Running program = start(launch);
    Ending ending = endingOf(program.wait());
    if (!launch.out.empty()) {
        ending.out = fs::is_regular_file(launch.out) ? readFile(launch.out) : "";
    }
    return ending;
}

Ending ProgramRun::run(const std::vector<std::string>& arguments) const {
    Launch launch;
    launch.arguments = arguments;
    return run(launch);
}

Ending ProgramRun::bothWays(std::vector<std::string> arguments) const {
    const Ending alone = run(arguments);
    arguments.insert(arguments.begin(), {"--jobs", "1"});
    const Ending throughWorker = run(arguments);
    EXPECT_EQ(alone.out, throughWorker.out) << testing::PrintToString(arguments);
    EXPECT_EQ(alone.error, throughWorker.error) << testing::PrintToString(arguments);
    EXPECT_EQ(alone.status, throughWorker.status) << testing::PrintToString(arguments);
    return alone;
}

Ending ProgramRun::run(const std::vector<std::string>& arguments,
                       const fs::path& standardOutput) const {
    Launch launch;
    launch.arguments = arguments;
    launch.out = standardOutput;
    return run(launch);
}

Ending ProgramRun::shell(const std::string& line) const {
    const std::string command = "cd '" + (folder / "in").string() + "' && TMPDIR='" +
                                (folder / "tmp").string() + "' PROGRAM='" + IFDSWEEP_PROGRAM +
                                "' bash -c '" + line + "' > '" + (folder / "out").string() +
                                "' 2> '" + (folder / "error").string() + "' < /dev/null";
    const int status = std::system(command.c_str());
    return endingOf(WEXITSTATUS(status));
}

std::vector<std::string> ProgramRun::names() const {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(folder / "in")) {
        all.push_back(entry.path().filename().string());
    }
    std::sort(all.begin(), all.end());
    return all;
}

}  // namespace programrun
