#pragma once

// Image signature: the formats that the program reads, told by the first bytes of a file: what is
// found in folders is chosen by them, and what begins with one is never written over. Plain
// functions; any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "ifdsweep/byte_source.h"

namespace ifdsweep {

enum class ImageFormat : std::uint8_t {
    tiff,
    relative,  ///< classic TIFF with another word in its header: for a full reading alone
    jpeg,
    container,  ///< another format that carries a TIFF stream: for a full reading alone
};

/// The most first bytes that tell a format.
inline constexpr std::size_t kLongestSignature = 32;

/// The format of a file that begins with these bytes; none when it is no image.
[[nodiscard]] std::optional<ImageFormat> imageFormatOf(std::string_view firstBytes);

/// Whether a file that begins with these bytes is an image, or could be one if it were not cut
/// short.
[[nodiscard]] bool mayBeImage(std::string_view firstBytes);

/// The format of a file; none when it is no image or cannot be read. It is one read.
[[nodiscard]] std::optional<ImageFormat> imageFormatOf(const ByteSource& file);

}  // namespace ifdsweep
