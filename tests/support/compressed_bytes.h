#pragma once

// Compressed bytes: what containers hold packed, made by the encoders of zlib and Brotli. Pure
// functions; any thread.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fixture {

/// In the zlib format.
[[nodiscard]] std::vector<std::uint8_t> zlibCompressed(std::span<const std::uint8_t> bytes);

[[nodiscard]] std::vector<std::uint8_t> brotliCompressed(std::span<const std::uint8_t> bytes);

/// Brotli with a large window, which the format's standard does not have.
[[nodiscard]] std::vector<std::uint8_t> brotliOfLargeWindow(std::span<const std::uint8_t> bytes);

/// The text of a raw profile, as ImageMagick writes it into PNG files.
[[nodiscard]] std::string rawProfile(std::span<const std::uint8_t> bytes,
                                     std::string_view name = "exif");

}  // namespace fixture
