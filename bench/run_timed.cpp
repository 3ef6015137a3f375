// run_timed COMMAND...: runs a command with its output into a pipe that is read to its end, and
// prints one line of JSON: seconds from start to end, processor time in seconds, peak memory in
// KiB, bytes of output, status.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <vector>

namespace {

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 2) {
        std::fputs("usage: run_timed COMMAND...\n", stderr);
        return 2;
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        std::perror("run_timed");
        return 1;
    }
    constexpr int kPipeSize = 1 << 20;
    static_cast<void>(fcntl(ends[1], F_SETPIPE_SZ, kPipeSize));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);

    std::vector<char> buffer(kPipeSize);
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    if (posix_spawnp(&child, arguments[1], &actions, nullptr, arguments + 1, environ) != 0) {
        std::fprintf(stderr, "run_timed: cannot run %s\n", arguments[1]);
        return 1;
    }
    close(ends[1]);
    unsigned long long bytes = 0;
    for (ssize_t got = 0; (got = read(ends[0], buffer.data(), buffer.size())) > 0;) {
        bytes += static_cast<unsigned long long>(got);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    std::printf(
        "{\"seconds\": %.6f, \"processor\": %.6f, \"peak\": %ld, \"bytes\": %llu, "
        "\"status\": %d}\n",
        taken.count(), secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime), usage.ru_maxrss,
        bytes, WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    return 0;
}
