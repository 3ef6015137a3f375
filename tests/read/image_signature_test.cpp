#include "read/image_signature.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "host/host_parts.h"
#include "ifdsweep/read.h"
#include "support/byte_verbs.h"

namespace {

using ifdsweep::ImageFormat;
using ifdsweep::imageFormatOf;

struct Signature {
    std::string_view bytes;
    std::optional<ImageFormat> format;
};

const Signature kSignatures[]{{{"II*\0", 4}, ImageFormat::tiff},
                              {{"MM\0*", 4}, ImageFormat::tiff},
                              {{"II+\0", 4}, ImageFormat::tiff},
                              {{"MM\0+", 4}, ImageFormat::tiff},
                              {{"\xFF\xD8", 2}, ImageFormat::jpeg},
                              {{"IIU\0", 4}, ImageFormat::relative},
                              {{"IIRO", 4}, ImageFormat::relative},
                              {{"IIRS", 4}, ImageFormat::relative},
                              {{"MMOR", 4}, ImageFormat::relative},
                              {{"II\xBC\x01", 4}, ImageFormat::relative},
                              {{"IIRC", 4}, ImageFormat::relative},
                              {{"MM\0U", 4}, std::nullopt},
                              {{"IIRP", 4}, std::nullopt},
                              {{"MMRO", 4}, std::nullopt},
                              {{"\x89PNG\r\n\x1A\n", 8}, ImageFormat::container},
                              {{"8BPS", 4}, ImageFormat::container},
                              {{"FUJIFILMCCD-RAW ", 16}, ImageFormat::container},
                              {{"\0\0\0\x0CJXL \r\n\x87\n", 12}, ImageFormat::container},
                              {{"\0\0\0\x0CjP  \r\n\x87\n", 12}, ImageFormat::container},
                              {{"RIFF....WEBP", 12}, ImageFormat::container},
                              {{"\0\0\0\x20"
                                "ftypavif",
                                12},
                               ImageFormat::container},
                              {{"\0\0\0\x20"
                                "ftypheic",
                                12},
                               ImageFormat::container},
                              {{"\0\0\0\x20"
                                "ftypcrx ",
                                12},
                               ImageFormat::container},
                              {{"RIFF....WAVE", 12}, std::nullopt},
                              {{"\0\0\0\x20"
                                "ftypisom",
                                12},
                               std::nullopt},
                              {{"\xFF\x0A", 2}, std::nullopt},
                              {{"\xFF\x4F\xFF\x51", 4}, std::nullopt},
                              {{"II\xBC\x02", 4}, std::nullopt},
                              {{"MM*\0", 4}, std::nullopt},
                              {{"Dear", 4}, std::nullopt},
                              {{}, std::nullopt}};

TEST(ImageSignatures, AreWholeAndTheirFirstBytesAreNone) {
    for (const Signature& signature : kSignatures) {
        const std::string bytes(signature.bytes);
        EXPECT_EQ(imageFormatOf(bytes), signature.format) << bytes;
        EXPECT_EQ(imageFormatOf(bytes + "more"), signature.format) << bytes;
        if (!bytes.empty()) {
            EXPECT_EQ(imageFormatOf(bytes.substr(0, bytes.size() - 1)), std::nullopt) << bytes;
        }
    }
}

bool isReadByContract(std::optional<ImageFormat> format) {
    return format == ImageFormat::tiff || format == ImageFormat::jpeg;
}

/// Where the stream is, is known then, and nobody looks for it.
TEST(ImageSignatures, DecideAloneWhereAPositionIsGiven) {
    ifdsweep::Host host;
    for (const Signature& signature : kSignatures) {
        const std::string text = std::string(signature.bytes) + std::string(8, '\0');
        const fixture::Bytes bytes(text.begin(), text.end());
        filesOf(host).serve(u"a", bytes);
        const auto isImage = [&host](ifdsweep::ReadingMode reading) {
            return ifdsweep::read(host, "a", {.offset = 0, .imagesOnly = true, .reading = reading})
                .isImage;
        };
        EXPECT_EQ(isImage(ifdsweep::ReadingMode::full), signature.format.has_value()) << text;
        EXPECT_EQ(isImage(ifdsweep::ReadingMode::contract), isReadByContract(signature.format))
            << text;
    }
}

TEST(ImageSignatures, WhatIsCutShortMayStillBeAnImage) {
    for (const Signature& signature : kSignatures) {
        for (std::size_t size = 1; signature.format && size <= signature.bytes.size(); ++size) {
            // Boxes begin with a size, which says nothing.
            const bool isSizeAlone = size == 4 && signature.bytes.find("ftyp") == 4;
            EXPECT_EQ(ifdsweep::mayBeImage(signature.bytes.substr(0, size)), !isSizeAlone)
                << signature.bytes << ' ' << size;
        }
    }
}

TEST(ImageSignatures, RelativesAreForAFullReadingAlone) {
    ifdsweep::Host host;
    for (const Signature& signature : kSignatures) {
        const bool isSearched =
            signature.format == ImageFormat::jpeg || signature.format == ImageFormat::container;
        if (isSearched) {
            continue;  // what is found decides
        }
        const std::string text = std::string(signature.bytes) + std::string(8, '\0');
        const fixture::Bytes bytes(text.begin(), text.end());
        filesOf(host).serve(u"a", bytes);
        const auto isImage = [&host](ifdsweep::ReadingMode reading) {
            return ifdsweep::read(host, "a", {.imagesOnly = true, .reading = reading}).isImage;
        };
        EXPECT_EQ(isImage(ifdsweep::ReadingMode::full), signature.format.has_value());
        EXPECT_EQ(isImage(ifdsweep::ReadingMode::contract), signature.format == ImageFormat::tiff);
    }
}

}  // namespace
