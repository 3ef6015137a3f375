#include "present/encoded_text.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <string>
#include <utility>

#include "text/hidden_characters.h"
#include "text/natural_text.h"
#include "text/terminal_text.h"
#include "text/text_list.h"

namespace ifdsweep {
namespace {

enum class ByteOrder : std::uint8_t { lowFirst, highFirst };

/// The bytes of a value, each as a unit: from numbers, or from a text of widened bytes. None where
/// it holds anything else.
std::optional<std::u16string> bytesOf(const Value& value) {
    std::u16string bytes;
    if (value.kind() == ValueKind::Char) {
        const std::u16string_view units = value.text();
        if (textForm(units, TextOrigin::tag) == TextForm::utf16) {
            return std::nullopt;
        }
        bytes.resize(units.size());
        std::transform(units.begin(), units.end(), bytes.begin(),
                       [](char16_t unit) { return static_cast<char16_t>(unit & 0xFF); });
        return bytes;
    }
    const std::span<const double> numbers = value.doubles();
    const bool areBytes = std::all_of(numbers.begin(), numbers.end(), [](double number) {
        return number >= 0 && number <= 0xFF && std::trunc(number) == number;
    });
    if (numbers.empty() || !areBytes) {
        return std::nullopt;
    }
    bytes.resize(numbers.size());
    std::transform(numbers.begin(), numbers.end(), bytes.begin(),
                   [](double number) { return static_cast<char16_t>(number); });
    return bytes;
}

/// Units of two bytes each. None where a byte other than NUL is left over.
std::optional<std::u16string> unitsOf(std::u16string_view bytes, ByteOrder order) {
    if (bytes.size() % 2 != 0 && bytes.back() != 0) {
        return std::nullopt;
    }
    std::u16string units(bytes.size() / 2, u'\0');
    const std::size_t low = order == ByteOrder::lowFirst ? 0 : 1;
    for (std::size_t index = 0; index < units.size(); ++index) {
        units[index] =
            static_cast<char16_t>(bytes[2 * index + 1 - low] << 8 | bytes[2 * index + low]);
    }
    return units;
}

/// A number for the script of a unit: a text has few of them. Ideographs with what stands among
/// them are one, Hangul is one, and of others 256 code points are.
std::size_t scriptOf(char16_t unit) {
    if ((unit >= 0x2E80 && unit < 0xA000) || unit >= 0xFF00) {
        return 0x4E;
    }
    return unit >= 0xAC00 && unit < 0xD800 ? 0xAC : unit >> 8U;
}

/// How many scripts a text has: fewer than the same bytes in the other order.
std::size_t scriptCount(std::u16string_view units) {
    std::bitset<256> scripts;
    for (const char16_t unit : units) {
        scripts.set(scriptOf(unit));
    }
    return scripts.count();
}

std::size_t latinCount(std::u16string_view units) {
    return static_cast<std::size_t>(std::count_if(units.begin(), units.end(), [](char16_t unit) {
        return unit != 0 && unit < 0x100 && !isHidden(unit);
    }));
}

/// A text in UTF-16 whose byte order is told by a mark at its start, or else by what makes sense:
/// writers do not agree on whether the order is that of the file.
std::optional<std::u16string> utf16Text(std::u16string_view bytes) {
    constexpr char16_t kMark = 0xFEFF;
    auto lowFirst = unitsOf(bytes, ByteOrder::lowFirst);
    auto highFirst = unitsOf(bytes, ByteOrder::highFirst);
    if (!lowFirst || !highFirst) {
        return std::nullopt;
    }
    for (auto* units : {&*lowFirst, &*highFirst}) {
        if (!units->empty() && units->front() == kMark) {
            return units->substr(1);
        }
    }
    const std::size_t lowLatin = latinCount(*lowFirst);
    const std::size_t highLatin = latinCount(*highFirst);
    const bool isHighFirst = lowLatin != highLatin
                                 ? highLatin > lowLatin
                                 : scriptCount(*highFirst) < scriptCount(*lowFirst);
    return isHighFirst ? highFirst : lowFirst;
}

/// Whether bytes are text that somebody wrote: no controls but those of lines.
bool looksLikeText(std::u16string_view bytes) {
    return std::none_of(bytes.begin(), bytes.end(), [](char16_t byte) {
        return byte < 0x20 && byte != 0 && byte != '\n' && byte != '\r' && byte != '\t';
    });
}

/// Whether bytes are text and nothing else, from the first to the NULs at the end.
bool isTextAlone(std::u16string_view bytes) {
    bytes = withoutEndingNuls(bytes);
    return !bytes.empty() && !holdsSeveralTexts(bytes) && looksLikeText(bytes) && isUtf8(bytes);
}

}  // namespace

std::optional<DecodedText> decodeCodedText(std::u16string_view bytes, CodePresence presence) {
    constexpr std::size_t kCodeSize = 8;
    constexpr std::u16string_view kAscii{u"ASCII\0\0\0", kCodeSize};
    constexpr std::u16string_view kUnicode{u"UNICODE\0", kCodeSize};
    constexpr std::u16string_view kJis{u"JIS\0\0\0\0\0", kCodeSize};
    constexpr std::u16string_view kUndefined{u"\0\0\0\0\0\0\0\0", kCodeSize};
    const auto textOf = [](std::u16string_view units) {
        return DecodedText{std::u16string(units), textForm(units, TextOrigin::tag)};
    };
    const std::u16string_view code = bytes.substr(0, kCodeSize);
    const std::u16string_view text = bytes.substr(code.size());
    if (code == kUnicode) {
        auto units = utf16Text(text);
        return units ? std::optional(DecodedText{std::move(*units), TextForm::utf16})
                     : std::nullopt;
    }
    if (code == kAscii || (code == kUndefined && looksLikeText(text))) {
        return textOf(text);
    }
    // Some writers leave the code out.
    return presence == CodePresence::optional && code != kJis && isTextAlone(bytes)
               ? std::optional(textOf(bytes))
               : std::nullopt;
}

std::optional<DecodedText> decodeUtf16Bytes(std::u16string_view bytes) {
    auto units = unitsOf(bytes, ByteOrder::lowFirst);
    return units ? std::optional(DecodedText{std::move(*units), TextForm::utf16}) : std::nullopt;
}

bool presentCodedText(Output& output, const PresentedField& field, const PresenterParameter&) {
    const auto bytes = bytesOf(field.value);
    const auto text = bytes ? decodeCodedText(*bytes, field.value.kind() == ValueKind::Double
                                                          ? CodePresence::optional
                                                          : CodePresence::required)
                            : std::nullopt;
    if (text) {
        appendTerminalTexts(output, text->units, text->form, field.limits);
    }
    return text.has_value();
}

bool presentUtf16Text(Output& output, const PresentedField& field, const PresenterParameter&) {
    const bool areNumbers = field.value.kind() == ValueKind::Double;
    const auto bytes = areNumbers ? bytesOf(field.value) : std::nullopt;
    const auto text = bytes ? decodeUtf16Bytes(*bytes) : std::nullopt;
    if (text) {
        appendTerminalTexts(output, text->units, text->form, field.limits);
    }
    return text.has_value();
}

}  // namespace ifdsweep
