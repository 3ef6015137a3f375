#pragma once

// Runs of the built program from outside, in a temporary folder of the test's own. Its TMPDIR is a
// folder that must be empty again at the end of every test.
//
// Ownership: a run ends its process with it. Threads: one at a time.

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>

#include "support/temporary_folder.h"

namespace programrun {

/// The lines of a text, each without its end; what stands behind the last end is a line too.
[[nodiscard]] std::vector<std::string> linesOf(const std::string& text);

/// What a run gave. A status above 128 is a signal.
struct Ending {
    std::string out;
    std::string error;
    int status = 0;
};

/// How a run is begun.
struct Launch {
    std::vector<std::string> arguments;
    std::filesystem::path input = "/dev/null";
    std::filesystem::path out;              ///< empty: a file of the fixture's
    std::filesystem::path error;            ///< empty: a file of the fixture's
    std::function<void()> prepare = [] {};  ///< called in the process, when its streams are open
};

/// A process that a test started.
class Running {
public:
    explicit Running(pid_t process) : id(process) {}
    Running(Running&& other) noexcept;
    Running& operator=(Running&&) = delete;
    ~Running();

    [[nodiscard]] pid_t process() const { return id; }
    void send(int signal) const;

    /// The same to its whole group, which it leads.
    void sendToGroup(int signal) const;

    /// Waits for the end; the exit status, or 128 and the signal.
    int wait();

private:
    pid_t id;
};

/// Gives up the rights of the super-user, who may do everything; for a started process.
void becomeOrdinary();

/// The processes that a process started and that have not ended.
[[nodiscard]] std::vector<pid_t> childrenOf(pid_t process);

/// The process, among those that a process started, that has a file of this name open; -1 for none.
[[nodiscard]] pid_t readerOf(pid_t process, const std::string& fileName);

/// The same, awaited. Throws std::runtime_error when none comes.
pid_t awaitReaderOf(pid_t process, const std::string& fileName);

/// Arguments with both budgets taken away before them: the endless image is then read for ever.
[[nodiscard]] std::vector<std::string> unlimited(const std::vector<std::string>& arguments);

/// Sends a signal to one process. What is none, as a reader that was not found, fails the test: the
/// system would send it to others, or to all.
void sendTo(pid_t process, int signal);

/// Whether a process is there and has not ended.
[[nodiscard]] bool isRunning(pid_t process);

/// Memory of a running process's own, in bytes; 0 when that is not known.
[[nodiscard]] std::size_t ownMemoryOf(pid_t process);

/// Asks again and again, for a long time, until the answer is yes.
/// @return whether it ever was
[[nodiscard]] bool comesTrue(const std::function<bool()>& isTrue,
                             std::chrono::milliseconds longest = std::chrono::seconds(60));

/// Whether a process has a file of this name open.
[[nodiscard]] bool hasOpen(pid_t process, const std::string& fileName);

class ProgramRun : public testing::Test {
    const fixture::TemporaryFolder owned;

protected:
    void SetUp() override;
    void TearDown() override;

    /// Starts the program in the folder of the files.
    [[nodiscard]] Running start(const Launch& launch) const;

    [[nodiscard]] Ending run(const Launch& launch) const;
    [[nodiscard]] Ending run(const std::vector<std::string>& arguments) const;

    /// What a run of one file gives, alone and through a worker, which must be the same.
    [[nodiscard]] Ending bothWays(std::vector<std::string> arguments) const;

    /// Runs the program with its output to a file of another kind.
    [[nodiscard]] Ending run(const std::vector<std::string>& arguments,
                             const std::filesystem::path& standardOutput) const;

    /// Runs a shell command line in which "$PROGRAM" is the program.
    [[nodiscard]] Ending shell(const std::string& line) const;

    /// What the streams of a run that has ended hold.
    [[nodiscard]] Ending endingOf(int status) const;

    /// Everything in the folder of the files, by name.
    [[nodiscard]] std::vector<std::string> names() const;

    [[nodiscard]] std::filesystem::path in(const std::string& name) const {
        return folder / "in" / name;
    }

    const std::filesystem::path folder = owned.path();

private:
    [[nodiscard]] Launch withStreams(Launch launch) const;
};

}  // namespace programrun
