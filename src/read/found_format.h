#pragma once

// Found format: what a file is in which no TIFF stream begins, in words, by its first bytes.
// Constant data and a pure function; any thread.

#include <cstddef>
#include <string>
#include <string_view>

namespace ifdsweep {

/// The most first bytes that are looked at.
inline constexpr std::size_t kLongestGlance = 4096;

/// The words for a file, such as "a GIF image" or "a file that begins with the bytes 0c 1f"; empty
/// for TIFF and JPEG, whole, cut short or with a damaged header, and for a container that is cut in
/// its first bytes. They are ASCII alone.
/// @param firstBytes all of the file, or at least its first `kLongestGlance` bytes
[[nodiscard]] std::string foundFormat(std::string_view firstBytes);

}  // namespace ifdsweep
