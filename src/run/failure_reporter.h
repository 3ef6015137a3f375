#pragma once

// Failure reporter: tells of each file that failed, with a line on the error stream and a line in
// the list of failures when one is asked for. A list that can no longer be written is told of and
// given up; the run goes on.
//
// Ownership: owns the list; borrows the options and the journal. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string_view>

#include "io/disk.h"
#include "run/failure_list.h"
#include "run/journal.h"
#include "run/run_options.h"
#include "walk/input_file.h"

namespace ifdsweep {

class FailureReporter {
public:
    /// @param runJournal null for none
    /// Throws as FailureList does.
    FailureReporter(const RunOptions& runOptions, Journal* runJournal,
                    const Disk& disk = systemDisk());

    /// The steps of the list, as FailureList has them; without one they do nothing.
    void note();
    void begin();
    void sync();
    void finish();

    /// Tells of a file. Throws nothing for a list that cannot be written.
    void report(const InputFile& file, std::string_view reason);

    /// The file and the bytes of the list; none without a list.
    [[nodiscard]] std::optional<FileIdentity> listFile() const;
    [[nodiscard]] std::optional<std::uint64_t> listLength() const;

private:
    const RunOptions& options;
    std::optional<FailureList> list;
};

}  // namespace ifdsweep
