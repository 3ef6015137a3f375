#include "hostile/captured_program.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cli/program.h"
#include "workers/worker.h"

namespace fixture {
namespace {

struct Closer {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using TemporaryStream = std::unique_ptr<std::FILE, Closer>;

TemporaryStream makeStream() {
    TemporaryStream stream(std::tmpfile());
    if (stream == nullptr) {
        throw std::system_error(errno, std::generic_category(), "tmpfile");
    }
    return stream;
}

std::string contentOf(std::FILE* stream) {
    std::rewind(stream);
    std::string content;
    std::array<char, 4096> piece{};
    while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), stream)) {
        content.append(piece.data(), got);
    }
    return content;
}

}  // namespace

CapturedProgram runCaptured(const std::vector<std::string>& arguments,
                            const std::function<void()>& prepare) {
    const TemporaryStream output = makeStream();
    const TemporaryStream errors = makeStream();
    std::vector<const char*> list{"ifdsweep"};
    for (const std::string& argument : arguments) {
        list.push_back(argument.c_str());
    }
    // What this process has not written yet is not the program's output.
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        ::dup2(::fileno(output.get()), STDOUT_FILENO);
        ::dup2(::fileno(errors.get()), STDERR_FILENO);
        if (prepare) {
            prepare();
        }
        ::_exit(ifdsweep::runProgram(static_cast<int>(list.size()), list.data()));
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child) {
        throw std::system_error(errno, std::generic_category(), "waitpid");
    }
    CapturedProgram result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    result.output = contentOf(output.get());
    result.errors = contentOf(errors.get());
    return result;
}

}  // namespace fixture

/// The program starts itself anew for its workers, and here it is this one.
int main(int argumentCount, char** arguments) {
    if (argumentCount == 2 && std::string_view(arguments[1]) == ifdsweep::kWorkerCommand) {
        return ifdsweep::runProgram(argumentCount, arguments);
    }
    testing::InitGoogleTest(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
