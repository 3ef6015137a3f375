#include "app/progress.h"

#include <array>
#include <cmath>
#include <csignal>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/counted.h"
#include "app/error_stream.h"
#include "app/input_files.h"

namespace app {
namespace {

/// Whether a list can be read by the counting process too: a pipe gives its lines only once.
bool canBeReadTwice(const std::string& listFile) {
    struct stat status {};
    return listFile.empty() || (listFile != kStandardInput &&
                                ::stat(listFile.c_str(), &status) == 0 && S_ISREG(status.st_mode));
}

}  // namespace

Progress::Progress(const Arguments& arguments)
    : isShown(arguments.run.progress && ::isatty(STDERR_FILENO) == 1) {
    if (isShown && canBeReadTwice(arguments.input.listFile)) {
        startCounting(arguments.input);
    }
}

Progress::~Progress() {
    hide();
    if (counter > 0) {
        ::kill(counter, SIGKILL);
        ::waitpid(counter, nullptr, 0);
    }
}

void Progress::startCounting(const InputChoice& input) {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    count.reset(ends[0]);
    const Descriptor counterEnd(ends[1]);
    counter = ::fork();
    if (counter == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        try {
            InputFiles files(input, {});
            std::uint64_t found = 0;
            while (files.next()) {
                ++found;
            }
            static_cast<void>(!::write(counterEnd.get(), &found, sizeof found));
        } catch (...) {
            ::_exit(1);
        }
        ::_exit(0);
    }
}

void Progress::takeTotal() {
    std::uint64_t found = 0;
    if (count.isOpen() && ::read(count.get(), &found, sizeof found) == sizeof found) {
        total = found;
        count.reset();
    }
}

void Progress::show(const RunState& state) {
    constexpr std::chrono::milliseconds kInterval{200};
    const Clock::time_point now = Clock::now();
    if (!isShown || now - lastShown < kInterval) {
        return;
    }
    takeTotal();
    showProgressLine(text(state, now - begin, total));
    lastShown = now;
    isVisible = true;
}

void Progress::hide() {
    if (isVisible) {
        showProgressLine("");
        isVisible = false;
    }
}

std::string Progress::text(const RunState& state, std::chrono::duration<double> elapsed,
                           std::optional<std::uint64_t> total) {
    const auto done = static_cast<double>(state.passed);
    const double rate = elapsed.count() > 0 ? done / elapsed.count() : 0;
    std::string text = counted(state.passed, "file", "files");
    if (total) {
        text += " of " + std::to_string(*total);
    }
    text += ", " + std::to_string(std::lround(rate)) + "/s, " + std::to_string(state.failed) +
            " failed";
    if (total && rate > 0 && *total > state.passed) {
        const double left = (static_cast<double>(*total) - done) / rate;
        text += ", " + std::to_string(std::lround(left)) + " s left";
    }
    return text;
}

}  // namespace app
