#pragma once

// Raw profile: bytes as ImageMagick, and others after it, put them into a text chunk of a PNG file:
//
//     "\n" NAME "\n" spaces LENGTH "\n" hexadecimal digits, in lines
//
// The name may be any, the length is the decimal number of the bytes. A pure function; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ifdsweep {

/// Decodes a profile in its own place: the bytes are then those that the digits stand for, up to
/// the first character that has no place among them.
/// @return what is wrong with the profile, in words; nothing when all of it is there
[[nodiscard]] std::optional<std::string> decodeRawProfile(std::vector<std::uint8_t>& bytes);

}  // namespace ifdsweep
