#include "write/json_writer.h"

#include "write/indenting_sink.h"
#include "write/natural_json.h"

namespace ifdsweep {

void JsonWriter::writeFile(const Outcome& outcome) {
    if (layout != JsonLayout::pretty) {
        appendNaturalOutcome(output, outcome, texts);
        return;
    }
    IndentingSink indenting(output, 1);
    Output dense(indenting);
    appendNaturalOutcome(dense, outcome, texts);
    dense.flush();
}

}  // namespace ifdsweep
