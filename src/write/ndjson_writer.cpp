#include "write/ndjson_writer.h"

#include "write/natural_json.h"
#include "write/outcome_streams.h"

namespace ifdsweep {

void NdjsonWriter::writeFile(const Outcome& outcome) {
    if (lines == NdjsonLines::files) {
        appendNaturalOutcome(output, outcome, texts);
        output.append('\n');
        return;
    }
    forEachStream(outcome, [this](const Outcome& stream) {
        appendNaturalStreamRow(output, stream, texts);
        output.append('\n');
    });
}

}  // namespace ifdsweep
