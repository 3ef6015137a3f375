#pragma once

// Batch run: many files through worker processes, put together in the order of the input. What is
// held at a time is bounded: files wait for their turn in a window, their parts in memory while
// there is room, then in a temporary file; after a slow file the others are read until both are
// full.
//
// Ownership: borrows the options and the output. Threads: one at a time.

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "io/interruption.h"
#include "run/journal.h"
#include "run/part_spool.h"
#include "run/progress.h"
#include "run/run_assembly.h"
#include "run/run_options.h"
#include "run/run_output.h"
#include "walk/input_files.h"
#include "workers/file_task.h"
#include "workers/worker_pool.h"

namespace ifdsweep {

class BatchRun {
public:
    /// @param standardInput as in FileTask
    /// @param runJournal    null for none
    /// Throws RunFailure.
    BatchRun(const RunOptions& runOptions, RunOutput& runOutput, Journal* runJournal, Colour colour,
             int standardInput, const Interruption& runInterruption);

    /// Reads all files; returns early or throws OutputStopped after a signal. Throws OutputError.
    void run();

    /// Tells what came of it, and the exit status of the program.
    /// @param signal that ended the run; 0 for none
    [[nodiscard]] int conclude(int signal);

private:
    /// A file between being found and being written.
    struct FileInWindow {
        InputFile input;
        std::string journalEntry;
        bool isDone = false;
        FileReport report;
        FilePart part;
        std::optional<PartSpool::Place> spooled;  ///< where the part is instead

        /// The memory that it takes without its part.
        [[nodiscard]] std::uint64_t entrySize() const;
    };

    [[nodiscard]] bool canTake() const;
    void takeFiles();
    void takeFile(InputFile file);
    void take(WorkerAnswer answer);
    void fail(FileInWindow& held, const qxMessage& error);
    void keep(FileInWindow& held, FileReport report, FilePart part);
    void hold(FileInWindow& held);
    void writeFinished();
    void letGo(const FileInWindow& held);
    [[nodiscard]] RunState state() const;

    const RunOptions& options;
    const Interruption& interruption;
    Journal* journal;
    RunAssembly assembly;
    RunOutput& output;
    InputFiles inputs;
    WorkerPool pool;
    FilePartSink failurePart;
    Output failureOutput;
    FileTask failureWriter;
    Progress progress;
    const std::uint64_t mostPartFiles;
    bool isAtEnd = false;
    int awaitedInput = -1;  ///< a list that has no whole line yet
    std::vector<int> awaited;
    std::uint64_t firstNumber = 0;  ///< of the file at the head of the window
    std::deque<FileInWindow> window;
    std::uint64_t filesInWork = 0;    ///< of those in the window
    std::uint64_t entryBytes = 0;     ///< of the window, without parts
    std::uint64_t partBytes = 0;      ///< of parts in memory
    std::uint64_t partFiles = 0;      ///< parts in files of their own
    std::uint64_t partCount = 0;      ///< parts that have come so far
    std::uint64_t partBytesCome = 0;  ///< their bytes in memory
    PartSpool spool;
};

}  // namespace ifdsweep
