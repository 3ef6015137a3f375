#include "present/encoded_text.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <string>

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

void appendBytes(Output& output, std::u16string_view bytes, const TextLimits& limits) {
    appendTerminalTexts(output, bytes, TextOrigin::tag, limits);
}

void appendUnits(Output& output, std::u16string_view units, const TextLimits& limits) {
    appendTerminalTexts(output, units, TextForm::utf16, limits);
}

}  // namespace

bool presentCodedText(Output& output, const PresentedField& field, const PresenterParameter&) {
    constexpr std::size_t kCodeSize = 8;
    constexpr std::u16string_view kAscii{u"ASCII\0\0\0", kCodeSize};
    constexpr std::u16string_view kUnicode{u"UNICODE\0", kCodeSize};
    constexpr std::u16string_view kJis{u"JIS\0\0\0\0\0", kCodeSize};
    constexpr std::u16string_view kUndefined{u"\0\0\0\0\0\0\0\0", kCodeSize};
    const auto bytes = bytesOf(field.value);
    if (!bytes) {
        return false;
    }
    const std::u16string_view all(*bytes);
    const std::u16string_view code = all.substr(0, kCodeSize);
    const std::u16string_view text = all.substr(code.size());
    if (code == kUnicode) {
        const auto units = utf16Text(text);
        if (units) {
            appendUnits(output, *units, field.limits);
        }
        return units.has_value();
    }
    if (code == kAscii || (code == kUndefined && looksLikeText(text))) {
        appendBytes(output, text, field.limits);
        return true;
    }
    // Some writers leave the code out.
    const bool isWithoutCode =
        code != kJis && field.value.kind() == ValueKind::Double && isTextAlone(all);
    if (isWithoutCode) {
        appendBytes(output, all, field.limits);
    }
    return isWithoutCode;
}

bool presentUtf16Text(Output& output, const PresentedField& field, const PresenterParameter&) {
    const bool areNumbers = field.value.kind() == ValueKind::Double;
    const auto bytes = areNumbers ? bytesOf(field.value) : std::nullopt;
    const auto units = bytes ? unitsOf(*bytes, ByteOrder::lowFirst) : std::nullopt;
    if (units) {
        appendUnits(output, *units, field.limits);
    }
    return units.has_value();
}

}  // namespace ifdsweep
