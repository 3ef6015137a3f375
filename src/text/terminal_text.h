#pragma once

// Terminal text: names and texts from files made safe to show. Nothing that a terminal obeys, that
// reorders a line or that nobody sees gets through: hidden characters and whatever is no text are
// shown as escapes, and a backslash as two, so that every text can be told from its escaped form.
//
//   \n \t \r        line feed, tab, carriage return
//   \x1b \xff       other control characters; bytes that are no UTF-8
//   \u202e \ud800   other characters up to U+FFFF
//   \U000e0001      characters above
//
// Plain functions that append to an Output of the caller; any thread.

#include <cstddef>
#include <string_view>

#include "io/output.h"
#include "text/natural_text.h"
#include "text/text_limits.h"

namespace ifdsweep {

/// Appends bytes in UTF-8: a file name, a message.
void appendTerminalText(Output& output, std::string_view bytes);

/// Appends a text of a record in its natural reading, cut short with its length when it is long.
/// @param limit largest number of units that are shown
void appendTerminalText(Output& output, std::u16string_view units, TextOrigin origin,
                        std::size_t limit);

/// Appends the text of a value: as above, but one that is blank stands between quotes, so that it
/// is seen, and several texts with a NUL between them are a list of quoted ones. NULs at the end
/// are none of the text.
void appendTerminalTexts(Output& output, std::u16string_view units, TextOrigin origin,
                         const TextLimits& limits);

/// The same of a text whose form is known.
void appendTerminalTexts(Output& output, std::u16string_view units, TextForm form,
                         const TextLimits& limits);

}  // namespace ifdsweep
