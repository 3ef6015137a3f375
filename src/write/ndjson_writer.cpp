#include "write/ndjson_writer.h"

#include "write/natural_json.h"

namespace ifdsweep {

void NdjsonWriter::writeFile(const Outcome& outcome) {
    appendNaturalOutcome(output, outcome);
    output.append('\n');
}

}  // namespace ifdsweep
