#pragma once

// JSON writer: one array with an object per file, of natural values.
//
//   {"file": name, "records": [...], "warnings": [{"id", "arguments", "text"}...], "error": null}
//
// Ownership: borrows its output. Threads: one at a time.

#include "text/natural_text.h"
#include "write/result_writer.h"

namespace ifdsweep {

/// Appends the natural JSON of a value: a 1-by-1 number as a number, a row as an array, a matrix as
/// an array of rows, text as a string, unsigned 8-bit data as base64, cells as an array, records
/// as an array of objects; null for an empty field, for NaN and for infinities.
/// @param value  null for an empty field
/// @param origin where the text in it comes from
void appendNaturalValue(Output& output, const Value* value, TextOrigin origin = TextOrigin::tag);

/// Appends the object of one file, without a line end.
void appendNaturalOutcome(Output& output, const Outcome& outcome);

class JsonWriter final : public ResultWriter {
public:
    explicit JsonWriter(Output& destination, JsonLayout jsonLayout = JsonLayout::filePerLine)
        : ResultWriter(
              destination,
              frameOf(Format::json,
                      {.layout = jsonLayout, .limits = {}, .nestedRows = false, .columns = {}})),
          layout(jsonLayout) {}

    void writeFile(const Outcome& outcome) override;

private:
    JsonLayout layout;
};

/// The same objects, one per line and without an array around them.
class LineWriter final : public ResultWriter {
public:
    explicit LineWriter(Output& destination) : ResultWriter(destination, frameOf(Format::ndjson)) {}

    void writeFile(const Outcome& outcome) override;
};

}  // namespace ifdsweep
