#include "text/json_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "text/hidden_characters.h"

namespace ifdsweep {
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

char* putCodePoint(char* text, char32_t codePoint, bool forTerminal) {
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
    const bool isControl = codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
    if (!isControl && !(forTerminal && isHidden(codePoint))) {
        return encodeUtf8(text, codePoint);
    }
    if (codePoint < 0x10000) {
        return putUnicodeEscape(text, static_cast<char16_t>(codePoint));
    }
    const char32_t offset = codePoint - 0x10000;
    text = putUnicodeEscape(text, static_cast<char16_t>(0xD800 + (offset >> 10)));
    return putUnicodeEscape(text, static_cast<char16_t>(0xDC00 + (offset & 0x3FF)));
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

constexpr std::size_t kWord = sizeof(std::uint64_t);

std::uint64_t loadWord(const void* place) {
    std::uint64_t word = 0;
    std::memcpy(&word, place, sizeof word);
    return word;
}

/// Eight bytes of a text.
struct Eight {
    std::uint64_t bytes;
    bool areBytes;  ///< whether the units were bytes, or bytes widened with zeros
};

Eight loadEight(const char* units) {
    return {loadWord(units), true};
}

Eight loadEight(const char16_t* units) {
    // Four units to a word: the low bytes move together, the first unit to the lowest byte.
    const auto narrow = [](std::uint64_t four) {
        four = (four | four >> 8) & 0x0000FFFF0000FFFFU;
        return (four | four >> 16) & 0xFFFFFFFFU;
    };
    const std::uint64_t first = loadWord(units);
    const std::uint64_t second = loadWord(units + 4);
    return {narrow(first) | narrow(second) << 32, ((first | second) & 0xFF00FF00FF00FF00U) == 0};
}

/// Copies a text that is plain, eight units at a time.
/// @param text memory for it
/// @return whether it was; otherwise what the memory holds is undefined
template <class Unit>
bool copyPlain(char* text, std::basic_string_view<Unit> units) {
    if (units.size() < kWord) {
        bool plain = true;
        for (const Unit unit : units) {
            plain &= isPlain(static_cast<char32_t>(unit));
            *text++ = static_cast<char>(unit);
        }
        return plain;
    }
    // The last eight may have been seen in part.
    for (std::size_t begin = 0;; begin = std::min(begin + kWord, units.size() - kWord)) {
        const Eight eight = loadEight(units.data() + begin);
        if (!eight.areBytes || !arePlain(eight.bytes)) {
            return false;
        }
        std::memcpy(text + begin, &eight.bytes, kWord);
        if (begin + kWord == units.size()) {
            return true;
        }
    }
}

/// Appends a plain text of moderate length as a JSON string; false for any other, and nothing is
/// appended. Nearly all strings are such: names of fields, names of values, short texts.
template <class Unit>
bool appendPlainString(Output& output, std::basic_string_view<Unit> units) {
    constexpr std::size_t kModerate = 256;
    if (units.size() > kModerate) {
        return false;
    }
    char* text = output.reserve(units.size() + 2);
    if (!copyPlain(text + 1, units)) {
        return false;
    }
    text[0] = '"';
    text[units.size() + 1] = '"';
    output.commit(text + units.size() + 2);
    return true;
}

constexpr std::size_t kCodePointRoom = 12;  // the escapes of two surrogates
constexpr char32_t kReplacement = 0xFFFD;

enum class LoneSurrogates : std::uint8_t { escaped, replaced };

/// A sink of text_decoding.h that appends to a JSON string.
class JsonSink {
public:
    JsonSink(Output& output, LoneSurrogates loneSurrogates)
        : destination(output), surrogates(loneSurrogates) {}

    void codePoint(char32_t value) {
        destination.commit(
            putCodePoint(destination.reserve(kCodePointRoom), value, destination.isForTerminal()));
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
        if (copyPlain(text, piece)) {
            text += piece.size();
        } else {
            for (const Unit unit : piece) {
                text = putCodePoint(text, static_cast<char32_t>(unit), output.isForTerminal());
            }
        }
        output.commit(text);
    }
}

}  // namespace

void appendJsonString(Output& output, std::string_view bytes) {
    if (appendPlainString(output, bytes)) {
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
    if (appendPlainString(output, units)) {
        return;
    }
    output.append('"');
    if (isAscii(units)) {
        appendAscii(output, units);
    } else {
        decodeUtf16Text(units, JsonSink(output, LoneSurrogates::escaped));
    }
    output.append('"');
}

void appendJsonNaturalText(Output& output, std::u16string_view units, TextOrigin origin) {
    if (appendPlainString(output, units)) {
        return;
    }
    appendJsonNaturalText(output, units, textForm(units, origin));
}

void appendJsonNaturalText(Output& output, std::u16string_view units, TextForm form) {
    output.append('"');
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

}  // namespace ifdsweep
