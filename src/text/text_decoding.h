#pragma once

// Text decoding: bytes and UTF-16 units taken apart into code points, and the parts that are no
// text named as such. A sink receives the pieces in order:
//
//   void codePoint(char32_t)         a code point, never a surrogate
//   void strayByte(std::uint8_t)     a byte that belongs to no valid UTF-8 sequence
//   void loneSurrogate(char16_t)     a surrogate without its other half
//
// Plain functions; any thread.

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ifdsweep {

/// One step of a UTF-8 decoder; a length of 0 says that the byte at hand starts no valid sequence.
struct Utf8Step {
    char32_t codePoint = 0;
    std::size_t length = 0;
};

/// Decodes the sequence at the start of a text that is not empty. Overlong forms, surrogates and
/// values above U+10FFFF are no valid sequences.
/// @param text bytes, or units whose low eight bits are the bytes
template <class Unit>
Utf8Step decodeUtf8(std::basic_string_view<Unit> text) {
    assert(!text.empty());
    const auto byte = [text](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
    const std::uint8_t lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return {};
    }
    const std::size_t length = lead < 0xE0 ? 2 : (lead < 0xF0 ? 3 : 4);
    if (text.size() < length) {
        return {};
    }
    char32_t codePoint = lead & (0x7Fu >> length);
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0) != 0x80) {
            return {};
        }
        codePoint = codePoint << 6 | (byte(index) & 0x3F);
    }
    constexpr std::array<char32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < kLeast[length] || surrogate || codePoint > 0x10FFFF) {
        return {};
    }
    return {codePoint, length};
}

/// Writes a code point as UTF-8 into memory for four bytes; returns the end.
inline char* encodeUtf8(char* text, char32_t codePoint) {
    const auto put = [&text](char32_t byte) { *text++ = static_cast<char>(byte); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | codePoint >> 6);
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | codePoint >> 12);
        put(0x80 | (codePoint >> 6 & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | codePoint >> 18);
        put(0x80 | (codePoint >> 12 & 0x3F));
        put(0x80 | (codePoint >> 6 & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
    return text;
}

/// Whether every unit lies below 0x80.
template <class Unit>
bool isAscii(std::basic_string_view<Unit> text) {
    // Without an early end the loop is done many units at a time.
    std::uint32_t bits = 0;
    for (const Unit unit : text) {
        bits |= static_cast<std::uint32_t>(unit);
    }
    return (bits & ~0x7Fu) == 0;
}

/// Whether the low bytes of all units form valid UTF-8.
template <class Unit>
bool isUtf8(std::basic_string_view<Unit> text) {
    if (isAscii(text)) {
        return true;  // as nearly always
    }
    while (!text.empty()) {
        const Utf8Step step = decodeUtf8(text);
        if (step.length == 0) {
            return false;
        }
        text.remove_prefix(step.length);
    }
    return true;
}

/// Gives the sink a text in UTF-8, held in bytes or in the low bytes of units.
template <class Unit, class Sink>
void decodeUtf8Text(std::basic_string_view<Unit> text, Sink&& sink) {
    while (!text.empty()) {
        const Utf8Step step = decodeUtf8(text);
        if (step.length == 0) {
            sink.strayByte(static_cast<std::uint8_t>(text.front()));
        } else {
            sink.codePoint(step.codePoint);
        }
        text.remove_prefix(std::max<std::size_t>(step.length, 1));
    }
}

/// Gives the sink a text in UTF-16.
template <class Sink>
void decodeUtf16Text(std::u16string_view text, Sink&& sink) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char16_t unit = text[index];
        if (unit < 0xD800 || unit > 0xDFFF) {
            sink.codePoint(unit);
            continue;
        }
        const char16_t next = index + 1 < text.size() ? text[index + 1] : u'\0';
        if (unit <= 0xDBFF && next >= 0xDC00 && next <= 0xDFFF) {
            sink.codePoint(0x10000u + ((unit - 0xD800u) << 10) + (next - 0xDC00u));
            ++index;
        } else {
            sink.loneSurrogate(unit);
        }
    }
}

}  // namespace ifdsweep
