#include "read/found_format.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "locate/containers.h"
#include "read/image_signature.h"
#include "text/text_decoding.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

struct Piece {
    std::size_t position;
    std::string_view bytes;
};

/// A format, known by one or two pieces of its first bytes.
struct FormatRow {
    Piece first;
    Piece second;
    std::string_view words;
};

constexpr Piece kNoOther{0, ""};

// The more special a row, the earlier it stands. Sources: what is published of the formats, and
// the file types that IANA has registered (media types).
// clang-format off
constexpr std::array kFormats{
    FormatRow{{0, "GIF87a"}, kNoOther, "a GIF image"},
    FormatRow{{0, "GIF89a"}, kNoOther, "a GIF image"},
    FormatRow{{0, "BM"}, {6, "\0\0\0\0"sv}, "a BMP image"},
    FormatRow{{0, "RIFF"}, {8, "AVI "}, "an AVI video"},
    FormatRow{{0, "RIFF"}, {8, "WAVE"}, "a WAVE sound"},
    FormatRow{{4, "ftypqt  "}, kNoOther, "a QuickTime video"},
    FormatRow{{4, "ftyp"}, kNoOther, "an MP4 video or another file of its kind"},
    FormatRow{{4, "moov"}, kNoOther, "a QuickTime video"},
    FormatRow{{4, "mdat"}, kNoOther, "a QuickTime video"},
    FormatRow{{0, "\xFF\x4F\xFF\x51"}, kNoOther, "a JPEG 2000 codestream"},
    FormatRow{{0, "\xFF\x0A"}, kNoOther, "a JPEG XL codestream"},
    FormatRow{{0, "\x76\x2F\x31\x01"}, kNoOther, "an OpenEXR image"},
    FormatRow{{0, "#?RADIANCE"}, kNoOther, "a Radiance HDR image"},
    FormatRow{{0, "SIMPLE  = "}, kNoOther, "a FITS image"},
    FormatRow{{0, "P4\n"}, kNoOther, "a PNM image"},
    FormatRow{{0, "P5\n"}, kNoOther, "a PNM image"},
    FormatRow{{0, "P6\n"}, kNoOther, "a PNM image"},
    FormatRow{{0, "FOVb"}, kNoOther, "an X3F raw image"},
    FormatRow{{0, "\0MRM"sv}, kNoOther, "an MRW raw image"},
    FormatRow{{128, "DICM"}, kNoOther, "a DICOM image"},
    FormatRow{{0, "\x89HDF\r\n\x1A\n"}, kNoOther, "an HDF5 file"},
    FormatRow{{0, "CDF\x01"}, kNoOther, "a netCDF file"},
    FormatRow{{0, "CDF\x02"}, kNoOther, "a netCDF file"},
    FormatRow{{0, "CDF\x05"}, kNoOther, "a netCDF file"},
    FormatRow{{0, "%PDF-"}, kNoOther, "a PDF document"},
    FormatRow{{0, "%!PS"}, kNoOther, "a PostScript document"},
    FormatRow{{0, "\xC5\xD0\xD3\xC6"}, kNoOther, "an EPS document"},
    FormatRow{{0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"}, kNoOther, "a compound document, such as Thumbs.db"},
    FormatRow{{0, "\0\x05\x16\x07"sv}, kNoOther, "an AppleDouble file"},
    FormatRow{{0, "\0\0\0\x01" "Bud1"sv}, kNoOther, "a .DS_Store file"},
    FormatRow{{0, "SQLite format 3\0"sv}, kNoOther, "an SQLite database"},
    FormatRow{{0, "PK\x03\x04"}, kNoOther, "a ZIP archive"},
    FormatRow{{0, "PK\x05\x06"}, kNoOther, "an empty ZIP archive"},
    FormatRow{{0, "\x1F\x8B"}, kNoOther, "a gzip file"},
    FormatRow{{0, "BZh"}, {4, "1AY&SY"}, "a bzip2 file"},
    FormatRow{{0, "\xFD" "7zXZ\0"sv}, kNoOther, "an xz file"},
    FormatRow{{0, "\x28\xB5\x2F\xFD"}, kNoOther, "a Zstandard file"},
    FormatRow{{0, "7z\xBC\xAF\x27\x1C"}, kNoOther, "a 7z archive"},
    FormatRow{{0, "Rar!\x1A\x07"}, kNoOther, "a RAR archive"},
    FormatRow{{257, "ustar"}, kNoOther, "a tar archive"},
    FormatRow{{0, "\x1A\x45\xDF\xA3"}, kNoOther, "a Matroska or WebM video"},
    FormatRow{{0, "\0\0\x01\xBA"sv}, kNoOther, "an MPEG video"},
    FormatRow{{0, "\x7F" "ELF"}, kNoOther, "an ELF program"},
    FormatRow{{0, "MZ\x90\0"sv}, kNoOther, "a Windows program"},
    FormatRow{{0, "\xFF\xFE"}, kNoOther, "a UTF-16 text"},
    FormatRow{{0, "\xFE\xFF"}, kNoOther, "a UTF-16 text"},
};

/// Texts, by what they begin with behind spaces.
constexpr std::array kTexts{
    FormatRow{{0, "<?xpacket"}, kNoOther, "an XMP text"},
    FormatRow{{0, "<x:xmpmeta"}, kNoOther, "an XMP text"},
    FormatRow{{0, "<?xml"}, kNoOther, "an XML text"},
    FormatRow{{0, "<svg"}, kNoOther, "an SVG image"},
    FormatRow{{0, "<!DOCTYPE html"}, kNoOther, "an HTML text"},
    FormatRow{{0, "<!doctype html"}, kNoOther, "an HTML text"},
    FormatRow{{0, "<html"}, kNoOther, "an HTML text"},
    FormatRow{{0, "<HTML"}, kNoOther, "an HTML text"},
};
// clang-format on

bool isThere(const Piece& piece, std::string_view bytes) {
    return piece.position <= bytes.size() && bytes.substr(piece.position).starts_with(piece.bytes);
}

template <class Rows>
std::string_view wordsOf(const Rows& rows, std::string_view bytes) {
    const auto row = std::find_if(rows.begin(), rows.end(), [bytes](const FormatRow& known) {
        return isThere(known.first, bytes) && isThere(known.second, bytes);
    });
    return row == rows.end() ? "" : row->words;
}

/// A text without the character at its end that was cut short, if one was.
std::string_view withoutCutCharacter(std::string_view text) {
    constexpr std::size_t kLongestCut = 3;
    for (std::size_t size = 1; size <= std::min(kLongestCut, text.size()); ++size) {
        const auto byte = static_cast<std::uint8_t>(text[text.size() - size]);
        const std::size_t whole = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        const bool continues = byte >= 0x80 && byte < 0xC0;
        if (!continues) {
            return text.substr(0, text.size() - (size < whole ? size : 0));
        }
    }
    return text;
}

bool isText(std::string_view bytes) {
    constexpr std::string_view kSpaces = "\t\n\f\r";
    const bool hasControl = std::any_of(bytes.begin(), bytes.end(), [&](char byte) {
        return (byte >= 0 && byte < ' ' && kSpaces.find(byte) == kSpaces.npos) || byte == '\x7F';
    });
    return !hasControl && isUtf8(withoutCutCharacter(bytes));
}

std::string textWords(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    text.remove_prefix(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\f\r"), text.size()));
    const std::string_view words = wordsOf(kTexts, text);
    return words.empty() ? "a text file" : std::string(words);
}

std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<std::uint8_t>(byte);
        text.append(text.empty() ? "" : " ");
        text.append({kDigits[value >> 4U], kDigits[value & 0xFU]});
    }
    return text;
}

}  // namespace

std::string foundFormat(std::string_view firstBytes) {
    constexpr std::size_t kOfText = 512;
    constexpr std::size_t kShown = 8;
    if (firstBytes.empty()) {
        return "an empty file";
    }
    if (firstBytes.find_first_not_of('\0') == firstBytes.npos) {
        return firstBytes.size() == 1
                   ? "a file of one zero byte"
                   : "a file that begins with " + std::to_string(firstBytes.size()) + " zeros";
    }
    if (imageFormatOf(firstBytes) == ImageFormat::container) {
        return std::string(containerOf(firstBytes)->words);
    }
    if (mayBeImage(firstBytes)) {
        return "";
    }
    if (const std::string_view words = wordsOf(kFormats, firstBytes); !words.empty()) {
        return std::string(words);
    }
    if (const std::string_view start = firstBytes.substr(0, kOfText); isText(start)) {
        return textWords(start);
    }
    if (firstBytes.starts_with("II") || firstBytes.starts_with("MM")) {
        return "";  // what is damaged behind a byte order is told better by the reading
    }
    return "a file that begins with the bytes " + hexadecimal(firstBytes.substr(0, kShown));
}

}  // namespace ifdsweep
