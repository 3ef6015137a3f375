#pragma once

// JSON text: strings and base64, always valid UTF-8 whatever they are made from. Controls are
// written as escapes, which a reader undoes, and for a terminal every hidden character is. Plain
// functions that append to an Output of the caller; any thread.

#include <cstdint>
#include <span>
#include <string_view>

#include "io/output.h"
#include "text/natural_text.h"

namespace ifdsweep {

/// A quoted string of bytes in UTF-8; every byte that is no UTF-8 becomes U+FFFD.
void appendJsonString(Output& output, std::string_view bytes);

/// A quoted string of UTF-16 units from which every unit can be had back: a lone surrogate is
/// written as its escape.
void appendJsonUnits(Output& output, std::u16string_view units);

/// A quoted string of a text in its natural reading; a lone surrogate becomes U+FFFD.
void appendJsonNaturalText(Output& output, std::u16string_view units, TextOrigin origin);

/// The same of a text whose form is known.
void appendJsonNaturalText(Output& output, std::u16string_view units, TextForm form);

/// The standard base64 form of bytes, padded.
void appendBase64(Output& output, std::span<const std::uint8_t> bytes);

/// The same as a quoted string.
void appendJsonBase64(Output& output, std::span<const std::uint8_t> bytes);

}  // namespace ifdsweep
