#pragma once

#include <cstdint>

namespace ifdsweep::module {

// Tags that readers treat in a way of their own.
inline constexpr std::uint16_t kImageWidth = 256;
inline constexpr std::uint16_t kImageLength = 257;
inline constexpr std::uint16_t kBitsPerSample = 258;
inline constexpr std::uint16_t kPhotometricInterpretation = 262;
inline constexpr std::uint16_t kSamplesPerPixel = 277;
inline constexpr std::uint16_t kColorMap = 320;
inline constexpr std::uint16_t kSubIfds = 330;
inline constexpr std::uint16_t kSampleFormat = 339;
inline constexpr std::uint16_t kExif = 34665;
inline constexpr std::uint16_t kGps = 34853;
inline constexpr std::uint16_t kImageSourceData = 37724;
inline constexpr std::uint16_t kInteroperability = 40965;

/// Whether a tag's values are the offsets of further directories.
[[nodiscard]] constexpr bool isPointerTag(std::uint16_t id) {
    return id == kSubIfds || id == kExif || id == kGps || id == kInteroperability;
}

}  // namespace ifdsweep::module
