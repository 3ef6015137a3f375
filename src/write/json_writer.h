#pragma once

// JSON writer: an object per file, of natural values, for one array of all.
//
//   {"file": name, "records": [...], "warnings": [{"id", "arguments", "text"}...], "error": null}
//
// or, for a file of which several streams were read, with such members in each of its "streams".
//
// Ownership: borrows its output. Threads: one at a time.

#include "write/natural_json.h"
#include "write/result_writer.h"

namespace ifdsweep {

class JsonWriter final : public ResultWriter {
public:
    JsonWriter(Output& destination, JsonLayout jsonLayout, SeveralTexts severalTexts)
        : ResultWriter(destination), layout(jsonLayout), texts(severalTexts) {}

    void writeFile(const Outcome& outcome) override;

private:
    JsonLayout layout;
    SeveralTexts texts;
};

}  // namespace ifdsweep
