#pragma once

// Chunk builder: writes PNG and WebP files in memory chunk by chunk. A writer of its own: nothing
// of the library's is used. Pure functions; any thread.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>

#include "support/byte_verbs.h"

namespace fixture {

/// A chunk of a PNG file: length, type, data, CRC.
/// @param length written in place of the data's
[[nodiscard]] Bytes pngChunk(std::string_view type, const Bytes& data,
                             std::optional<std::uint32_t> length = {});

/// Signature and image header, 33 bytes, then these chunks.
[[nodiscard]] Bytes pngFile(std::initializer_list<Bytes> chunks);

/// What follows the keyword of an iTXt chunk.
struct InternationalText {
    std::uint8_t flag = 0;  ///< 1: compressed
    std::uint8_t method = 0;
    std::string_view language = "";
    std::string_view translated = "";
};

[[nodiscard]] Bytes textChunk(std::string_view keyword, const Bytes& text);
[[nodiscard]] Bytes compressedTextChunk(std::string_view keyword, const Bytes& zlib,
                                        std::uint8_t method = 0);
[[nodiscard]] Bytes internationalTextChunk(std::string_view keyword, const InternationalText& form,
                                           const Bytes& text);

enum class Padding : std::uint8_t { even, none };

/// A chunk of a RIFF file: type, size, data; a byte more behind an odd number of them.
/// @param size written in place of the data's
[[nodiscard]] Bytes riffChunk(std::string_view type, const Bytes& data,
                              std::optional<std::uint32_t> size = {},
                              Padding padding = Padding::even);

/// A RIFF head, 12 bytes, then these chunks.
/// @param riffSize written in place of the right one
[[nodiscard]] Bytes webpFile(std::initializer_list<Bytes> chunks,
                             std::optional<std::uint32_t> riffSize = {});

}  // namespace fixture
