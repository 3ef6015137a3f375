#pragma once

// Hidden characters: those that a terminal obeys, that reorder a line, or that nobody sees. Text
// for terminals and JSON show them as escapes. Pure functions; any thread.

namespace app {

/// Whether a code point is a control character, a line or paragraph separator, a format character
/// or one that is ignored where it has no glyph.
[[nodiscard]] bool isHidden(char32_t codePoint);

}  // namespace app
