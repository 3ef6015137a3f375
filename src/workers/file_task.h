#pragma once

// File task: one file from its path to its part of the output, with everything that is asked
// for: fields, ignored warnings, format.
//
// Ownership: owns its host; borrows the options and the output. Threads: one at a time.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "ifdsweep/reading.h"
#include "io/output.h"
#include "walk/input_file.h"
#include "workers/file_report.h"
#include "write/output_choice.h"
#include "write/result_writer.h"

namespace ifdsweep {

/// What every file of a run is asked for.
struct TaskOptions {
    ReadOptions read;
    OutputChoice output;
};

class FileTask {
public:
    /// @param standardInputFile an open file with the bytes of the standard input, which must stay
    ///                          open; -1 when it is not among the files
    FileTask(const TaskOptions& taskOptions, Output& output, Colour colour, int standardInputFile);

    /// How many bytes a file may take in all; asked only of one that takes much.
    void setMemory(std::function<std::uint64_t()> limit);

    /// Reads a file. Nothing is written yet.
    [[nodiscard]] FileReport read(const InputFile& file);

    /// The outcome of a failure that no reading told of, such as that of a worker which died.
    [[nodiscard]] FileReport fail(const InputFile& file, const qxMessage& error);

    /// Writes what the format shows of the file that was read last.
    void write();

    /// Frees what is kept of the file that was read last.
    void forget() { outcome = Outcome(); }

private:
    void serveStandardInput();
    [[nodiscard]] FileReport finish();
    void finishStream(Outcome& stream, FileReport& report);
    void countWarnings(Outcome& stream, FileReport& report);

    const TaskOptions& options;
    std::vector<ChosenField> fields;  ///< what is needed of each file; empty: all
    int standardInput;
    std::optional<TagFilter> filter;  ///< made for the first reading, lent to each
    Host host;
    std::unique_ptr<ResultWriter> writer;
    Outcome outcome;
};

}  // namespace ifdsweep
