#include "files/file_names.h"

#include <cstddef>
#include <cstdint>

namespace ifdsweep {

namespace {

constexpr std::uint32_t kEscapeBase = 0xDC00;  // byte 0x80 travels as U+DC80

constexpr bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
constexpr bool isEscape(std::uint32_t unit) {
    return unit >= 0xDC80 && unit <= 0xDCFF;
}

std::uint32_t byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<unsigned char>(bytes[index]);
}

/// A character and how many bytes it took; no bytes when they are not valid UTF-8.
struct Decoded {
    std::uint32_t character = 0;
    std::size_t length = 0;
};

/// Decodes the character that `bytes`, not empty, begins with.
Decoded decodeFirst(std::string_view bytes) {
    const std::uint32_t lead = byteAt(bytes, 0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length) {
        return {};
    }
    std::uint32_t character = lead & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        const std::uint32_t next = byteAt(bytes, index);
        if ((next & 0xC0) != 0x80) {
            return {};
        }
        character = character << 6 | (next & 0x3F);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (character < kSmallest[length] || character > 0x10FFFF || isHighSurrogate(character) ||
        isLowSurrogate(character)) {
        return {};
    }
    return {character, length};
}

void appendUtf8(std::string& bytes, std::uint32_t character) {
    const auto append = [&bytes](std::uint32_t byte) {
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
    };
    const auto appendTail = [&append, character](unsigned shift) {
        append(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0 | character >> 6);
        appendTail(0);
    } else if (character < 0x10000) {
        append(0xE0 | character >> 12);
        appendTail(6);
        appendTail(0);
    } else {
        append(0xF0 | character >> 18);
        appendTail(12);
        appendTail(6);
        appendTail(0);
    }
}

}  // namespace

std::u16string fileNameFromSystem(std::string_view systemBytes) {
    std::u16string name;
    name.reserve(systemBytes.size());
    const auto append = [&name](std::uint32_t unit) {
        name.push_back(static_cast<char16_t>(unit));
    };
    for (std::size_t index = 0; index < systemBytes.size();) {
        const Decoded next = decodeFirst(systemBytes.substr(index));
        if (next.length == 0) {
            append(kEscapeBase + byteAt(systemBytes, index));
            ++index;
            continue;
        }
        if (next.character < 0x10000) {
            append(next.character);
        } else {
            append(0xD800 + ((next.character - 0x10000) >> 10));
            append(0xDC00 + ((next.character - 0x10000) & 0x3FF));
        }
        index += next.length;
    }
    return name;
}

std::string fileNameToSystem(std::u16string_view name) {
    std::string bytes;
    bytes.reserve(name.size());
    for (std::size_t index = 0; index < name.size(); ++index) {
        const std::uint32_t unit = name[index];
        if (isHighSurrogate(unit) && index + 1 < name.size() && isLowSurrogate(name[index + 1])) {
            ++index;
            appendUtf8(bytes, 0x10000 + ((unit - 0xD800) << 10) + (name[index] - 0xDC00U));
        } else if (isEscape(unit)) {
            bytes.push_back(static_cast<char>(static_cast<unsigned char>(unit - kEscapeBase)));
        } else {
            appendUtf8(bytes, unit);
        }
    }
    return bytes;
}

}  // namespace ifdsweep
