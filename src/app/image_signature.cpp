#include "app/image_signature.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

#include "app/descriptor.h"
#include "app/output.h"
#include "app/run_failure.h"

namespace app {
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
    Signature{{"\xFF\xD8", 2}, ImageFormat::jpeg},
};
// clang-format on

static_assert(std::all_of(kSignatures.begin(), kSignatures.end(), [](const Signature& signature) {
    return signature.bytes.size() <= kLongestSignature;
}));

}  // namespace

std::optional<ImageFormat> imageFormatOf(std::string_view firstBytes) {
    const auto found = std::find_if(
        kSignatures.begin(), kSignatures.end(),
        [&](const Signature& signature) { return firstBytes.starts_with(signature.bytes); });
    return found == kSignatures.end() ? std::nullopt : std::optional(found->format);
}

void refuseToReplaceImage(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 ||
        !(S_ISREG(status.st_mode) || S_ISBLK(status.st_mode))) {
        return;
    }
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    try {
        if (!file.isOpen()) {
            throw OutputError(errno);
        }
        if (imageFormatOf(readPiece(file.get(), 0, kLongestSignature))) {
            throw Refusal(path + " is an image and is left as it is");
        }
    } catch (const OutputError& error) {
        throw Refusal(
            path + " may be an image and is left as it is: " + systemErrorText(error.systemError));
    }
}

}  // namespace app
