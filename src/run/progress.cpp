#include "run/progress.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/output.h"
#include "io/terminal.h"
#include "text/count_text.h"
#include "text/error_stream.h"
#include "text/terminal_text.h"
#include "walk/input_files.h"

namespace ifdsweep {
namespace {

/// Whether a list can be read by the counting process too: a pipe gives its lines only once.
bool canBeReadTwice(const std::string& listFile) {
    struct stat status {};
    return listFile.empty() || (listFile != kStandardInput &&
                                ::stat(listFile.c_str(), &status) == 0 && S_ISREG(status.st_mode));
}

/// Counts as long as it is wanted and cheap: a storage on which it takes longer than this has
/// better things to do than to list its folders twice.
void countFiles(FileCount& count, const InputChoice& input) noexcept {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds kLongest{10};
    // The files' readers come first. A thread has a priority of its own here.
    static_cast<void>(::setpriority(PRIO_PROCESS, 0, 19));
    const Clock::time_point end = Clock::now() + kLongest;
    try {
        InputFiles files(input, {});
        std::uint64_t found = 0;
        while (files.next()) {
            ++found;
            if (count.isUnwanted || Clock::now() > end) {
                return;
            }
        }
        count.total = found;
    } catch (const std::exception&) {
        return;  // what is wrong with the list or the memory is told by the run
    }
}

std::string safeText(std::string_view bytes) {
    StringSink sink;
    Output output(sink);
    appendTerminalText(output, bytes);
    output.flush();
    return std::move(sink.text);
}

/// Columns that a byte of UTF-8 begins at most: characters of three bytes and more may be wide.
std::size_t columnsOf(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= 0xE0 ? 2 : (value & 0xC0) == 0x80 ? 0 : 1;
}

/// The end of a text in UTF-8, after dots where it is not all of it; nothing when there is no room
/// for something that says anything.
std::string ending(const std::string& text, std::size_t columns) {
    constexpr std::string_view kDots = "...";
    constexpr std::size_t kLeast = 12;
    std::size_t taken = 0;
    std::size_t begin = text.size();
    std::size_t fitting = text.size();  // where the text begins that fits after dots
    while (begin > 0) {
        std::size_t next = begin - 1;
        while (next > 0 && columnsOf(text[next]) == 0) {
            --next;
        }
        taken += columnsOf(text[next]);
        if (taken > columns) {
            return columns < kLeast ? "" : std::string(kDots) + text.substr(fitting);
        }
        begin = next;
        if (taken + kDots.size() <= columns) {
            fitting = begin;
        }
    }
    return text;
}

}  // namespace

std::size_t errorColumns() {
    constexpr std::size_t kUsual = 80;
    return terminalColumns(STDERR_FILENO).value_or(kUsual);
}

std::string shownPath(std::string_view path, std::size_t columns) {
    return ending(safeText(path), columns);
}

Progress::Progress(const RunOptions& options)
    : isShown(options.run.progress && ::isatty(STDERR_FILENO) == 1) {
    if (isShown && canBeReadTwice(options.input.listFile)) {
        startCounting(options.input);
    }
}

Progress::~Progress() {
    hide();
    if (!counter.joinable()) {
        return;
    }
    count->isUnwanted = true;
    // It looks at every file whether it is still wanted. What keeps it longer is a folder of very
    // many names, or a system that does not answer: it may end later, with what is its own.
    if (counterEnd.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready) {
        counter.join();
    } else {
        counter.detach();
    }
}

void Progress::startCounting(const InputChoice& input) {
    try {
        count = std::make_shared<FileCount>();
        std::packaged_task<void()> task([shared = count, input] { countFiles(*shared, input); });
        counterEnd = task.get_future();
        counter = std::thread(std::move(task));
    } catch (const std::system_error&) {
        count.reset();  // no thread is to be had: the line shows no total
    }
}

void Progress::show(const RunState& state) {
    constexpr std::chrono::milliseconds kInterval{200};
    const Clock::time_point now = Clock::now();
    if (!isShown || now - lastShown < kInterval) {
        return;
    }
    const std::uint64_t total = count != nullptr ? count->total.load() : 0;
    showProgressLine(
        text(state, now - begin, total > 0 ? std::optional(total) : std::nullopt, errorColumns()));
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
                           std::optional<std::uint64_t> total, std::size_t columns) {
    const auto done = static_cast<double>(state.passed);
    const double rate = elapsed.count() > 0 ? done / elapsed.count() : 0;
    std::string text = countText(state.passed, "file", "files");
    if (total) {
        text += " of " + std::to_string(*total);
    }
    text += ", " + std::to_string(std::lround(rate)) + "/s, " + std::to_string(state.failed) +
            " failed";
    if (total && rate > 0 && *total > state.passed) {
        const double left = (static_cast<double>(*total) - done) / rate;
        text += ", " + std::to_string(std::lround(left)) + " s left";
    }
    text.resize(std::min(text.size(), columns));
    if (!state.slowFile.empty() && state.slowSince >= kSlowFile) {
        const std::string time = " takes " + std::to_string(state.slowSince.count()) + " s";
        const std::size_t others = text.size() + 2 + time.size();
        const std::string name = shownPath(state.slowFile, columns > others ? columns - others : 0);
        if (!name.empty()) {
            text += "; " + name + time;
        }
    }
    return text;
}

}  // namespace ifdsweep
