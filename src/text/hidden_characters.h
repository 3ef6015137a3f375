#pragma once

// Hidden characters: those that a terminal obeys, that reorder a line, or that nobody sees. Text
// for terminals and JSON show them as escapes. Pure functions; any thread.

namespace ifdsweep {

/// What `isHidden` says of code points from U+007F on.
[[nodiscard]] bool isHiddenBeyondAscii(char32_t codePoint);

/// Whether a code point is a control character, a line or paragraph separator, a format character
/// or one that is ignored where it has no glyph.
[[nodiscard]] inline bool isHidden(char32_t codePoint) {
    return codePoint < 0x7F ? codePoint < 0x20 : isHiddenBeyondAscii(codePoint);
}

}  // namespace ifdsweep
