#include "locate/containers.h"

#include <algorithm>
#include <array>

#include "locate/locate_messages.h"
#include "locate/locators.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

// clang-format off
constexpr Container kPng{"png", "a PNG image", "PNG file", "eXIf chunk", "chunk", locateInPng, nullptr, noTiffStream};
constexpr Container kWebp{"webp", "a WebP image", "WebP file", "EXIF chunk", "chunk", locateInWebp, nullptr, noTiffStream};
constexpr Container kHeif{"heif", "a HEIF image", "HEIF file", "Exif item", "item", locateInHeif, nullptr, noTiffStream};
constexpr Container kAvif{"avif", "an AVIF image", "AVIF file", "Exif item", "item", locateInHeif, nullptr, noTiffStream};
constexpr Container kCr3{"cr3", "a CR3 raw image", "CR3 file", "CMT box", "box", locateInCr3, nullptr, noTiffStream};
constexpr Container kJpegXl{"jxl", "a JPEG XL image", "JPEG XL file", "Exif box", "box", locateInJpegXl, nullptr, noTiffStream};
constexpr Container kJpeg2000{"jp2", "a JPEG 2000 image", "JPEG 2000 file", "Exif or GeoTIFF box", "box", locateInJpeg2000, nullptr, noTiffStream};
constexpr Container kPsd{"psd", "a PSD image", "PSD file", "Exif resource", "image resource", locateInPsd, nullptr, noTiffStream};
constexpr Container kRaf{"raf", "a RAF raw image", "RAF file", "Exif segment", "segment", locateInRaf, nullptr, noTiffStream};
constexpr Container kJpeg{"jpeg", "a JPEG image", "JPEG file", "Exif segment", "segment", locateInJpeg, locateFirstExif, noExifSegment};

struct Piece {
    std::size_t position;
    std::string_view bytes;
};

/// How a container begins: with one or two pieces.
struct Signature {
    Piece first;
    Piece second;
    const Container& container;
};

constexpr Piece kNoOther{0, ""};

constexpr std::array kSignatures{
    Signature{{0, "\xFF\xD8"}, kNoOther, kJpeg},
    Signature{{0, "\x89PNG\r\n\x1A\n"}, kNoOther, kPng},
    Signature{{0, "RIFF"}, {8, "WEBP"}, kWebp},
    Signature{{4, "ftypavif"}, kNoOther, kAvif},
    Signature{{4, "ftypavis"}, kNoOther, kAvif},
    Signature{{4, "ftyphe"}, kNoOther, kHeif},
    Signature{{4, "ftypmif"}, kNoOther, kHeif},
    Signature{{4, "ftypmsf1"}, kNoOther, kHeif},
    Signature{{4, "ftypcrx "}, kNoOther, kCr3},
    Signature{{4, "ftypjp"}, kNoOther, kJpeg2000},
    Signature{{0, "\0\0\0\x0CjP  \r\n\x87\n"sv}, kNoOther, kJpeg2000},
    Signature{{0, "\0\0\0\x0CJXL \r\n\x87\n"sv}, kNoOther, kJpegXl},
    Signature{{0, "8BPS"}, kNoOther, kPsd},
    Signature{{0, "FUJIFILMCCD-RAW "}, kNoOther, kRaf},
};
// clang-format on

constexpr bool isShortEnough(const Piece& piece) {
    return piece.position + piece.bytes.size() <= kLongestContainerSignature;
}

static_assert(std::all_of(kSignatures.begin(), kSignatures.end(), [](const Signature& signature) {
    return isShortEnough(signature.first) && isShortEnough(signature.second);
}));

bool isThere(const Piece& piece, std::string_view bytes) {
    return piece.position <= bytes.size() && bytes.substr(piece.position).starts_with(piece.bytes);
}

/// Whether a piece is there as far as the bytes go.
bool maybeThere(const Piece& piece, std::string_view bytes) {
    if (piece.position >= bytes.size()) {
        return true;
    }
    const std::string_view there = bytes.substr(piece.position, piece.bytes.size());
    return piece.bytes.starts_with(there);
}

}  // namespace

const Container* containerOf(std::string_view firstBytes) {
    const auto found =
        std::find_if(kSignatures.begin(), kSignatures.end(), [&](const Signature& signature) {
            return isThere(signature.first, firstBytes) && isThere(signature.second, firstBytes);
        });
    return found == kSignatures.end() ? nullptr : &found->container;
}

bool mayBeContainer(std::string_view firstBytes) {
    return std::any_of(kSignatures.begin(), kSignatures.end(), [&](const Signature& signature) {
        return signature.first.position < firstBytes.size() &&
               maybeThere(signature.first, firstBytes) && maybeThere(signature.second, firstBytes);
    });
}

}  // namespace ifdsweep
