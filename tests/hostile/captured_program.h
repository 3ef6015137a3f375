#pragma once

// The program as part of a test that replaces what it calls: forked, not started anew, with its
// streams captured. What needs nothing replaced starts the program itself (program/program_run.h).
// One thread.

#include <functional>
#include <string>
#include <vector>

namespace fixture {

struct CapturedProgram {
    int status = -1;  ///< exit status; minus the signal when one ended it
    std::string output{};
    std::string errors{};
};

/// Runs the program with these arguments, its own name left out.
/// @param prepare called in the new process before the program begins
[[nodiscard]] CapturedProgram runCaptured(const std::vector<std::string>& arguments,
                                          const std::function<void()>& prepare = {});

}  // namespace fixture
