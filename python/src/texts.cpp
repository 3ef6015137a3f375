#include "texts.h"

#include <algorithm>
#include <array>

#include "text/terminal_text.h"
#include "text/text_decoding.h"

namespace ifdsweep::python {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// Puts code points together as UTF-8.
struct Utf8Collector {
    void codePoint(char32_t point) {
        std::array<char, 4> bytes{};
        text.append(bytes.data(), encodeUtf8(bytes.data(), point));
    }
    void strayByte(std::uint8_t /*byte*/) { codePoint(kReplacement); }
    void loneSurrogate(char16_t /*unit*/) { codePoint(kReplacement); }

    std::string text;
};

/// A text of ASCII; one that is short, as nearly all are, without a request for memory of its own.
nb::str asciiStr(std::u16string_view units) {
    std::array<char, 128> few;
    if (units.size() > few.size()) {
        return strOf(std::string(units.begin(), units.end()));
    }
    const auto end = std::transform(units.begin(), units.end(), few.begin(),
                                    [](char16_t unit) { return static_cast<char>(unit); });
    return strOf({few.data(), static_cast<std::size_t>(end - few.begin())});
}

}  // namespace

nb::str strOf(std::string_view utf8) {
    return nb::str(utf8.data(), utf8.size());
}

nb::str utf8Str(std::string_view bytes) {
    if (isUtf8(bytes)) {
        return strOf(bytes);
    }
    Utf8Collector collector;
    decodeUtf8Text(bytes, collector);
    return strOf(collector.text);
}

nb::str naturalStr(std::u16string_view units, TextForm form) {
    if (form == TextForm::ascii) {  // as nearly always
        return asciiStr(units);
    }
    Utf8Collector collector;
    decodeNaturalText(units, form, collector);
    return strOf(collector.text);
}

std::string typeNameOf(nb::handle object) {
    const auto name = nb::steal<nb::str>(PyType_GetName(Py_TYPE(object.ptr())));
    if (!name.is_valid()) {
        throw nb::python_error();
    }
    return name.c_str();
}

std::string decodedBytes(std::string_view bytes) {
    if (isUtf8(bytes)) {
        return std::string(bytes);
    }
    Utf8Collector collector;
    for (const char byte : bytes) {
        collector.codePoint(windows1252CodePoint(static_cast<std::uint8_t>(byte)));
    }
    return std::move(collector.text);
}

std::string shownText(std::string_view text, std::size_t limit) {
    const bool isCut = text.size() > limit;
    while (isCut && limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80) {
        --limit;
    }
    return written([&](Output& output) {
        appendTerminalText(output, text.substr(0, limit));
        output.append(isCut ? "…" : "");
    });
}

}  // namespace ifdsweep::python
