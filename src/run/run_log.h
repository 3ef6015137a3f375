#pragma once

// Run log: puts the pieces of the files together in their order and keeps account of the run:
// error lines, the list of failures, the journal, the summary, the exit status.
//
// Ownership: borrows the arguments, the output and the journal. Threads: one at a time.

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "run/failure_list.h"
#include "run/journal.h"
#include "run/progress.h"
#include "run/run_options.h"
#include "run/run_output.h"
#include "walk/input_file.h"
#include "workers/file_report.h"
#include "write/framer.h"

namespace ifdsweep {

class RunLog {
public:
    /// @param runJournal null for none
    /// Throws RunFailure.
    RunLog(const RunOptions& runOptions, RunOutput& runOutput, Journal* runJournal,
           const Disk& disk = systemDisk());

    /// Before the first file.
    void begin();

    /// One file.
    /// @param writePart    writes what is shown of it
    /// @param journalEntry as `Journal::endingOf` gave it
    template <class WritePart>
    void add(const InputFile& file, const FileReport& report, WritePart&& writePart,
             const std::string& journalEntry = {}) {
        if (report.isShown) {
            prepare();
        }
        framer.add(report.isShown, writePart);
        account(file, report, journalEntry);
    }

    /// One file that the journal tells of.
    void leaveOut(Journal::Ending ending);

    /// Notes what was added in the journal, once it is on the disk. Cheap when there is no journal
    /// or the last time is not long ago.
    void commit();

    /// Behind the last file of a run, however it ended: leaves the journal and the list of failures
    /// as they are to stay. Throws RunFailure and OutputError.
    void settle();

    /// Behind the last file, whether or not it is the last of all.
    void end();

    /// The summary on the error stream, for a run of any number of files but one.
    /// @param signal that ended the run; 0 for none
    void summarize(int signal) const;

    [[nodiscard]] int exitStatus(int signal) const;

    /// How far the run is.
    [[nodiscard]] const RunState& state() const noexcept { return runState; }

    /// The list of failures, when there is one.
    [[nodiscard]] std::optional<FileIdentity> failureFile() const {
        return failures ? failures->identity() : std::nullopt;
    }

private:
    void prepare();
    void commitAtOnce();
    [[nodiscard]] std::uint64_t changedFiles() const;
    void account(const InputFile& file, const FileReport& report, const std::string& journalEntry);
    void tellWhatIsKept() const;
    void tellFailure(const InputFile& file, const FileReport& report);

    const RunOptions& options;
    RunOutput& output;
    Journal* journal;
    Framer framer;
    std::optional<FailureList> failures;
    RunState runState;
    std::uint64_t filesRead = 0;
    std::uint64_t filesSkipped = 0;
    std::uint64_t filesBefore = 0;  ///< that the journal tells of
    std::uint64_t failedBefore = 0;
    bool anyWarnedBefore = false;
    std::uint64_t directories = 0;
    std::map<std::string, std::uint64_t> warnings;
};

}  // namespace ifdsweep
