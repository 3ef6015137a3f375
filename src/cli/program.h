#pragma once

// Program: the command from its arguments to its exit status. Uses the process's standard output
// and error streams; one thread.

namespace ifdsweep {

/// Runs the command; returns an ExitStatus (io/exit_status.h) and throws nothing.
[[nodiscard]] int runProgram(int argumentCount, const char* const* arguments) noexcept;

}  // namespace ifdsweep
