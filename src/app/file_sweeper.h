#pragma once

// File sweeper: one file from its path to its piece of the output, with everything that the
// command line asks for: fields, ignored warnings, format.
//
// Ownership: owns its host; borrows the arguments and the output. Threads: one at a time.

#include <cstdint>
#include <functional>
#include <memory>

#include "app/arguments.h"
#include "app/file_report.h"
#include "app/input_file.h"
#include "app/output.h"
#include "app/result_writer.h"
#include "app/sweep.h"
#include "host/host.h"

namespace app {

class FileSweeper {
public:
    /// @param standardInputFile an open file with the bytes of the standard input, which must stay
    ///                          open; -1 when it is not among the files
    FileSweeper(const Arguments& programArguments, Output& output, Colour colour,
                int standardInputFile);

    /// How many bytes a file may take in all; asked only of one that takes much.
    void setMemory(std::function<std::uint64_t()> limit);

    /// Reads a file. Nothing is written yet.
    [[nodiscard]] FileReport sweep(const InputFile& file);

    /// The outcome of a failure that no sweep told of, such as that of a worker which died.
    [[nodiscard]] FileReport fail(const InputFile& file, const qxMessage& error);

    /// Writes what the format shows of the file that was read last.
    void write();

    /// Frees what is kept of the file that was read last.
    void forget() { outcome = SweepOutcome(); }

private:
    void serveStandardInput();
    void countWarnings(FileReport& report);
    [[nodiscard]] FileReport finish();

    const Arguments& arguments;
    int standardInput;
    host::Host host;
    SweepNumbers numbers;
    std::unique_ptr<ResultWriter> writer;
    SweepOutcome outcome;
};

}  // namespace app
