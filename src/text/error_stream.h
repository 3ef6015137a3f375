#pragma once

// Error stream: whole lines on the standard error stream, escaped part by part, and the progress
// line below them. A failure to write has no one to be told to.
//
// Plain functions over the process's stream; one thread.

#include <initializer_list>
#include <string>
#include <string_view>

namespace ifdsweep {

/// "ifdsweep: " and the parts as one line with its end.
[[nodiscard]] std::string errorLine(std::initializer_list<std::string_view> parts);

/// Prints an error line; without memory for it, one that says so.
void printError(std::initializer_list<std::string_view> parts) noexcept;

/// Shows a text in place of the progress line; an empty one takes it away.
void showProgressLine(std::string_view text);

}  // namespace ifdsweep
