#pragma once

// Run tally: what became of the files of a run, in numbers. The summary and the exit status are
// made of it.
//
// Ownership: plain values. Threads: one at a time.

#include <cstdint>
#include <map>
#include <string>

#include "io/exit_status.h"
#include "run/journal.h"
#include "workers/file_report.h"

namespace ifdsweep {

class RunTally {
public:
    /// One file.
    void add(const FileReport& report);

    /// One file that was finished by an earlier run.
    void addFinishedBefore(Journal::Ending ending);

    /// Files that are done with, whatever came of them.
    [[nodiscard]] std::uint64_t passed() const noexcept {
        return filesRead + filesFailed + filesSkipped + filesBefore;
    }

    /// Files of this run that failed.
    [[nodiscard]] std::uint64_t failed() const noexcept { return filesFailed; }

    /// How often each kind of warning was given, by full id.
    [[nodiscard]] const std::map<std::string, std::uint64_t>& warnings() const noexcept {
        return warningCounts;
    }

    /// The numbers on one line, such as "2 files read, 1 failed, 5 directories".
    [[nodiscard]] std::string text() const;

    /// The status of a run that came to its end.
    /// @param strict whether a warning counts
    [[nodiscard]] ExitStatus exitStatus(bool strict) const;

private:
    std::uint64_t filesRead = 0;
    std::uint64_t filesFailed = 0;
    std::uint64_t filesSkipped = 0;
    std::uint64_t filesBefore = 0;  ///< that an earlier run finished
    std::uint64_t failedBefore = 0;
    bool anyWarned = false;
    bool anyWarnedBefore = false;
    std::uint64_t directories = 0;
    std::map<std::string, std::uint64_t> warningCounts;
};

}  // namespace ifdsweep
