#pragma once

// Natural JSON: values and outcomes as a reader of JSON expects them, without their classes. Plain
// functions over an Output of the caller, which throw its OutputError; any thread.

#include <cstdint>
#include <string_view>

#include "ifdsweep/read.h"
#include "io/output.h"
#include "text/natural_text.h"
#include "values/value.h"

namespace ifdsweep {

/// What several texts with a NUL between them become: one string, NULs and all, or an array.
enum class SeveralTexts : std::uint8_t { string, array };

/// Appends the natural JSON of a value: a 1-by-1 number as a number, a row as an array, a matrix as
/// an array of rows, text as a string, unsigned 8-bit data as base64, cells as an array, records
/// as an array of objects; null for an empty field, for NaN and for infinities.
/// @param value  null for an empty field
/// @param origin where the text in it comes from
/// @param texts  how several texts of a tag are written
void appendNaturalValue(Output& output, const Value* value, TextOrigin origin = TextOrigin::tag,
                        SeveralTexts texts = SeveralTexts::string);

/// Appends the object of a message, with the members that say where it arose.
/// @param place null for an error
/// @param found of an error: what the file is in place of a TIFF file; empty where that is not told
void appendNaturalMessage(Output& output, const qxMessage& message, const WarningPlace* place,
                          std::string_view found = {});

/// Appends the object of one file, without a line end. Where several of its streams were read, they
/// are its member "streams"; otherwise it has the members of its stream.
void appendNaturalOutcome(Output& output, const Outcome& outcome,
                          SeveralTexts texts = SeveralTexts::string);

/// Appends the object of one stream of a file, as a row of a table has it: with the member "Stream"
/// whether or not there are others, null for a file that is itself the stream.
void appendNaturalStreamRow(Output& output, const Outcome& stream, SeveralTexts texts);

}  // namespace ifdsweep
