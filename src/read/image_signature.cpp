#include "read/image_signature.h"

#include <algorithm>
#include <array>
#include <span>

#include "locate/containers.h"

namespace ifdsweep {
namespace {

struct Signature {
    std::string_view bytes;
    ImageFormat format;
};

// clang-format off
constexpr std::array kSignatures{
    Signature{{"II*\0", 4}, ImageFormat::tiff},
    Signature{{"MM\0*", 4}, ImageFormat::tiff},
    Signature{{"II+\0", 4}, ImageFormat::tiff},  // BigTIFF
    Signature{{"MM\0+", 4}, ImageFormat::tiff},
    Signature{{"IIU\0", 4}, ImageFormat::relative},  // RW2
    Signature{{"IIRO", 4}, ImageFormat::relative},   // ORF
    Signature{{"IIRS", 4}, ImageFormat::relative},
    Signature{{"MMOR", 4}, ImageFormat::relative},
    Signature{{"II\xBC\x01", 4}, ImageFormat::relative},  // JPEG XR
    Signature{{"IIRC", 4}, ImageFormat::relative},        // DCP
    Signature{{"\xFF\xD8", 2}, ImageFormat::jpeg},
};
// clang-format on

static_assert(std::all_of(kSignatures.begin(), kSignatures.end(), [](const Signature& signature) {
    return signature.bytes.size() <= kLongestSignature;
}));
static_assert(kLongestContainerSignature <= kLongestSignature);

}  // namespace

std::optional<ImageFormat> imageFormatOf(std::string_view firstBytes) {
    const auto found = std::find_if(
        kSignatures.begin(), kSignatures.end(),
        [&](const Signature& signature) { return firstBytes.starts_with(signature.bytes); });
    if (found != kSignatures.end()) {
        return found->format;
    }
    return containerOf(firstBytes) != nullptr ? std::optional(ImageFormat::container)
                                              : std::nullopt;
}

bool mayBeImage(std::string_view firstBytes) {
    const auto begins = [&](const Signature& signature) {
        return firstBytes.starts_with(signature.bytes.substr(0, firstBytes.size()));
    };
    return std::any_of(kSignatures.begin(), kSignatures.end(), begins) ||
           mayBeContainer(firstBytes);
}

std::optional<ImageFormat> imageFormatOf(const ByteSource& file) {
    std::array<char, kLongestSignature> start{};
    const std::ptrdiff_t got = file.read(0, std::as_writable_bytes(std::span(start)));
    return imageFormatOf(
        {start.data(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0))});
}

}  // namespace ifdsweep
