// What a file is that is no image: the words for its first bytes, and when they are looked for.

#include "read/found_format.h"

#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "host/host_parts.h"
#include "ifdsweep/read.h"
#include "support/byte_verbs.h"

namespace {

using ifdsweep::foundFormat;
using namespace std::string_view_literals;

std::string after(std::size_t zeros, std::string_view bytes) {
    return std::string(zeros, '\0').append(bytes);
}

struct Case {
    std::string bytes;
    const char* words;
};

const Case kCases[]{
    {"", "an empty file"},
    {std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"sv), "a PNG image"},
    {"GIF87a", "a GIF image"},
    {"GIF89a...", "a GIF image"},
    {std::string("BM\x36\x10\x0E\0\0\0\0\0\x36"sv), "a BMP image"},
    {"BMW and other cars", "a text file"},
    {std::string("8BPS\0\1"sv), "a PSD image"},
    {std::string("RIFF\x10\0\0\0WEBPVP8 "sv), "a WebP image"},
    {std::string("RIFF\x10\0\0\0AVI LIST"sv), "an AVI video"},
    {std::string("RIFF\x10\0\0\0WAVEfmt "sv), "a WAVE sound"},
    {std::string("\0\0\0\x1C"
                 "ftypavif"sv),
     "an AVIF image"},
    {std::string("\0\0\0\x1C"
                 "ftypavis"sv),
     "an AVIF image"},
    {std::string("\0\0\0\x1C"
                 "ftypheic"sv),
     "a HEIF image"},
    {std::string("\0\0\0\x1C"
                 "ftypmif1"sv),
     "a HEIF image"},
    {std::string("\0\0\0\x1C"
                 "ftypmsf1"sv),
     "a HEIF image"},
    {std::string("\0\0\0\x18"
                 "ftypcrx "sv),
     "a CR3 raw image"},
    {std::string("\0\0\0\x14"
                 "ftypqt  "sv),
     "a QuickTime video"},
    {std::string("\0\0\0\x20"
                 "ftypisom"sv),
     "an MP4 video or another file of its kind"},
    {std::string("\0\0\0\x20"
                 "moov"sv),
     "a QuickTime video"},
    {std::string("\0\0\0\x20"
                 "mdat"sv),
     "a QuickTime video"},
    {std::string("\0\0\0\x0CjP  \r\n\x87\n"sv), "a JPEG 2000 image"},
    {std::string("\0\0\0\x14"
                 "ftypjp2 "sv),
     "a JPEG 2000 image"},
    {"\xFF\x4F\xFF\x51", "a JPEG 2000 codestream"},
    {std::string("\0\0\0\x0CJXL \r\n\x87\n"sv), "a JPEG XL image"},
    {"\xFF\x0A\x80", "a JPEG XL codestream"},
    {std::string("v/1\1\2\0\0\0"sv), "an OpenEXR image"},
    {"#?RADIANCE\n", "a Radiance HDR image"},
    {"SIMPLE  =                    T", "a FITS image"},
    {"P4\n8 8\n\xFF", "a PNM image"},
    {"P5\n8 8\n255\n", "a PNM image"},
    {"P6\n8 8\n255\n", "a PNM image"},
    {"FUJIFILMCCD-RAW 0201", "a RAF raw image"},
    {"FOVb\3", "an X3F raw image"},
    {std::string("\0MRM\0"sv), "an MRW raw image"},
    {after(128, "DICM"), "a DICOM image"},
    {"\x89HDF\r\n\x1A\n", "an HDF5 file"},
    {"CDF\1", "a netCDF file"},
    {"CDF\2", "a netCDF file"},
    {"CDF\5", "a netCDF file"},
    {"%PDF-1.7\n", "a PDF document"},
    {"%!PS-Adobe-3.0", "a PostScript document"},
    {"\xC5\xD0\xD3\xC6", "an EPS document"},
    {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", "a compound document, such as Thumbs.db"},
    {std::string("\0\5\x16\7\0\2"sv), "an AppleDouble file"},
    {std::string("\0\0\0\1Bud1"sv), "a .DS_Store file"},
    {std::string("SQLite format 3\0"sv), "an SQLite database"},
    {"PK\3\4", "a ZIP archive"},
    {"PK\5\6", "an empty ZIP archive"},
    {"\x1F\x8B\x08", "a gzip file"},
    {"BZh91AY&SY", "a bzip2 file"},
    {std::string("\xFD"
                 "7zXZ\0"sv),
     "an xz file"},
    {"\x28\xB5\x2F\xFD", "a Zstandard file"},
    {"7z\xBC\xAF\x27\x1C", "a 7z archive"},
    {"Rar!\x1A\7", "a RAR archive"},
    {after(257, "ustar"), "a tar archive"},
    {"\x1A\x45\xDF\xA3", "a Matroska or WebM video"},
    {std::string("\0\0\1\xBA"sv), "an MPEG video"},
    {"\x7F"
     "ELF\2",
     "an ELF program"},
    {std::string("MZ\x90\0"sv), "a Windows program"},
    {std::string("\xFF\xFE"
                 "D\0e\0"sv),
     "a UTF-16 text"},
    {std::string("\xFE\xFF\0D\0e"sv), "a UTF-16 text"},
    {"Dear sir,\r\n\tyes\f", "a text file"},
    {"\xEF\xBB\xBFGr\xC3\xBC\xC3\x9F"
     "e",
     "a text file"},
    {std::string(511, 'a') + "\xC3\xA4", "a text file"},
    {std::string(512, 'a') + '\0', "a text file"},
    {std::string(509, 'a') + "\xF0\x9F\x93\xB7", "a text file"},
    {"II. Kapitel", "a text file"},
    {" \n<?xml version=\"1.0\"?>", "an XML text"},
    {"\xEF\xBB\xBF<?xml", "an XML text"},
    {"<?xpacket begin=\"\xEF\xBB\xBF\"", "an XMP text"},
    {"<x:xmpmeta", "an XMP text"},
    {"<svg ", "an SVG image"},
    {"<!DOCTYPE html>", "an HTML text"},
    {"<!doctype html>", "an HTML text"},
    {"<html>", "an HTML text"},
    {"<HTML>", "an HTML text"},
    {std::string(4096, '\0'), "a file that begins with 4096 zeros"},
    {std::string(1, '\0'), "a file of one zero byte"},
    {"\x0C\x1F\x80zzzzzz", "a file that begins with the bytes 0c 1f 80 7a 7a 7a 7a 7a"},
    {"Dear\x1b[31m", "a file that begins with the bytes 44 65 61 72 1b 5b 33 31"},
    {"Gr\xFC\xDF"
     "e",
     "a file that begins with the bytes 47 72 fc df 65"},
    {std::string("\0\0*\0\x08\0\0\0"sv),
     "a file that begins with the bytes 00 00 2a 00 08 00 00 00"},
    {"\x89P\x01", "a file that begins with the bytes 89 50 01"},
    {"a\xC3", "a text file"},
    {"a\xE2", "a text file"},
    {"a\xE2"
     "b",
     "a file that begins with the bytes 61 e2 62"},
    {"a\xC3"
     "b",
     "a file that begins with the bytes 61 c3 62"},
    // Images, cut images and damaged ones.
    {std::string("II*\0\x08\0\0\0"sv), ""},
    {std::string("MM\0+"sv), ""},
    {"\xFF\xD8\xFF\xE0", ""},
    {"\xFF", ""},
    {"I", ""},
    {"II*", ""},
    {"\x89PNG", ""},
    {std::string("\0\0\0\x0CJXL "sv), ""},
    {std::string("RIFF\x10\0\0\0WE"sv), ""},
    {std::string("\0\0\0\x18"
                 "ftyphe"sv),
     ""},
    {"FUJIFILM", ""},
    {std::string("MM\0"sv), ""},
    {std::string("II\0\0\x08\0\0\0"sv), ""},
};

TEST(FoundFormats, AreToldInWords) {
    for (const Case& row : kCases) {
        EXPECT_EQ(foundFormat(row.bytes), row.words) << testing::PrintToString(row.bytes);
    }
}

/// The error and what was found of a file of these bytes.
std::string readingOf(std::string_view text, const ifdsweep::ReadOptions& options) {
    ifdsweep::Host host;
    const fixture::Bytes bytes(text.begin(), text.end());
    filesOf(host).serve(u"a", bytes);
    const ifdsweep::Outcome outcome = ifdsweep::read(host, "a", options);
    const std::string_view id = outcome.error ? outcome.error->id() : "none:none";
    return std::string(id.substr(id.rfind(':') + 1)) + ": " + outcome.found + " (" +
           std::to_string(outcome.warnings.size()) + ')';
}

TEST(FoundFormats, AreLookedForWhereThereIsNoHeader) {
    using enum ifdsweep::ReadingMode;
    for (const auto reading : {full, contract}) {
        const ifdsweep::ReadOptions plain{.reading = reading};
        EXPECT_EQ(readingOf("Dear sir", plain), "badEndianness: a text file (0)");
        EXPECT_EQ(readingOf("", plain), "tiffHeaderReadFailure: an empty file (0)");
        EXPECT_EQ(readingOf("II*", plain), "tiffHeaderReadFailure:  (0)");
        EXPECT_EQ(readingOf(std::string_view("II*\0\xFF\0\0\0", 8), plain),
                  "badTiffIfdOffset:  (0)");
        const ifdsweep::ReadOptions elsewhere{.offset = 1, .reading = reading};
        EXPECT_EQ(readingOf("Dear sir", elsewhere), "badEndianness:  (0)");
        const ifdsweep::ReadOptions imagesOnly{.imagesOnly = true, .reading = reading};
        EXPECT_EQ(readingOf("Dear sir", imagesOnly), "none:  (0)");
    }
    EXPECT_EQ(readingOf("II. Kapitel und mehr", {}), "badTiffIfdOffset: a text file (1)");
}

/// What is looked at for words counts against no budget, so that no warning comes of it.
TEST(FoundFormats, AreNoPartOfTheReading) {
    const std::pair<std::uint64_t, std::size_t> rows[]{{0, 1}, {68, 1}, {69, 0}, {200, 0}};
    for (const auto& [budget, warnings] : rows) {
        ifdsweep::Host host;
        const fixture::Bytes bytes(5000, 'a');
        filesOf(host).serve(u"a", bytes);
        const ifdsweep::Outcome outcome = ifdsweep::read(host, "a", {.readBudget = budget});
        EXPECT_EQ(outcome.found, "a text file") << budget;
        EXPECT_EQ(outcome.warnings.size(), warnings) << budget;
    }
}

}  // namespace
