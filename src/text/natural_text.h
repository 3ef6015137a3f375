#pragma once

// Natural text: what the characters of a record mean to a reader.
//
// The text of a tag comes from 8-bit bytes, widened in one of two ways: sign-extended (a byte from
// 0x80 becomes a unit from 0xFF80) or zero-extended (unknown tags). Both are undone. The bytes are
// then UTF-8 where they are valid UTF-8, and Windows-1252 otherwise, the code page that most
// cameras and scanners write. File names are UTF-16 and taken as they are: a name may hold
// half-width letters from U+FF80 on, which look like widened bytes.
//
// Plain functions; any thread.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "text/text_decoding.h"

namespace ifdsweep {

/// Where the characters of a text come from: the text or texts of a tag, a document that a tag
/// holds byte by byte, a name.
enum class TextOrigin : std::uint8_t { tag, packet, fileName };

/// How the units of a text are to be read.
enum class TextForm : std::uint8_t { ascii, utf8Bytes, windows1252Bytes, utf16 };

/// The form of a text: widened bytes for a tag whose units are all of one widening, UTF-16 for
/// everything else.
[[nodiscard]] TextForm textForm(std::u16string_view units, TextOrigin origin);

/// The origin of the text in a field, by the field's name.
[[nodiscard]] TextOrigin fieldTextOrigin(std::string_view fieldName);

/// The code point of a Windows-1252 byte. The five bytes that the code page leaves undefined are
/// the C1 control characters of the same number.
[[nodiscard]] char32_t windows1252CodePoint(std::uint8_t byte);

/// The longest beginning of a text of at most `limit` units that cuts no code point apart.
[[nodiscard]] std::u16string_view naturalPrefix(std::u16string_view units, TextForm form,
                                                std::size_t limit);

/// Gives the sink a text in its natural reading.
template <class Sink>
void decodeNaturalText(std::u16string_view units, TextForm form, Sink&& sink) {
    switch (form) {
        case TextForm::ascii:
        case TextForm::utf16:
            decodeUtf16Text(units, sink);
            break;
        case TextForm::utf8Bytes:
            decodeUtf8Text(units, sink);
            break;
        case TextForm::windows1252Bytes:
            for (const char16_t unit : units) {
                sink.codePoint(windows1252CodePoint(static_cast<std::uint8_t>(unit)));
            }
            break;
    }
}

}  // namespace ifdsweep
