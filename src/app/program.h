#pragma once

// Program: the command from its arguments to its exit status. Uses the process's standard output
// and error streams; one thread.

namespace app {

/// How the program ends.
enum ExitStatus : int {
    kAllRead = 0,
    kSomeFailed = 1,
    kWrongUsage = 2,
    kSomeWarned = 3,      ///< with --strict
    kSignalBase = 128,    ///< and the number of the signal that ended it: 129, 130, 143
    kOutputClosed = 141,  ///< as a shell reports a program ended by SIGPIPE
};

/// Runs the command; nothing is thrown.
[[nodiscard]] int runProgram(int argumentCount, const char* const* arguments) noexcept;

}  // namespace app
