#pragma once

// Waiting rows: what CsvWriter writes without fixed columns waits in a temporary file until the
// columns are known, which is after the last file.
//
// Ownership: owns the file. Threads: one at a time.

#include <functional>
#include <string_view>
#include <utility>

#include "ifdsweep/write.h"
#include "io/descriptor.h"
#include "io/output.h"

namespace ifdsweep {

class WaitingRows final : public ByteSink {
public:
    /// @param tableOptions by which they are written
    /// @param isStopped as in FileDescriptorSink
    /// Throws RunFailure.
    explicit WaitingRows(WriteOptions tableOptions, std::function<bool()> isStopped = {})
        : options(std::move(tableOptions)),
          file(makeTemporaryFile()),
          sink(file.get(), 0, std::move(isStopped)) {}

    /// Takes rows. Throws OutputError and OutputStopped.
    void write(std::string_view bytes) override { sink.write(bytes); }

    /// Makes the table of them. Throws OutputError, and what the destination does.
    void writeTable(ByteSink& destination) const;

private:
    WriteOptions options;
    Descriptor file;
    FileDescriptorSink sink;
};

}  // namespace ifdsweep
