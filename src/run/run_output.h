#pragma once

// Run output: the output of one run from its first byte to its name. Rows of a table whose columns
// are known only at the end wait in a temporary file.
//
// Ownership: owns the file and the buffer. Threads: one at a time.

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "io/descriptor.h"
#include "io/disk.h"
#include "io/output.h"
#include "run/journal.h"
#include "run/output_file.h"
#include "run/run_options.h"
#include "write/waiting_rows.h"

namespace ifdsweep {

class RunOutput {
public:
    /// @param runJournal null for none
    /// @param isStopped  as in FileDescriptorSink
    /// Throws RunFailure.
    RunOutput(const RunOptions& options, Journal* runJournal, std::function<bool()> isStopped,
              const Disk& disk = systemDisk());

    /// Notes in the journal what will be written to; then, once the journal is on the disk, makes
    /// it ready. Throws RunFailure.
    void note() { file.note(); }
    void begin() { file.begin(); }

    /// What the files are written to.
    [[nodiscard]] Output& stream() noexcept { return output; }

    /// The bytes that reached the file.
    [[nodiscard]] std::uint64_t bytesWritten() const noexcept { return sink.bytesWritten(); }

    /// How much of the output an earlier run has written.
    [[nodiscard]] std::uint64_t keptBytes() const noexcept { return file.keptBytes(); }

    /// Whether an earlier run has made the output whole, and nothing was added.
    [[nodiscard]] bool isWhole() const noexcept { return file.isWhole(); }

    /// What must not be read, because it is written.
    [[nodiscard]] std::vector<FileIdentity> identities() const { return file.identities(); }

    /// A file whose content ends with the run.
    [[nodiscard]] const std::optional<FileIdentity>& replaced() const { return file.replaced(); }

    /// Brings what reached the file to the disk. Throws OutputError.
    void sync() const { file.sync(); }

    /// Writes out what is there, and makes the table of waiting rows. Throws OutputError and
    /// OutputStopped.
    void complete();

    /// Gives the output its name. Throws RunFailure.
    void finish() { file.finish(); }

private:
    /// Goes on with an output that was whole when the first byte comes.
    class GoingOn final : public ByteSink {
    public:
        GoingOn(OutputFile& outputFile, ByteSink& byteSink) : file(outputFile), sink(byteSink) {}
        void write(std::string_view bytes) override {
            file.goOn();
            sink.write(bytes);
        }

    private:
        OutputFile& file;
        ByteSink& sink;
    };

    OutputFile file;
    std::optional<WaitingRows> rows;  ///< of a table without fixed columns
    FileDescriptorSink sink;
    GoingOn goingOn;
    Output output;
};

}  // namespace ifdsweep
