#pragma once

// XML summary: a value that is a document in XML, told of by its root element and its size. Pure
// functions; any thread.

#include <optional>
#include <string_view>

#include "io/output.h"
#include "values/value.h"

namespace ifdsweep {

/// The name of the root element of a text in XML, which begins, after a byte order mark and white
/// space, with an XML declaration, an XMP packet or an element; empty where none is found. Absent
/// for every other text.
/// @param text UTF-16, or bytes widened to units
[[nodiscard]] std::optional<std::u16string_view> xmlRoot(std::u16string_view text);

/// Appends "XML, OME, 12,345 characters (--shorten all shows it)" for a text, or for an array of
/// bytes, that is XML and too long to be read in passing.
/// @return whether it did
bool appendXmlSummary(Output& output, const Value& value);

}  // namespace ifdsweep
