#pragma once

// NDJSON writer: the objects of the JSON writer, one a line and without an array around them.
//
// Ownership: borrows its output. Threads: one at a time.

#include "write/result_writer.h"

namespace ifdsweep {

class NdjsonWriter final : public ResultWriter {
public:
    using ResultWriter::ResultWriter;

    void writeFile(const Outcome& outcome) override;
};

}  // namespace ifdsweep
