#pragma once

// Run output: the output of one run from its first byte to its name. Rows of a table whose columns
// are known only at the end wait in a temporary file.
//
// Ownership: owns the file and the buffer. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <vector>

#include "app/arguments.h"
#include "app/descriptor.h"
#include "app/interruption.h"
#include "app/output.h"
#include "app/output_file.h"

namespace app {

class RunOutput {
public:
    /// @param keptLength with a journal: how much of the output is finished
    /// Throws RunFailure or OutputError.
    RunOutput(const OutputChoice& choice, std::optional<std::uint64_t> keptLength,
              const Interruption& interruption);

    /// What the files are written to.
    [[nodiscard]] Output& stream() noexcept { return output; }

    /// The bytes that reached the file.
    [[nodiscard]] std::uint64_t bytesWritten() const noexcept { return sink.bytesWritten(); }

    /// What must not be read, because it is written.
    [[nodiscard]] std::vector<FileIdentity> identities() const { return file.identities(); }

    /// Writes out what is there, and makes the table of waiting rows. Throws OutputError and
    /// Interrupted.
    void complete();

    /// Gives the output its name. Throws RunFailure.
    void finish() { file.finish(); }

private:
    OutputFile file;
    Descriptor rows;  ///< open for a table without fixed columns
    FileDescriptorSink sink;
    Output output;
};

}  // namespace app
