#pragma once

// NDJSON writer: the objects of the JSON writer, one a line and without an array around them.
//
// Ownership: borrows its output. Threads: one at a time.

#include "write/natural_json.h"
#include "write/result_writer.h"

namespace ifdsweep {

class NdjsonWriter final : public ResultWriter {
public:
    NdjsonWriter(Output& destination, SeveralTexts severalTexts)
        : ResultWriter(destination), texts(severalTexts) {}

    void writeFile(const Outcome& outcome) override;

private:
    SeveralTexts texts;
};

}  // namespace ifdsweep
