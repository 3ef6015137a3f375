#pragma once

// The program in a process of its own, its streams captured. One thread.

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
