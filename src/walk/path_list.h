#pragma once

// Path list: the paths that a file lists, one after the other, without waiting for the end of a
// list that is still being written.
//
// Ownership: owns its file. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "io/descriptor.h"

namespace ifdsweep {

/// Stands between a path and the reason why it failed in a list that the program wrote.
inline constexpr std::string_view kReasonMark = "\t# ";

/// The path of a line of a list: what stands before a tab and "# ".
[[nodiscard]] std::string_view pathOfFailureLine(std::string_view line);

class PathList {
public:
    /// @param path "-" for the standard input
    /// Throws RunFailure when the list cannot be opened.
    PathList(const std::string& path, bool nulSeparated);

    /// Whether `next` would not wait.
    [[nodiscard]] bool isReady();

    /// The next line without its end; none after the last. Throws OutputError when the list
    /// cannot be read.
    [[nodiscard]] std::optional<std::string> next();

    /// The number of the line that `next` gave last, from 1 on.
    [[nodiscard]] std::uint64_t line() const noexcept { return lineNumber; }

    [[nodiscard]] int descriptor() const noexcept { return file.get(); }

private:
    /// Where the line at hand ends; npos when its end was not read yet. Looks at no byte twice.
    [[nodiscard]] std::size_t findEnd();

    /// Reads more; false at the end.
    bool fill();

    Descriptor file;
    char lineEnd;
    std::string bytes;
    std::size_t begin = 0;     ///< of what was not given yet
    std::size_t searched = 0;  ///< up to where there is no end
    std::uint64_t lineNumber = 0;
};

}  // namespace ifdsweep
