#include "files/file_names.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "text/text_decoding.h"

namespace ifdsweep {

namespace {

constexpr char16_t kEscapeBase = 0xDC00;  // byte 0x80 travels as U+DC80

constexpr bool isEscape(char16_t unit) {
    return unit >= 0xDC80 && unit <= 0xDCFF;
}

struct NameUnitSink {
    std::u16string& name;

    void codePoint(char32_t character) {
        if (character < 0x10000) {
            name.push_back(static_cast<char16_t>(character));
        } else {
            name.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
            name.push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
        }
    }
    void strayByte(std::uint8_t byte) { name.push_back(static_cast<char16_t>(kEscapeBase + byte)); }
};

struct NameByteSink {
    std::string& bytes;

    void codePoint(char32_t character) {
        std::array<char, 4> sequence;
        bytes.append(sequence.data(), encodeUtf8(sequence.data(), character));
    }
    void loneSurrogate(char16_t unit) {
        if (isEscape(unit)) {
            bytes.push_back(static_cast<char>(static_cast<unsigned char>(unit - kEscapeBase)));
        } else {
            codePoint(unit);
        }
    }
};

}  // namespace

std::u16string fileNameFromSystem(std::string_view systemBytes) {
    std::u16string name;
    name.reserve(systemBytes.size());
    decodeUtf8Text(systemBytes, NameUnitSink{name});
    return name;
}

std::string fileNameToSystem(std::u16string_view name) {
    std::string bytes;
    bytes.reserve(name.size());
    decodeUtf16Text(name, NameByteSink{bytes});
    return bytes;
}

}  // namespace ifdsweep
