#pragma once

// Formula guard: text that a spreadsheet would take for a formula, and run, made into text that it
// shows (OWASP, "CSV Injection"). Plain functions; any thread.

#include <string>
#include <string_view>

namespace ifdsweep {

/// Whether a spreadsheet may take a cell for a formula: it begins with one of = + - @, narrow or in
/// full width, be it behind white space and quotes. One of these with nothing behind it is none.
[[nodiscard]] bool beginsAsFormula(std::string_view text);

/// Puts an apostrophe before a text that begins as a formula. Where it goes on as one behind a
/// semicolon, at which some take a cell for ended, the semicolon becomes "\x3b".
/// @param text in UTF-8, with the escapes of terminal text
void guardFormulas(std::string& text);

}  // namespace ifdsweep
