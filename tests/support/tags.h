#pragma once

// Tags by their number, for tests. Constants.

#include <cstdint>

namespace fixture {

inline constexpr std::uint16_t kBitsPerSample = 258;
inline constexpr std::uint16_t kPhotometricInterpretation = 262;
inline constexpr std::uint16_t kMake = 271;
inline constexpr std::uint16_t kSamplesPerPixel = 277;
inline constexpr std::uint16_t kXResolution = 282;
inline constexpr std::uint16_t kArtist = 315;
inline constexpr std::uint16_t kSubIfds = 330;
inline constexpr std::uint16_t kXmp = 700;
inline constexpr std::uint16_t kExif = 34665;
inline constexpr std::uint16_t kIccProfile = 34675;
inline constexpr std::uint16_t kExposureProgram = 34850;
inline constexpr std::uint16_t kGps = 34853;
inline constexpr std::uint16_t kMakerNote = 37500;
inline constexpr std::uint16_t kImageSourceData = 37724;
inline constexpr std::uint16_t kColorSpace = 40961;
inline constexpr std::uint16_t kInterop = 40965;
inline constexpr std::uint16_t kUnknownTag = 60000;  ///< a number without a name

}  // namespace fixture
