#pragma once

// Result writer: turns the outcome of one file into one format of output. What a file becomes
// depends on that file alone; what a format has around the files is put there by a Framer.
//
// Ownership: a writer borrows its output. Threads: one at a time.

#include <memory>
#include <string_view>

#include "ifdsweep/read.h"
#include "ifdsweep/write.h"
#include "io/output.h"

namespace ifdsweep {

class ResultWriter {
public:
    explicit ResultWriter(Output& destination) : output(destination) {}
    ResultWriter(const ResultWriter&) = delete;
    ResultWriter& operator=(const ResultWriter&) = delete;
    virtual ~ResultWriter() = default;

    /// Whom to tell of the walk of a file, which is written next; null for nobody.
    /// @param file its name, in system bytes
    [[nodiscard]] virtual EntrySink* listenerFor(std::string_view /*file*/) { return nullptr; }

    /// Whether the format shows anything of a file.
    [[nodiscard]] virtual bool shows(const Outcome&) const { return true; }

    /// One file that is shown. Throws OutputError.
    virtual void writeFile(const Outcome& outcome) = 0;

protected:
    Output& output;
};

/// The writer of a format.
[[nodiscard]] std::unique_ptr<ResultWriter> makeResultWriter(const WriteOptions& options,
                                                             Output& output);

}  // namespace ifdsweep
