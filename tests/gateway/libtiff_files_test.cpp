// Files written by libtiff, a writer that shares nothing with the module or with `TiffBuilder`.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "gateway/libtiff_reading.h"
#include "support/entry_call.h"
#include "support/record_dump.h"

namespace fixture {
namespace {

/// libtiff's open mode: byte order and layout.
class LibtiffFiles : public testing::TestWithParam<const char*> {
protected:
    static Bytes written(const std::function<void(TIFF*)>& write) {
        return writeWithLibtiff(GetParam(), write);
    }
    static bool isBig() { return std::string(GetParam()).find('8') != std::string::npos; }
    static bool isBigEndian() { return GetParam()[1] == 'b'; }
};

std::string modeName(const testing::TestParamInfo<const char*>& info) {
    return std::string(info.param[1] == 'b' ? "Big" : "Little") +
           (info.param[2] == '8' ? "BigTiff" : "Classic");
}

INSTANTIATE_TEST_SUITE_P(Modes, LibtiffFiles, testing::Values("wl", "wb", "wl8", "wb8"), modeName);

void writeSize(TIFF* tiff, std::uint32_t width, std::uint32_t height, int bits, int samples) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
}

void writeStrips(TIFF* tiff) {
    Bytes strip(static_cast<std::size_t>(TIFFStripSize(tiff)));
    for (std::uint32_t i = 0; i < TIFFNumberOfStrips(tiff); ++i) {
        std::iota(strip.begin(), strip.end(), static_cast<std::uint8_t>(i));
        ASSERT_GT(TIFFWriteEncodedStrip(tiff, i, strip.data(), static_cast<tmsize_t>(strip.size())),
                  0);
    }
}

/// A plain gray image, so that the directory is a complete one.
void writeGray(TIFF* tiff, std::uint32_t width) {
    writeSize(tiff, width, 2, 8, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 2);
    writeStrips(tiff);
}

TEST_P(LibtiffFiles, StripsOfARgbImage) {
    const Bytes bytes = written([](TIFF* tiff) {
        writeSize(tiff, 20, 10, 8, 3);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_BOTLEFT);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 4);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 72.0);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 0.5);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, "a description");
        TIFFSetField(tiff, TIFFTAG_ARTIST, "an artist");
        TIFFSetField(tiff, TIFFTAG_SOFTWARE, "s");
        const std::array<float, 6> chromaticities{0.25F, 0.5F, 0.75F, 0.125F, 1.0F, 0.0F};
        TIFFSetField(tiff, TIFFTAG_PRIMARYCHROMATICITIES, chromaticities.data());
        writeStrips(tiff);
    });
    const Call given = callEntryPoint(bytes);
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.warnings, std::vector<std::string>{});
    const std::vector<std::pair<const char*, std::string>> expected{
        {"Width", "20"},
        {"Height", "10"},
        {"BitDepth", "24"},
        {"ColorType", "'truecolor'"},
        {"FormatSignature", std::string("[") + (isBigEndian() ? "77 77 0 " : "73 73 ") +
                                (isBig() ? "43" : "42") + (isBigEndian() ? "]" : " 0]")},
        {"BitsPerSample", "[8 8 8]"},
        {"Compression", "'Uncompressed'"},
        {"PhotometricInterpretation", "'RGB'"},
        {"SamplesPerPixel", "3"},
        {"RowsPerStrip", "4"},
        {"StripByteCounts", "[240 240 240]"},
        {"XResolution", "72"},
        {"YResolution", "0.5"},
        {"ResolutionUnit", "'Centimeter'"},
        {"PlanarConfiguration", "'Chunky'"},
        {"Orientation", "4"},
        {"MaxSampleValue", "[255 255 255]"},
    };
    for (const auto& [field, value] : expected) {
        EXPECT_EQ(given.value(field), value) << field;
    }
    const double first = isBig() ? 16 : 8;
    EXPECT_EQ(given.value("StripOffsets"), rowText({first, first + 240, first + 480}));
    EXPECT_EQ(given.added(),
              "ImageDescription='a description' Software='s' Artist='an artist' "
              "PrimaryChromaticities=[0.25 0.5 0.75 0.125 1 0]");
}

