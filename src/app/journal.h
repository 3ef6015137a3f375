#pragma once

// Journal: which files are finished, so that a run started again goes on where the last one ended,
// however it ended. A line for each file, written only after its output was:
//
//   ENDING LENGTH SIZE MODIFIED PATH
//
// ENDING is r (read), w (read with warnings), f (failed) or s (skipped), MODIFIED are nanoseconds,
// LENGTH is that of the output behind the file; line feeds and backslashes in a path are escaped. A
// last line that is cut short is dropped.
//
// Ownership: owns its file; keeps 16 bytes of each finished file. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/descriptor.h"
#include "app/file_report.h"

namespace app {

class Journal {
public:
    /// Opens a journal, or begins it. Throws RunFailure.
    explicit Journal(const std::string& path);

    /// The length of the output behind the last finished file; 0 before the first.
    [[nodiscard]] std::uint64_t outputLength() const noexcept { return lastLength; }
    [[nodiscard]] std::uint64_t finishedFiles() const noexcept { return finished.size(); }
    [[nodiscard]] std::uint64_t failedFiles() const noexcept { return failedBefore; }
    [[nodiscard]] std::uint64_t warnedFiles() const noexcept { return warnedBefore; }
    [[nodiscard]] std::optional<FileIdentity> identity() const { return identityOf(file.get()); }

    /// Looks at a file as it is now; remembers what `add` will write of it.
    /// @return whether it was finished and has not changed since
    [[nodiscard]] bool isFinished(const std::string& path, std::string& entry) const;

    /// Notes a file that is finished, to be written by `commit`.
    /// @param entry as `isFinished` gave it; empty for a path that is to be tried again
    void add(const FileReport& report, std::string_view entry, std::uint64_t length);

    /// Writes what was noted. Throws OutputError.
    void commit();

private:
    using Digest = std::pair<std::uint64_t, std::uint64_t>;

    void load();
    [[nodiscard]] bool loadLine(std::string_view line);

    Descriptor file;
    std::vector<Digest> finished;  ///< sorted
    std::string pending;
    std::uint64_t lastLength = 0;
    std::uint64_t failedBefore = 0;
    std::uint64_t warnedBefore = 0;
};

}  // namespace app
