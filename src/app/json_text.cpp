#include "app/json_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace app {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

char* putUnicodeEscape(char* text, char16_t unit) {
    *text++ = '\\';
    *text++ = 'u';
    for (const unsigned shift : {12u, 8u, 4u, 0u}) {
        *text++ = kHexDigits[std::uint32_t{unit} >> shift & 0xFu];
    }
    return text;
}

constexpr bool isPlain(char32_t unit) {
    return unit >= 0x20 && unit < 0x7F && unit != '"' && unit != '\\';
}

char* putCodePoint(char* text, char32_t codePoint) {
    constexpr std::array<std::array<char, 2>, 7> kShortEscapes{{{'"', '"'},
                                                                {'\\', '\\'},
                                                                {'\b', 'b'},
                                                                {'\f', 'f'},
                                                                {'\n', 'n'},
                                                                {'\r', 'r'},
                                                                {'\t', 't'}}};
    if (isPlain(codePoint)) {
        *text++ = static_cast<char>(codePoint);
        return text;
    }
    for (const auto& [character, letter] : kShortEscapes) {
        if (codePoint == static_cast<char32_t>(character)) {
            *text++ = '\\';
            *text++ = letter;
            return text;
        }
    }
    if (codePoint < 0x20 || codePoint == 0x7F) {
        return putUnicodeEscape(text, static_cast<char16_t>(codePoint));
    }
    return encodeUtf8(text, codePoint);
}

/// Whether eight bytes are all plain: told for all at once, in the top bit of each.
constexpr bool arePlain(std::uint64_t bytes) {
    constexpr std::uint64_t kEach = 0x0101010101010101U;
    constexpr std::uint64_t kTop = 0x80 * kEach;
    const auto below = [bytes](std::uint64_t limit) { return (bytes - limit * kEach) & ~bytes; };
    const auto equal = [bytes](std::uint64_t value) {
        const std::uint64_t difference = bytes ^ (value * kEach);
        return (difference - kEach) & ~difference;
    };
    return ((bytes | below(0x20) | equal('"') | equal('\\') | equal(0x7F)) & kTop) == 0;
}

/// Whether a text of at least eight bytes is plain.
bool isPlainText(std::string_view bytes) {
    const auto word = [bytes](std::size_t begin) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, bytes.data() + begin, sizeof eight);
        return eight;
    };
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    for (std::size_t begin = 0; begin + kWord < bytes.size(); begin += kWord) {
        if (!arePlain(word(begin))) {
            return false;
        }
    }
    return arePlain(word(bytes.size() - kWord));
}

constexpr std::size_t kCodePointRoom = 6;
constexpr char32_t kReplacement = 0xFFFD;

enum class LoneSurrogates : std::uint8_t { escaped, replaced };

/// A sink of text_decoding.h that appends to a JSON string.
class JsonSink {
public:
    JsonSink(Output& output, LoneSurrogates loneSurrogates)
        : destination(output), surrogates(loneSurrogates) {}

    void codePoint(char32_t value) {
        destination.commit(putCodePoint(destination.reserve(kCodePointRoom), value));
    }
    void strayByte(std::uint8_t) { codePoint(kReplacement); }
    void loneSurrogate(char16_t unit) {
        if (surrogates == LoneSurrogates::replaced) {
            codePoint(kReplacement);
        } else {
            destination.commit(putUnicodeEscape(destination.reserve(kCodePointRoom), unit));
        }
    }

private:
    Output& destination;
    LoneSurrogates surrogates;
};

/// Appends ASCII in pieces: a piece without anything to escape is copied as it is.
template <class Unit>
void appendAscii(Output& output, std::basic_string_view<Unit> units) {
    constexpr std::size_t kPiece = 64;
    while (!units.empty()) {
        const auto piece = units.substr(0, kPiece);
        units.remove_prefix(piece.size());
        char* text = output.reserve(kPiece * kCodePointRoom);
        bool plain = true;
        for (const Unit unit : piece) {
            plain &= isPlain(static_cast<char32_t>(unit));
        }
        if (plain) {
            text = std::transform(piece.begin(), piece.end(), text,
                                  [](Unit unit) { return static_cast<char>(unit); });
        } else {
            for (const Unit unit : piece) {
                text = putCodePoint(text, static_cast<char32_t>(unit));
            }
        }
        output.commit(text);
    }
}

}  // namespace

void appendJsonString(Output& output, std::string_view bytes) {
    // Nearly all strings are names of fields: short and plain.
    constexpr std::size_t kShort = 64;
    if (bytes.size() >= sizeof(std::uint64_t) && bytes.size() <= kShort && isPlainText(bytes)) {
        char* text = output.reserve(bytes.size() + 2);
        *text++ = '"';
        text += bytes.copy(text, bytes.size());
        *text++ = '"';
        output.commit(text);
        return;
    }
    output.append('"');
    if (isAscii(bytes)) {
        appendAscii(output, bytes);
    } else {
        decodeUtf8Text(bytes, JsonSink(output, LoneSurrogates::replaced));
    }
    output.append('"');
}

void appendJsonUnits(Output& output, std::u16string_view units) {
    output.append('"');
    if (isAscii(units)) {
        appendAscii(output, units);
    } else {
        decodeUtf16Text(units, JsonSink(output, LoneSurrogates::escaped));
    }
    output.append('"');
}

void appendJsonNaturalText(Output& output, std::u16string_view units, TextOrigin origin) {
    output.append('"');
    const TextForm form = textForm(units, origin);
    if (form == TextForm::ascii) {
        appendAscii(output, units);
    } else {
        decodeNaturalText(units, form, JsonSink(output, LoneSurrogates::replaced));
    }
    output.append('"');
}

void appendBase64(Output& output, std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr std::size_t kPiece = std::size_t{3} * 4096;
    const auto digit = [kDigits](std::uint32_t bits) { return kDigits[bits & 0x3F]; };
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), kPiece));
        bytes = bytes.subspan(piece.size());
        char* text = output.reserve(kPiece / 3 * 4);
        std::size_t index = 0;
        for (; index + 3 <= piece.size(); index += 3) {
            const std::uint32_t triple = static_cast<std::uint32_t>(
                piece[index] << 16 | piece[index + 1] << 8 | piece[index + 2]);
            *text++ = digit(triple >> 18);
            *text++ = digit(triple >> 12);
            *text++ = digit(triple >> 6);
            *text++ = digit(triple);
        }
        if (index < piece.size()) {
            const bool two = index + 1 < piece.size();
            const std::uint32_t rest =
                static_cast<std::uint32_t>(piece[index] << 16 | (two ? piece[index + 1] << 8 : 0));
            *text++ = digit(rest >> 18);
            *text++ = digit(rest >> 12);
            *text++ = two ? digit(rest >> 6) : '=';
            *text++ = '=';
        }
        output.commit(text);
    }
}

void appendJsonBase64(Output& output, std::span<const std::uint8_t> bytes) {
    output.append('"');
    appendBase64(output, bytes);
    output.append('"');
}

}  // namespace app