TEST_P(LibtiffFiles, TilesOf16BitSamples) {
    const Bytes bytes = written([](TIFF* tiff) {
        writeSize(tiff, 40, 20, 16, 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_INT);
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 16);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
        const Bytes tile(static_cast<std::size_t>(TIFFTileSize(tiff)));
        for (std::uint32_t i = 0; i < TIFFNumberOfTiles(tiff); ++i) {
            Bytes copy = tile;
            ASSERT_GT(
                TIFFWriteEncodedTile(tiff, i, copy.data(), static_cast<tmsize_t>(copy.size())), 0);
        }
    });
    const Call given = callEntryPoint(bytes);
    EXPECT_EQ(given.warnings, std::vector<std::string>{});
    EXPECT_EQ(given.value("TileWidth"), "16");
    EXPECT_EQ(given.value("TileLength"), "16");
    EXPECT_EQ(given.value("TileByteCounts"), rowText(std::vector<double>(6, 512)));
    std::vector<double> offsets;
    for (int i = 0; i < 6; ++i) {
        offsets.push_back((isBig() ? 16 : 8) + 512 * i);
    }
    EXPECT_EQ(given.value("TileOffsets"), rowText(offsets));
    EXPECT_EQ(given.value("StripOffsets"), "empty");
    EXPECT_EQ(given.value("ColorType"), "'grayscale'");
    EXPECT_EQ(given.added(), "SampleFormat='Two\\u0027s complement signed integer'");
}

TEST_P(LibtiffFiles, APaletteOf16Colors) {
    const Bytes bytes = written([](TIFF* tiff) {
        writeSize(tiff, 8, 2, 4, 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 2);
        std::array<std::array<std::uint16_t, 16>, 3> colors{};
        for (std::uint16_t i = 0; i < 16; ++i) {
            colors[0][i] = static_cast<std::uint16_t>(i * 4369);
            colors[1][i] = static_cast<std::uint16_t>(65535 - i * 4369);
            colors[2][i] = static_cast<std::uint16_t>(i == 3 ? 13107 : 0);
        }
        TIFFSetField(tiff, TIFFTAG_COLORMAP, colors[0].data(), colors[1].data(), colors[2].data());
        writeStrips(tiff);
    });
    std::string expected;
    for (int i = 0; i < 16; ++i) {
        expected += (i > 0 ? "; " : "") + numberText(i * 4369 / 65535.0) + ' ' +
                    numberText((65535 - i * 4369) / 65535.0) + (i == 3 ? " 0.2" : " 0");
    }
    const Call given = callEntryPoint(bytes);
    EXPECT_EQ(given.value("Colormap"), '[' + expected + ']');
    EXPECT_EQ(given.value("ColorType"), "'indexed'");
    EXPECT_EQ(given.value("MaxSampleValue"), "15");
}

TEST_P(LibtiffFiles, SubIfdsOfTwoDirectories) {
    const Bytes bytes = written([](TIFF* tiff) {
        std::array<toff_t, 2> offsets{};
        TIFFSetField(tiff, TIFFTAG_SUBIFD, 2, offsets.data());
        writeGray(tiff, 3);
        ASSERT_EQ(TIFFWriteDirectory(tiff), 1);
        for (const char* artist : {"first", "second"}) {
            TIFFSetField(tiff, TIFFTAG_ARTIST, artist);
            writeGray(tiff, 1);
            ASSERT_EQ(TIFFWriteDirectory(tiff), 1);
        }
        TIFFSetField(tiff, TIFFTAG_ARTIST, "next page");
        writeGray(tiff, 4);
    });
    const Call given = callEntryPoint(bytes);
    if (isBig()) {
        // 8-byte pointers are followed by 4-byte slots: the second slot is the high half, 0, and
        // there the header is no directory that the file can hold.
        EXPECT_EQ(given.error, "badIFDread('IFD #1')");
        return;
    }
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.warnings, std::vector<std::string>{});
    EXPECT_EQ(given.result, "struct 2x1");
    EXPECT_EQ(given.value("Width", 1), "4");
    EXPECT_EQ(given.value("Artist", 1), "'next page'");
    EXPECT_EQ(given.value("SubIFDs", 1), "empty");
    EXPECT_EQ(given.value("Width", 0), "3");
    EXPECT_EQ(given.value("SubIFDs", 0), "{(Artist='first'), (Artist='second')}");
}

