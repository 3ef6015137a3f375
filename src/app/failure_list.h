#pragma once

// Failure list: the paths that failed, with the reasons, in a form that --files-from reads again.
// A line holds the path, a tab, "# " and the reason; in a list with NUL, paths stand alone.
//
// Ownership: owns its file. Threads: one at a time.

#include <optional>
#include <string>
#include <string_view>

#include "app/descriptor.h"
#include "app/output.h"

namespace app {

/// The path of a line of a list: what stands before a tab and "# ".
[[nodiscard]] std::string_view pathOfFailureLine(std::string_view line);

class FailureList {
public:
    enum class Mode { anew, append };

    /// Throws RunFailure when the file cannot be made.
    FailureList(const std::string& path, Mode mode, bool nulSeparated);

    /// Whether a path can stand in the list: one with a line feed needs a list with NUL.
    [[nodiscard]] bool canHold(std::string_view path) const;

    [[nodiscard]] std::optional<FileIdentity> identity() const { return identityOf(file.get()); }

    /// Adds a path with its reason. Throws OutputError.
    void add(std::string_view path, std::string_view reason);

private:
    bool withNul;
    Descriptor file;
};

}  // namespace app
