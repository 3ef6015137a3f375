#include "columns/utf8_text.h"

#include <array>
#include <cstdint>
#include <utility>

#include "text/text_decoding.h"

namespace ifdsweep {
namespace {

/// Puts code points together.
struct Utf8Collector {
    void codePoint(char32_t point) {
        std::array<char, 4> room;
        text.append(room.data(), encodeUtf8(room.data(), point));
    }
    void strayByte(std::uint8_t /*byte*/) { codePoint(U'\uFFFD'); }
    void loneSurrogate(char16_t /*unit*/) { codePoint(U'\uFFFD'); }

    std::string text;
};

}  // namespace

std::string utf8OfBytes(std::string_view bytes) {
    if (isUtf8(bytes)) {
        return std::string(bytes);
    }
    Utf8Collector collector;
    decodeUtf8Text(bytes, collector);
    return std::move(collector.text);
}

std::string utf8OfName(std::u16string_view name) {
    Utf8Collector collector;
    collector.text.reserve(name.size());
    decodeUtf16Text(name, collector);
    return std::move(collector.text);
}

}  // namespace ifdsweep
