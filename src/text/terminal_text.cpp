#include "text/terminal_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "text/count_text.h"
#include "text/hidden_characters.h"
#include "text/text_list.h"

namespace ifdsweep {
namespace {

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

/// Appends the beginning of a text that stands as it is in every form, which nearly always is all
/// of it; returns its length.
template <class Unit>
std::size_t appendPlainBeginning(Output& output, std::basic_string_view<Unit> text) {
    constexpr std::size_t kPiece = 256;
    const auto isPlain = [](Unit unit) { return unit >= 0x20 && unit < 0x7F && unit != '\\'; };
    std::size_t length = 0;
    std::size_t taken = kPiece;
    while (taken == kPiece) {
        const auto piece = text.substr(length, kPiece);
        char* place = output.reserve(kPiece);
        for (taken = 0; taken < piece.size() && isPlain(piece[taken]); ++taken) {
            *place++ = static_cast<char>(piece[taken]);
        }
        output.commit(place);
        length += taken;
    }
    return length;
}

/// Of a blank text nobody counts more.
constexpr std::size_t kShownBlanks = 16;

bool isBlank(std::u16string_view units) {
    return units.find_first_not_of(u' ') == std::u16string_view::npos;
}

void appendLength(Output& output, std::size_t units) {
    output.append(" \u2026 ");
    output.append(groupedCount(units));
    output.append(" characters");
}

void appendShort(Output& output, std::u16string_view units, TextForm form, std::size_t limit) {
    const std::u16string_view shown = naturalPrefix(units, form, limit);
    decodeNaturalText(shown.substr(appendPlainBeginning(output, shown)), form,
                      TerminalSink(output));
    if (shown.size() < units.size()) {
        appendLength(output, units.size());
    }
}

/// Appends texts between quotes, at least one, as many as the limits allow.
void appendQuotedTexts(Output& output, std::u16string_view units, TextForm form,
                       const TextLimits& limits) {
    std::u16string_view left = units;
    std::size_t room = limits.characters;
    bool isCut = false;
    for (std::size_t count = 0; count == 0 || (!left.empty() && !isCut); ++count) {
        const std::u16string_view text = takeText(left);
        const std::u16string_view shown = naturalPrefix(text, form, room);
        output.append(count == 0 ? "\"" : ", \"");
        decodeNaturalText(shown, form, TerminalSink(output));
        output.append('"');
        room -= shown.size();
        isCut = shown.size() < text.size() || (count + 1 == limits.elements && !left.empty());
    }
    if (isCut) {
        appendLength(output, units.size());
    }
}

}  // namespace

void appendTerminalText(Output& output, std::string_view bytes) {
    bytes.remove_prefix(appendPlainBeginning(output, bytes));
    decodeUtf8Text(bytes, TerminalSink(output));
}

void appendTerminalText(Output& output, std::u16string_view units, TextOrigin origin,
                        std::size_t limit) {
    // The form is that of the whole text: a part of it may look like something else.
    appendShort(output, units, textForm(units, origin), limit);
}

void appendTerminalTexts(Output& output, std::u16string_view units, TextOrigin origin,
                         const TextLimits& limits) {
    if (origin == TextOrigin::packet && !isBlank(withoutEndingNuls(units))) {
        appendTerminalText(output, units, origin, limits.characters);
    } else {
        appendTerminalTexts(output, units, textForm(units, origin), limits);
    }
}

void appendTerminalTexts(Output& output, std::u16string_view units, TextForm form,
                         const TextLimits& limits) {
    units = withoutEndingNuls(units);
    if (isBlank(units)) {
        appendQuotedTexts(output, units, form, {1, std::min(limits.characters, kShownBlanks)});
    } else if (holdsSeveralTexts(units)) {
        appendQuotedTexts(output, units, form, limits);
    } else {
        appendShort(output, units, form, limits.characters);
    }
}

}  // namespace ifdsweep
