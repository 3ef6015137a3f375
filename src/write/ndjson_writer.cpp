#include "write/ndjson_writer.h"

#include "write/natural_json.h"

namespace ifdsweep {

void NdjsonWriter::writeFile(const Outcome& outcome) {
    appendNaturalOutcome(output, outcome, texts);
    output.append('\n');
}

}  // namespace ifdsweep
