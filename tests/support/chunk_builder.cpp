#include "support/chunk_builder.h"

#include "support/box_builder.h"

namespace fixture {
namespace {

/// As ISO/IEC 3309 has it, bit by bit.
std::uint32_t crcOf(const Bytes& bytes) {
    constexpr std::uint32_t kPolynomial = 0xEDB88320;
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1U ^ ((crc & 1U) != 0 ? kPolynomial : 0);
        }
    }
    return ~crc;
}

Bytes littleEndian(std::size_t width, std::uint64_t value) {
    Bytes bytes;
    appendWord(bytes, width, value, ByteOrder::little);
    return bytes;
}

Bytes keywordBytes(std::string_view keyword) {
    return joined({bytesOf(keyword), Bytes{0}});
}

}  // namespace

Bytes pngChunk(std::string_view type, const Bytes& data, std::optional<std::uint32_t> length) {
    const Bytes checked = joined({bytesOf(type), data});
    return joined({bigEndian(4, length.value_or(static_cast<std::uint32_t>(data.size()))), checked,
                   bigEndian(4, crcOf(checked))});
}

Bytes pngFile(std::initializer_list<Bytes> chunks) {
    // One pixel, of 8 bits and three colours.
    const Bytes header = joined({bigEndian(4, 1), bigEndian(4, 1), Bytes{8, 2, 0, 0, 0}});
    return joined({bytesOf("\x89PNG\r\n\x1A\n"), pngChunk("IHDR", header), joined(chunks)});
}

Bytes textChunk(std::string_view keyword, const Bytes& text) {
    return pngChunk("tEXt", joined({keywordBytes(keyword), text}));
}

Bytes compressedTextChunk(std::string_view keyword, const Bytes& zlib, std::uint8_t method) {
    return pngChunk("zTXt", joined({keywordBytes(keyword), Bytes{method}, zlib}));
}

Bytes internationalTextChunk(std::string_view keyword, const InternationalText& form,
                             const Bytes& text) {
    return pngChunk("iTXt",
                    joined({keywordBytes(keyword), Bytes{form.flag, form.method},
                            keywordBytes(form.language), keywordBytes(form.translated), text}));
}

Bytes riffChunk(std::string_view type, const Bytes& data, std::optional<std::uint32_t> size,
                Padding padding) {
    const bool isPadded = padding == Padding::even && data.size() % 2 != 0;
    return joined({bytesOf(type),
                   littleEndian(4, size.value_or(static_cast<std::uint32_t>(data.size()))), data,
                   Bytes(isPadded ? 1 : 0, 0)});
}

Bytes webpFile(std::initializer_list<Bytes> chunks, std::optional<std::uint32_t> riffSize) {
    const Bytes form = joined({bytesOf("WEBP"), joined(chunks)});
    return riffChunk("RIFF", form, riffSize, Padding::none);
}

}  // namespace fixture
