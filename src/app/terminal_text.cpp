#include "app/terminal_text.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "app/number_text.h"

namespace app {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Code points that are shown as escapes, in ascending order.
// clang-format off
constexpr std::array kHidden{
    Range{0x0000, 0x001F},    // C0 controls
    Range{0x007F, 0x009F},    // delete, C1 controls
    Range{0x00AD, 0x00AD},    // soft hyphen
    Range{0x061C, 0x061C},    // Arabic letter mark
    Range{0x180E, 0x180E},    // Mongolian vowel separator
    Range{0x200B, 0x200F},    // zero-width characters, left-to-right and right-to-left marks
    Range{0x2028, 0x202E},    // line and paragraph separators, bidirectional embeddings
    Range{0x2060, 0x206F},    // word joiner, bidirectional isolates, deprecated format characters
    Range{0xFEFF, 0xFEFF},    // byte order mark
    Range{0xFFF9, 0xFFFB},    // interlinear annotation
    Range{0xE0000, 0xE0FFF},  // tags, variation selectors
};
// clang-format on

constexpr bool isHidden(char32_t codePoint) {
    return std::any_of(kHidden.begin(), kHidden.end(), [codePoint](const Range& range) {
        return range.first <= codePoint && codePoint <= range.last;
    });
}

/// A sink of text_decoding.h that appends escaped text.
class TerminalSink {
public:
    explicit TerminalSink(Output& output) : destination(output) {}

    void codePoint(char32_t value) {
        switch (value) {
            case '\\':
                destination.append("\\\\");
                return;
            case '\n':
                destination.append("\\n");
                return;
            case '\r':
                destination.append("\\r");
                return;
            case '\t':
                destination.append("\\t");
                return;
            default:
                break;
        }
        if (!isHidden(value)) {
            constexpr std::size_t kUtf8Room = 4;
            destination.commit(encodeUtf8(destination.reserve(kUtf8Room), value));
        } else if (value < 0x80) {
            escape('x', value, 2);
        } else if (value < 0x10000) {
            escape('u', value, 4);
        } else {
            escape('U', value, 8);
        }
    }

    void strayByte(std::uint8_t byte) { escape('x', byte, 2); }

    void loneSurrogate(char16_t unit) {
        // These surrogates stand for the bytes of a file name that are no UTF-8.
        if (unit >= 0xDC80 && unit <= 0xDCFF) {
            strayByte(static_cast<std::uint8_t>(unit));
        } else {
            escape('u', unit, 4);
        }
    }

private:
    void escape(char letter, std::uint32_t value, unsigned digits) {
        destination.append('\\');
        destination.append(letter);
        while (digits > 0) {
            --digits;
            destination.append("0123456789abcdef"[value >> (4 * digits) & 0xF]);
        }
    }

    Output& destination;
};

}  // namespace

void appendTerminalText(Output& output, std::string_view bytes) {
    decodeUtf8Text(bytes, TerminalSink(output));
}

void appendTerminalText(Output& output, std::u16string_view units, TextOrigin origin,
                        std::size_t limit) {
    // The form is that of the whole text: a part of it may look like something else.
    const TextForm form = textForm(units, origin);
    const std::u16string_view shown = naturalPrefix(units, form, limit);
    decodeNaturalText(shown, form, TerminalSink(output));
    if (shown.size() < units.size()) {
        output.append(" ... (");
        output.commit(
            formatInteger(output.reserve(kNumberRoom), static_cast<std::int64_t>(units.size())));
        output.append(" characters)");
    }
}

}  // namespace app
