#pragma once

// Text value: a value on one line, for people. Plain function over an Output of the caller; any
// thread.

#include <cstdint>

#include "io/output.h"
#include "text/natural_text.h"
#include "text/text_limits.h"
#include "values/value.h"

namespace ifdsweep {

/// Appends a value: numbers between spaces, the rows of a matrix between semicolons, the elements
/// of a cell array between commas, a blank text and several texts between quotes. A value that is
/// cut short is followed by its size and, where it is of numbers, the smallest and the largest; a
/// record array is shown by its size alone, and a document in XML by its root element and size
/// unless texts have no limit.
/// @param value null for an empty cell
void appendTextValue(Output& output, const Value* value, TextOrigin origin,
                     const TextLimits& limits);

/// How the text in a plain value stands.
enum class PlainText : std::uint8_t {
    asItIs,   ///< in UTF-8
    escaped,  ///< as terminal text
};

/// Appends a whole value for a table: as above, but nothing is cut short, bytes are in base64, and
/// what is empty is nothing at all.
void appendPlainValue(Output& output, const Value* value, TextOrigin origin,
                      PlainText plainText = PlainText::asItIs);

}  // namespace ifdsweep
