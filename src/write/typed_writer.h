#pragma once

// Typed writer: one line of JSON per TIFF stream of a file that tells every value with its class
// and size, for programs and tests. Nothing is lost: numbers have the shortest digits that read
// back the same, text is given unit by unit, and integers among the message arguments are whole.
//
// Ownership: borrows its output. Threads: one at a time.

#include "values/value.h"
#include "write/result_writer.h"

namespace ifdsweep {

/// Appends a value with its class, size and column-major data; "null" for an empty field or cell.
void appendTypedValue(Output& output, const Value* value);

class TypedWriter final : public ResultWriter {
public:
    using ResultWriter::ResultWriter;

    void writeFile(const Outcome& outcome) override;
};

}  // namespace ifdsweep