TEST_P(LibtiffFiles, AnExifDirectory) {
    const Bytes bytes = written([](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_MAKE, "maker");
        writeGray(tiff, 3);
        ASSERT_EQ(TIFFWriteDirectory(tiff), 1);
        ASSERT_EQ(TIFFCreateEXIFDirectory(tiff), 0);
        TIFFSetField(tiff, EXIFTAG_EXPOSURETIME, 0.125);
        TIFFSetField(tiff, EXIFTAG_EXPOSUREPROGRAM, 3);
        TIFFSetField(tiff, EXIFTAG_DATETIMEORIGINAL, "2001:02:03 04:05:06");
        TIFFSetField(tiff, EXIFTAG_EXPOSUREBIASVALUE, -0.5);
        TIFFSetField(tiff, EXIFTAG_COLORSPACE, 65535);
        std::uint64_t offset = 0;
        ASSERT_EQ(TIFFWriteCustomDirectory(tiff, &offset), 1);
        ASSERT_EQ(TIFFSetDirectory(tiff, 0), 1);
        ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_EXIFIFD, offset), 1);
        ASSERT_EQ(TIFFRewriteDirectory(tiff), 1);
    });
    const Call given = callEntryPoint(bytes);
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.warnings, std::vector<std::string>{});
    EXPECT_EQ(given.value("Make"), "'maker'");
    EXPECT_EQ(given.value("DigitalCamera"),
              "(ExposureTime=0.125 ExposureProgram='Aperture priority' "
              "DateTimeOriginal='2001:02:03 04:05:06' ExposureBiasValue=-0.5 "
              "ColorSpace='Uncalibrated')");
}

TEST_P(LibtiffFiles, ManyPages) {
    constexpr std::uint32_t kPages = 200;
    const Bytes bytes = written([](TIFF* tiff) {
        for (std::uint32_t page = 1; page <= kPages; ++page) {
            TIFFSetField(tiff, TIFFTAG_PAGENUMBER, page, kPages);
            writeGray(tiff, page);
            ASSERT_EQ(TIFFWriteDirectory(tiff), 1);
        }
    });
    const Call given = callEntryPoint(bytes);
    ASSERT_EQ(given.records.size(), kPages);
    for (std::uint32_t page = 1; page <= kPages; ++page) {
        EXPECT_EQ(given.value("Width", page - 1), std::to_string(page));
        EXPECT_EQ(given.value("PageNumber", page - 1),
                  rowText({static_cast<double>(page), static_cast<double>(kPages)}));
    }
    EXPECT_EQ(callEntryPoint(bytes, {.firstIfdIndex = 100, .maxIfdCount = 1}).value("Width"),
              "101");
}

TEST_P(LibtiffFiles, AnIccProfileAndXmp) {
    const std::string packet = "<x:xmpmeta>\xC3\xA9</x:xmpmeta>";
    const Bytes profile(100, 0x5A);
    const Bytes bytes = written([&](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()),
                     profile.data());
        TIFFSetField(tiff, TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(packet.size()),
                     packet.data());
        writeGray(tiff, 3);
    });
    const Call given = callEntryPoint(bytes);
    EXPECT_EQ(given.value("XMP"), "'<x:xmpmeta>\\uFFC3\\uFFA9</x:xmpmeta>'");
    const auto at = std::search(bytes.begin(), bytes.end(), profile.begin(), profile.end());
    EXPECT_EQ(given.value("ICCProfileOffset"), std::to_string(at - bytes.begin()));
}

}  // namespace
}  // namespace fixture
