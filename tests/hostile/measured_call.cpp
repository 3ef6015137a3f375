#include "hostile/measured_call.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/temporary_file.h"

namespace fixture {
namespace {

/// The name of a message as `messageDump` gives it, without its arguments.
std::string nameOf(const std::string& message) {
    return message.substr(0, message.find('('));
}

std::string summary(const Call& given) {
    std::vector<std::pair<std::string, std::size_t>> kinds;
    for (const std::string& warning : given.warnings) {
        const std::string name = nameOf(warning);
        const auto known = std::find_if(kinds.begin(), kinds.end(),
                                        [&](const auto& kind) { return kind.first == name; });
        if (known == kinds.end()) {
            kinds.emplace_back(name, 1);
        } else {
            ++known->second;
        }
    }
    std::string text = given.error.empty() ? given.result : "error " + nameOf(given.error);
    for (const auto& [name, number] : kinds) {
        text += "; " + name + " x" + std::to_string(number);
    }
    return text;
}

[[noreturn]] void throwSystemError(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// Runs a call, hands its summary to a pipe and ends the process.
[[noreturn]] void runChild(int pipeEnd, const std::function<Call()>& call) {
    constexpr rlim_t kProcessorSeconds = 120;  // a hundred times what any call takes
    const rlimit limit{kProcessorSeconds, kProcessorSeconds};
    ::setrlimit(RLIMIT_CPU, &limit);
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    const CountedReads before = countedReads();
    std::string text;
    try {
        text = summary(call());
    } catch (const std::exception& failure) {
        text = std::string("exception ") + failure.what();
    }
    CountedReads reads = countedReads();
    reads.calls -= before.calls;
    reads.bytes -= before.bytes;
    std::array<char, sizeof reads> head{};
    std::memcpy(head.data(), &reads, sizeof reads);
    text.insert(0, head.data(), head.size());
    const bool isWritten =
        ::write(pipeEnd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::_exit(isWritten ? 0 : 1);
}

MeasuredCall measured(const std::function<Call()>& call) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throwSystemError("pipe");
    }
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child < 0) {
        throwSystemError("fork");
    }
    if (child == 0) {
        ::close(ends[0]);
        runChild(ends[1], call);
    }
    ::close(ends[1]);
    MeasuredCall result;
    std::array<char, 4096> buffer{};
    for (ssize_t got = 0; (got = ::read(ends[0], buffer.data(), buffer.size())) > 0;) {
        result.outcome.append(buffer.data(), static_cast<std::size_t>(got));
    }
    ::close(ends[0]);
    if (result.outcome.size() >= sizeof result.reads) {
        std::memcpy(&result.reads, result.outcome.data(), sizeof result.reads);
        result.outcome.erase(0, sizeof result.reads);
    }
    int status = 0;
    rusage usage{};
    if (::wait4(child, &status, 0, &usage) != child) {
        throwSystemError("wait4");
    }
    if (WIFSIGNALED(status)) {
        result.outcome = "ended by signal " + std::to_string(WTERMSIG(status));
    } else if (WEXITSTATUS(status) != 0) {
        result.outcome = "ended with status " + std::to_string(WEXITSTATUS(status));
    }
    result.megabytes = static_cast<std::size_t>(usage.ru_maxrss) / 1024;
    return result;
}

}  // namespace

// The values are not turned into text, which would cost more than the call.
MeasuredCall measuredCall(const Bytes& bytes, const Numbers& numbers) {
    const TemporaryFile file("hostile.tif", bytes);
    return measured(
        [&] { return inspectFile(file.name(), numbers, [](const ifdsweep::Value&) {}); });
}

MeasuredCall measuredCall(const Bytes& bytes, const ifdsweep::Reading& reading) {
    const TemporaryFile file("hostile.tif", bytes);
    return measured([&] {
        return inspectFile(
            file.name(), {}, [](const ifdsweep::Value&) {}, &reading);
    });
}

}  // namespace fixture
