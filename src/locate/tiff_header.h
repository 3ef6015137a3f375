#pragma once

// TIFF header: how a TIFF stream begins, for locators that cannot tell one otherwise. Pure
// function; any thread.

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace ifdsweep {

/// The bytes that tell a header: byte order and version.
inline constexpr std::size_t kTiffSignatureSize = 4;

/// Whether a stream that begins with these bytes is a TIFF or BigTIFF stream.
[[nodiscard]] inline bool beginsAsTiff(std::string_view firstBytes) noexcept {
    using namespace std::string_view_literals;
    constexpr std::array kSignatures{"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv};
    return std::any_of(kSignatures.begin(), kSignatures.end(), [&](std::string_view signature) {
        return firstBytes.starts_with(signature);
    });
}

}  // namespace ifdsweep
