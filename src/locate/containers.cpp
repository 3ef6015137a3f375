#include "locate/containers.h"

#include <algorithm>
#include <array>

#include "locate/locate_messages.h"
#include "locate/locators.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

// clang-format off
constexpr Container kPng{"png", "png", "a PNG image", "PNG file", "eXIf chunk", "chunk", "chunk", "chunks", locateInPng, nullptr, noTiffStream};
constexpr Container kWebp{"webp", "webp", "a WebP image", "WebP file", "EXIF chunk", "chunk", "chunk", "chunks", locateInWebp, nullptr, noTiffStream};
constexpr Container kHeif{"heif", "heif", "a HEIF image", "HEIF file", "Exif item", "box", "item", "items", locateInHeif, nullptr, noTiffStream};
constexpr Container kAvif{"avif", "avif", "an AVIF image", "AVIF file", "Exif item", "box", "item", "items", locateInHeif, nullptr, noTiffStream};
constexpr Container kCr3{"cr3", "cr3", "a CR3 raw image", "CR3 file", "CMT box", "box", "box", "boxes", locateInCr3, nullptr, noTiffStream};
constexpr Container kJpegXl{"jxl", "jxl", "a JPEG XL image", "JPEG XL file", "Exif box", "box", "box", "boxes", locateInJpegXl, nullptr, noTiffStream};
constexpr Container kJpeg2000{"jp2", "jp2", "a JPEG 2000 image", "JPEG 2000 file", "Exif or GeoTIFF box", "box", "box", "boxes", locateInJpeg2000, nullptr, noTiffStream};
constexpr Container kPsd{"psd", "psd", "a PSD image", "PSD file", "Exif resource", "image resource", "image resource", "image resources", locateInPsd, nullptr, noTiffStream};
constexpr Container kRaf{"raf", "raf", "a RAF raw image", "RAF file", "Exif segment", "segment", "segment", "segments", locateInRaf, nullptr, noTiffStream};
constexpr Container kJpeg{"jpeg", "jpg", "a JPEG image", "JPEG file", "Exif segment", "segment", "segment", "segments", locateInJpeg, locateFirstExif, noExifSegment};

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
    Signature{{4, "ftypheic"}, kNoOther, kHeif},
    Signature{{4, "ftypheix"}, kNoOther, kHeif},
    Signature{{4, "ftypheim"}, kNoOther, kHeif},
    Signature{{4, "ftypheis"}, kNoOther, kHeif},
    Signature{{4, "ftyphevc"}, kNoOther, kHeif},
    Signature{{4, "ftyphevx"}, kNoOther, kHeif},
    Signature{{4, "ftyphevm"}, kNoOther, kHeif},
    Signature{{4, "ftyphevs"}, kNoOther, kHeif},
    Signature{{4, "ftypavci"}, kNoOther, kHeif},
    Signature{{4, "ftypavcs"}, kNoOther, kHeif},
    Signature{{4, "ftypvvic"}, kNoOther, kHeif},
    Signature{{4, "ftypvvis"}, kNoOther, kHeif},
    Signature{{4, "ftypj2ki"}, kNoOther, kHeif},
    Signature{{4, "ftypj2is"}, kNoOther, kHeif},
    Signature{{4, "ftypjpeg"}, kNoOther, kHeif},
    Signature{{4, "ftypjpgs"}, kNoOther, kHeif},
    Signature{{4, "ftypmiaf"}, kNoOther, kHeif},
    Signature{{4, "ftypmif1"}, kNoOther, kHeif},
    Signature{{4, "ftypmif2"}, kNoOther, kHeif},
    Signature{{4, "ftypmif3"}, kNoOther, kHeif},
    Signature{{4, "ftypmsf1"}, kNoOther, kHeif},
    Signature{{4, "ftypcrx "}, kNoOther, kCr3},
    Signature{{4, "ftypjp"}, kNoOther, kJpeg2000},
    Signature{{0, "\0\0\0\x0CjP  \r\n\x87\n"sv}, kNoOther, kJpeg2000},
    Signature{{0, "\0\0\0\x0CJXL \r\n\x87\n"sv}, kNoOther, kJpegXl},
    Signature{{0, "8BPS"}, kNoOther, kPsd},
    Signature{{0, "FUJIFILMCCD-RAW "}, kNoOther, kRaf},
};

/// A brand of ISO/IEC 14496-12, 4.3, by which a file says what it can be read as.
struct Brand {
    std::string_view name;
    const Container& container;
};

constexpr std::array kCompatibleBrands{
    Brand{"avif", kAvif},
    Brand{"avis", kAvif},
    Brand{"heic", kHeif},
    Brand{"heix", kHeif},
    Brand{"mif1", kHeif},
};

// How the major brands of videos begin.
constexpr std::array kVideoBrands{"3g"sv, "M4"sv, "XAVC"sv, "avc1"sv, "dash"sv, "iso"sv, "mp4"sv, "qt"sv};
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

/// The image that a file can be read as whose major brand says nothing of it; null for none.
const Container* byCompatibleBrand(std::string_view firstBytes) {
    constexpr Piece kFileType{4, "ftyp"};
    constexpr std::size_t kMajorBrand = 8;
    constexpr std::size_t kCompatible = 16;
    constexpr std::size_t kBrandSize = 4;
    if (!isThere(kFileType, firstBytes) ||
        std::any_of(kVideoBrands.begin(), kVideoBrands.end(), [&](std::string_view brand) {
            return isThere({kMajorBrand, brand}, firstBytes);
        })) {
        return nullptr;
    }
    for (std::size_t place = kCompatible; place < kLongestContainerSignature; place += kBrandSize) {
        const auto found = std::find_if(kCompatibleBrands.begin(), kCompatibleBrands.end(),
                                        [&](const Brand& brand) {
                                            return isThere({place, brand.name}, firstBytes);
                                        });
        if (found != kCompatibleBrands.end()) {
            return &found->container;
        }
    }
    return nullptr;
}

}  // namespace

const Container* containerOf(std::string_view firstBytes) {
    const auto found =
        std::find_if(kSignatures.begin(), kSignatures.end(), [&](const Signature& signature) {
            return isThere(signature.first, firstBytes) && isThere(signature.second, firstBytes);
        });
    return found == kSignatures.end() ? byCompatibleBrand(firstBytes) : &found->container;
}

bool mayBeContainer(std::string_view firstBytes) {
    return std::any_of(kSignatures.begin(), kSignatures.end(),
                       [&](const Signature& signature) {
                           return signature.first.position < firstBytes.size() &&
                                  maybeThere(signature.first, firstBytes) &&
                                  maybeThere(signature.second, firstBytes);
                       }) ||
           byCompatibleBrand(firstBytes) != nullptr;
}

}  // namespace ifdsweep
