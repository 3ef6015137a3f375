#pragma once

// Natural JSON: values and outcomes as a reader of JSON expects them, without their classes. Plain
// functions over an Output of the caller, which throw its OutputError; any thread.

#include "ifdsweep/read.h"
#include "io/output.h"
#include "text/natural_text.h"
#include "values/value.h"

namespace ifdsweep {

/// Appends the natural JSON of a value: a 1-by-1 number as a number, a row as an array, a matrix as
/// an array of rows, text as a string, unsigned 8-bit data as base64, cells as an array, records
/// as an array of objects; null for an empty field, for NaN and for infinities.
/// @param value  null for an empty field
/// @param origin where the text in it comes from
void appendNaturalValue(Output& output, const Value* value, TextOrigin origin = TextOrigin::tag);

/// Appends the object of a message, with the members that say where it arose.
/// @param place null for an error
void appendNaturalMessage(Output& output, const qxMessage& message, const WarningPlace* place);

/// Appends the object of one file, without a line end.
void appendNaturalOutcome(Output& output, const Outcome& outcome);

}  // namespace ifdsweep
