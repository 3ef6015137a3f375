#pragma once

// Run assembly: puts what is shown of the files together in their order, tells of those that
// failed, counts them all, and keeps the journal in step: what it says of a file is true of the
// output and of the list of failures that lie on the disk.
//
// Ownership: borrows the options, the output and the journal. Threads: one at a time.

#include <optional>
#include <string>

#include "io/disk.h"
#include "run/failure_reporter.h"
#include "run/journal.h"
#include "run/run_options.h"
#include "run/run_output.h"
#include "run/run_tally.h"
#include "walk/input_file.h"
#include "workers/file_report.h"
#include "write/framer.h"

namespace ifdsweep {

class RunAssembly {
public:
    /// @param runJournal null for none
    /// Throws RunFailure.
    RunAssembly(const RunOptions& runOptions, RunOutput& runOutput, Journal* runJournal,
                const Disk& disk = systemDisk());

    /// Before the first file. Throws RunFailure and OutputError.
    void begin();

    /// One file. Throws OutputError.
    /// @param writePart    writes what is shown of it
    /// @param journalEntry as `Journal::endingOf` gave it
    template <class WritePart>
    void add(const InputFile& file, const FileReport& report, WritePart&& writePart,
             const std::string& journalEntry = {}) {
        if (report.isShown) {
            makeReady();
        }
        framer.add(report.isShown, writePart);
        account(file, report, journalEntry);
    }

    /// One file that the journal tells of.
    void leaveOut(Journal::Ending ending) { runTally.addFinishedBefore(ending); }

    /// Notes what was added in the journal, once it is on the disk. Cheap when there is no journal
    /// or the last time is not long ago. Throws RunFailure and OutputError.
    void commit();

    /// After the last file of a run, however it ended: leaves the journal and the list of failures
    /// as they are to stay. Throws RunFailure and OutputError.
    void settle();

    /// After the last of all files. Throws RunFailure, OutputError and OutputStopped.
    void end();

    /// What became of the files so far.
    [[nodiscard]] const RunTally& tally() const noexcept { return runTally; }

    /// The list of failures, when there is one.
    [[nodiscard]] std::optional<FileIdentity> failureFile() const { return failures.listFile(); }

private:
    void makeReady();
    void account(const InputFile& file, const FileReport& report, const std::string& journalEntry);
    void commitAtOnce();

    RunOutput& output;
    Journal* journal;
    Framer framer;
    FailureReporter failures;
    RunTally runTally;
};

}  // namespace ifdsweep
