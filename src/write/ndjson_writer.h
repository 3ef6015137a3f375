#pragma once

// NDJSON writer: the objects of the JSON writer, one a line and without an array around them; or an
// object for each stream of a file.
//
// Ownership: borrows its output. Threads: one at a time.

#include <cstdint>

#include "write/natural_json.h"
#include "write/result_writer.h"

namespace ifdsweep {

/// What a line is.
enum class NdjsonLines : std::uint8_t { files, streams };

class NdjsonWriter final : public ResultWriter {
public:
    NdjsonWriter(Output& destination, SeveralTexts severalTexts, NdjsonLines whatLinesAre)
        : ResultWriter(destination), texts(severalTexts), lines(whatLinesAre) {}

    void writeFile(const Outcome& outcome) override;

private:
    SeveralTexts texts;
    NdjsonLines lines;
};

}  // namespace ifdsweep
