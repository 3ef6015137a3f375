#include "write/xml_summary.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>

#include "text/count_text.h"
#include "text/terminal_text.h"

namespace ifdsweep {
namespace {

constexpr std::size_t kShort = 64;  // shown as it is

bool isBlank(char16_t unit) {
    return unit == ' ' || unit == '\t' || unit == '\n' || unit == '\r';
}
bool isNameStart(char16_t unit) {
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') || unit == '_';
}
bool isInName(char16_t unit) {
    return isNameStart(unit) || (unit >= '0' && unit <= '9') || unit == ':' || unit == '-' ||
           unit == '.';
}

void skipByteOrderMark(std::u16string_view& text) {
    constexpr char16_t kMark = 0xFEFF;
    const auto byte = [text](std::size_t index) { return text[index] & 0xFF; };
    if (!text.empty() && text.front() == kMark) {
        text.remove_prefix(1);
    } else if (text.size() >= 3 && byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF) {
        text.remove_prefix(3);
    }
}

void skipBlanks(std::u16string_view& text) {
    const auto* const end = std::find_if_not(text.begin(), text.end(), isBlank);
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
}

/// Skips to behind the next occurrence of an ending, or to the end.
void skipBehind(std::u16string_view& text, std::u16string_view ending) {
    const std::size_t found = text.find(ending);
    text.remove_prefix(found == text.npos ? text.size() : found + ending.size());
}

bool startsAsElement(std::u16string_view text) {
    return text.size() >= 2 && text[0] == '<' && isNameStart(text[1]);
}

/// Whether the last thing in a text is the end of a tag.
bool endsAsElement(std::u16string_view text) {
    while (!text.empty() && (isBlank(text.back()) || text.back() == 0)) {
        text.remove_suffix(1);
    }
    return text.ends_with(u'>');
}

/// The root element of what begins as XML, past declarations and comments.
std::u16string_view rootOf(std::u16string_view text) {
    while (!startsAsElement(text)) {
        if (text.empty()) {
            return {};
        }
        if (text.starts_with(u"<?")) {
            skipBehind(text, u"?>");
        } else if (text.starts_with(u"<!--")) {
            skipBehind(text, u"-->");
        } else {
            const std::size_t next = text.find(u'<', 1);
            text.remove_prefix(std::min(next, text.size()));
        }
    }
    text.remove_prefix(1);
    const auto* const end = std::find_if_not(text.begin(), text.end(), isInName);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

/// Numbers that are all bytes, as the text that they spell.
template <class Number>
std::u16string bytesAsText(std::span<const Number> numbers) {
    const auto isByte = [](Number number) {
        return number >= 0 && number <= 255 && number == static_cast<std::uint8_t>(number);
    };
    // Most arrays are no text: their first number says so.
    constexpr Number kBeforeMark = 0xEF;
    const bool mayBegin = !numbers.empty() && isByte(numbers.front()) &&
                          (numbers.front() == kBeforeMark || numbers.front() == '<' ||
                           isBlank(static_cast<char16_t>(numbers.front())));
    if (!mayBegin || !std::all_of(numbers.begin(), numbers.end(), isByte)) {
        return {};
    }
    return {numbers.begin(), numbers.end()};
}

std::u16string bytesAsText(const Value& value) {
    return value.kind() == ValueKind::Double  ? bytesAsText(value.doubles())
           : value.kind() == ValueKind::Uint8 ? bytesAsText(value.bytes())
                                              : std::u16string();
}

}  // namespace

std::optional<std::u16string_view> xmlRoot(std::u16string_view text) {
    skipByteOrderMark(text);
    skipBlanks(text);
    const bool isDeclared = text.starts_with(u"<?xml") || text.starts_with(u"<?xpacket");
    if (!isDeclared && !(startsAsElement(text) && endsAsElement(text))) {
        return std::nullopt;
    }
    return rootOf(text);
}

bool appendXmlSummary(Output& output, const Value& value) {
    if (value.rows() != 1 || value.columns() <= kShort) {
        return false;
    }
    const bool isText = value.kind() == ValueKind::Char;
    const std::u16string spelled = isText ? std::u16string() : bytesAsText(value);
    const std::optional<std::u16string_view> root = xmlRoot(isText ? value.text() : spelled);
    if (!root) {
        return false;
    }
    output.append("XML, ");
    if (!root->empty()) {
        appendTerminalText(output, root->substr(0, kShort), TextOrigin::tag, kShort);
        output.append(", ");
    }
    output.append(groupedCount(value.columns()));
    output.append(isText ? " characters (--shorten all shows it)"
                         : " bytes (--shorten all shows them)");
    return true;
}

}  // namespace ifdsweep
