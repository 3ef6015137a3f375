#pragma once

// The tags that readers treat in a way of their own. Constants; any thread.

#include <array>
#include <cstdint>

#include "dict/ifd_type.h"

namespace ifdsweep::module {

inline constexpr std::uint16_t kImageWidth = 256;
inline constexpr std::uint16_t kImageLength = 257;
inline constexpr std::uint16_t kBitsPerSample = 258;
inline constexpr std::uint16_t kPhotometricInterpretation = 262;
inline constexpr std::uint16_t kSamplesPerPixel = 277;
inline constexpr std::uint16_t kColorMap = 320;
inline constexpr std::uint16_t kSubIfds = 330;
inline constexpr std::uint16_t kSampleFormat = 339;
inline constexpr std::uint16_t kXmp = 700;
inline constexpr std::uint16_t kExif = 34665;
inline constexpr std::uint16_t kIccProfile = 34675;
inline constexpr std::uint16_t kGps = 34853;
inline constexpr std::uint16_t kImageSourceData = 37724;
inline constexpr std::uint16_t kInteroperability = 40965;

/// A tag whose values are the offsets of further directories.
struct PointerTag {
    std::uint16_t id;
    IFDtype_t_ kind;       ///< of the directories
    const char* kindName;  ///< what messages call it
};

// clang-format off
/// The pointer tags, one for each kind of directory.
inline constexpr std::array<PointerTag, 4> kPointerTags{{
    {kSubIfds,          primaryIFD, "Primary"},
    {kExif,             exifIFD,    "Exif"},
    {kGps,              GPSIFD,     "GPS"},
    {kInteroperability, interopIFD, "Interoperability"},
}};
// clang-format on

/// The row of a pointer tag, or null for any other tag.
[[nodiscard]] constexpr const PointerTag* pointerTag(std::uint16_t id) {
    for (const PointerTag& tag : kPointerTags) {
        if (tag.id == id) {
            return &tag;
        }
    }
    return nullptr;
}

[[nodiscard]] constexpr bool isPointerTag(std::uint16_t id) {
    return pointerTag(id) != nullptr;
}

}  // namespace ifdsweep::module
