// Writes the sample files of this folder, the TIFF ones by libtiff.
//
// Usage: ifdsweep_make_samples FOLDER

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <ios>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <tiffio.h>

namespace {

using TiffHandle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

/// Creates a file. Mode letters: w write, l or b byte order, 8 BigTIFF.
TiffHandle create(const std::string& path, const char* mode) {
    TiffHandle tiff(TIFFOpen(path.c_str(), mode), &TIFFClose);
    if (!tiff) {
        throw std::runtime_error("cannot create " + path);
    }
    return tiff;
}

void require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(std::string("libtiff failed: ") + what);
    }
}

/// Sets one tag of the current directory.
template <class... Values>
void set(const TiffHandle& tiff, std::uint32_t tag, Values... values) {
    require(TIFFSetField(tiff.get(), tag, values...) == 1, "TIFFSetField");
}

void setImage(const TiffHandle& tiff, std::uint32_t width, std::uint32_t length, int samples,
              int photometric) {
    set(tiff, TIFFTAG_IMAGEWIDTH, width);
    set(tiff, TIFFTAG_IMAGELENGTH, length);
    set(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    set(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    set(tiff, TIFFTAG_PHOTOMETRIC, photometric);
    set(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
}

/// Fills the image of the current directory with flat rows, a shade for each.
void writeStrips(const TiffHandle& tiff, std::uint32_t length) {
    set(tiff, TIFFTAG_ROWSPERSTRIP, std::uint32_t{16});
    std::vector<std::uint8_t> row(static_cast<std::size_t>(TIFFScanlineSize(tiff.get())));
    for (std::uint32_t y = 0; y < length; ++y) {
        row.assign(row.size(), static_cast<std::uint8_t>(y * 4));
        require(TIFFWriteScanline(tiff.get(), row.data(), y) == 1, "TIFFWriteScanline");
    }
}

/// A small image of one directory, as a scanner may leave it.
void writeRgbStrips(const std::string& path) {
    const TiffHandle tiff = create(path, "wl");
    setImage(tiff, 64, 48, 3, PHOTOMETRIC_RGB);
    set(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    set(tiff, TIFFTAG_IMAGEDESCRIPTION, "Test chart, grey rows");
    set(tiff, TIFFTAG_MAKE, "Example Optics");
    set(tiff, TIFFTAG_MODEL, "Flatbed 1");
    set(tiff, TIFFTAG_SOFTWARE, "make_samples");
    set(tiff, TIFFTAG_DATETIME, "2024:05:17 09:30:00");
    set(tiff, TIFFTAG_XRESOLUTION, 300.0);
    set(tiff, TIFFTAG_YRESOLUTION, 300.0);
    set(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    writeStrips(tiff, 48);
}

/// A tiled palette image with two smaller ones in a SubIFDs chain.
void writePaletteTiles(const std::string& path) {
    const TiffHandle tiff = create(path, "wb");
    std::array<std::uint16_t, 256> ramp{};
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        ramp[i] = static_cast<std::uint16_t>(i * 257);
    }
    const std::array<std::uint64_t, 2> places{};
    std::vector<std::uint8_t> tile(std::size_t{16} * 16);
    for (const std::uint32_t side : {64U, 32U, 16U}) {
        setImage(tiff, side, side, 1, PHOTOMETRIC_PALETTE);
        set(tiff, TIFFTAG_SUBFILETYPE, side == 64 ? 0 : FILETYPE_REDUCEDIMAGE);
        set(tiff, TIFFTAG_TILEWIDTH, 16);
        set(tiff, TIFFTAG_TILELENGTH, 16);
        set(tiff, TIFFTAG_COLORMAP, ramp.data(), ramp.data(), ramp.data());
        if (side == 64) {
            set(tiff, TIFFTAG_SUBIFD, static_cast<int>(places.size()), places.data());
        }
        for (std::uint32_t number = 0; number < TIFFNumberOfTiles(tiff.get()); ++number) {
            tile.assign(tile.size(), static_cast<std::uint8_t>(number * 15));
            require(TIFFWriteEncodedTile(tiff.get(), number, tile.data(),
                                         static_cast<tmsize_t>(tile.size())) > 0,
                    "TIFFWriteEncodedTile");
        }
        require(TIFFWriteDirectory(tiff.get()) == 1, "TIFFWriteDirectory");
    }
}

/// Writes an Exif or GPS directory and links the first page to it.
void addDirectory(const TiffHandle& tiff, std::uint32_t pointerTag, int (*begin)(TIFF*),
                  const std::function<void()>& setTags) {
    require(begin(tiff.get()) == 0, "begin of a nested directory");
    setTags();
    std::uint64_t offset = 0;
    require(TIFFWriteCustomDirectory(tiff.get(), &offset) == 1, "TIFFWriteCustomDirectory");
    require(TIFFSetDirectory(tiff.get(), 0) == 1, "TIFFSetDirectory");
    set(tiff, pointerTag, offset);
    require(TIFFRewriteDirectory(tiff.get()) == 1, "TIFFRewriteDirectory");
    require(TIFFSetDirectory(tiff.get(), 0) == 1, "TIFFSetDirectory");
}

/// A BigTIFF of two pages, the first with Exif and GPS directories.
void writeBigPages(const std::string& path) {
    const TiffHandle tiff = create(path, "wl8");
    for (const std::uint16_t page : {std::uint16_t{0}, std::uint16_t{1}}) {
        setImage(tiff, 40, 32, 1, PHOTOMETRIC_MINISBLACK);
        set(tiff, TIFFTAG_PAGENUMBER, static_cast<int>(page), 2);
        set(tiff, TIFFTAG_DOCUMENTNAME, "Two pages");
        writeStrips(tiff, 32);
        require(TIFFWriteDirectory(tiff.get()) == 1, "TIFFWriteDirectory");
    }
    require(TIFFSetDirectory(tiff.get(), 0) == 1, "TIFFSetDirectory");
    addDirectory(tiff, TIFFTAG_EXIFIFD, TIFFCreateEXIFDirectory, [&tiff] {
        set(tiff, EXIFTAG_EXPOSURETIME, 0.0078125);
        set(tiff, EXIFTAG_FNUMBER, 4.0);
        set(tiff, EXIFTAG_EXPOSUREPROGRAM, 3);
        set(tiff, EXIFTAG_DATETIMEORIGINAL, "2024:05:17 09:28:41");
        set(tiff, EXIFTAG_METERINGMODE, 5);
        set(tiff, EXIFTAG_LIGHTSOURCE, 1);
        set(tiff, EXIFTAG_FOCALLENGTH, 35.0);
    });
    addDirectory(tiff, TIFFTAG_GPSIFD, TIFFCreateGPSDirectory, [&tiff] {
        const std::array<double, 3> latitude{51, 28, 40.12};
        const std::array<double, 3> longitude{0, 0, 5.31};
        set(tiff, GPSTAG_LATITUDEREF, "N");
        set(tiff, GPSTAG_LATITUDE, latitude.data());
        set(tiff, GPSTAG_LONGITUDEREF, "W");
        set(tiff, GPSTAG_LONGITUDE, longitude.data());
        set(tiff, GPSTAG_ALTITUDE, 46.5);
        set(tiff, GPSTAG_MAPDATUM, "WGS-84");
    });
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::string& path, std::string_view bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush();
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
}

/// The strip image with two damages: Make lies past the end of the file, and so does the next
/// directory.
void writeDamaged(const std::string& path, const std::string& soundPath) {
    std::string bytes = readFile(soundPath);
    const auto number = [&bytes](std::size_t at, std::size_t size) {
        std::size_t value = 0;
        for (std::size_t i = size; i > 0; --i) {
            value = value << 8 | static_cast<std::uint8_t>(bytes.at(at + i - 1));
        }
        return value;
    };
    const std::size_t directory = number(4, 4);
    const std::size_t entries = number(directory, 2);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t entry = directory + 2 + i * 12;
        if (number(entry, 2) == TIFFTAG_MAKE) {
            bytes.replace(entry + 8, 4, {"\xF0\xFF\xFF\x7F", 4});
        }
    }
    bytes.replace(directory + 2 + entries * 12, 4, {"\x00\x00\x10\x00", 4});
    writeFile(path, bytes);
}

/// A grey JPEG of 8 by 8 pixels behind an Exif block: the main directory with Exif and GPS
/// directories and one for the thumbnail, which is empty.
void writeExifJpeg(const std::string& path) {
    std::string tiff;
    const auto put = [&tiff](std::uint32_t value, std::size_t size) {
        for (std::size_t i = size; i > 0; --i) {
            tiff += static_cast<char>(value >> (8 * (i - 1)) & 0xFFU);
        }
    };
    const auto entry = [&put](std::uint32_t tag, std::uint32_t type, std::uint32_t count,
                              std::uint32_t value, std::size_t size) {
        put(tag, 2);
        put(type, 2);
        put(count, 4);
        put(value, size);
        put(0, 4 - size);
    };
    constexpr std::uint32_t byte = 1, ascii = 2, shortInteger = 3, longInteger = 4, rational = 5;
    constexpr std::uint32_t undefined = 7;
    // Positions: main directory 8, its values 98, Exif 114, its values 180, GPS 188, thumbnail 242.
    tiff += std::string_view("MM\0*\0\0\0\x08", 8);
    put(7, 2);
    entry(TIFFTAG_MAKE, ascii, 15, 98, 4);
    entry(TIFFTAG_MODEL, ascii, 4, 0x50310000, 4);
    entry(TIFFTAG_ORIENTATION, shortInteger, 1, 6, 2);
    entry(TIFFTAG_RESOLUTIONUNIT, shortInteger, 1, 2, 2);
    entry(TIFFTAG_YCBCRPOSITIONING, shortInteger, 1, 1, 2);
    entry(TIFFTAG_EXIFIFD, longInteger, 1, 114, 4);
    entry(TIFFTAG_GPSIFD, longInteger, 1, 188, 4);
    put(242, 4);
    tiff += std::string_view("Example Optics\0\0", 16);

    put(5, 2);
    entry(EXIFTAG_EXPOSURETIME, rational, 1, 180, 4);
    entry(EXIFTAG_ISOSPEEDRATINGS, shortInteger, 1, 200, 2);
    entry(EXIFTAG_EXIFVERSION, undefined, 4, 0x30323332, 4);
    entry(EXIFTAG_FLASH, shortInteger, 1, 16, 2);
    entry(EXIFTAG_COLORSPACE, shortInteger, 1, 1, 2);
    put(0, 4);
    put(1, 4);
    put(125, 4);

    put(4, 2);
    entry(GPSTAG_VERSIONID, byte, 4, 0x02030000, 4);
    entry(GPSTAG_ALTITUDEREF, byte, 1, 0, 1);
    entry(GPSTAG_MEASUREMODE, ascii, 2, 0x33000000, 4);
    entry(GPSTAG_DIFFERENTIAL, shortInteger, 1, 0, 2);
    put(0, 4);

    put(1, 2);
    entry(TIFFTAG_COMPRESSION, shortInteger, 1, COMPRESSION_OJPEG, 2);
    put(0, 4);

    std::string jpeg("\xFF\xD8\xFF\xE1", 4);
    const std::size_t segmentSize = 2 + 6 + tiff.size();
    jpeg += static_cast<char>(segmentSize >> 8);
    jpeg += static_cast<char>(segmentSize & 0xFFU);
    jpeg += std::string_view("Exif\0\0", 6);
    jpeg += tiff;
    jpeg += std::string_view("\xFF\xDB\0\x43\0", 5);
    jpeg += std::string(64, '\1');
    jpeg += std::string_view("\xFF\xC0\0\x0B\x08\0\x08\0\x08\x01\x01\x11\0", 13);
    // One code in either table: no difference, and the end of the block.
    jpeg += std::string_view("\xFF\xC4\0\x14\0\x01\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22);
    jpeg += std::string_view("\xFF\xC4\0\x14\x10\x01\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22);
    jpeg += std::string_view("\xFF\xDA\0\x08\x01\x01\0\0\x3F\0\x3F\xFF\xD9", 13);
    writeFile(path, jpeg);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fputs("usage: ifdsweep_make_samples FOLDER\n", stderr);
        return 2;
    }
    try {
        const std::string folder = std::string(arguments[1]) + '/';
        writeRgbStrips(folder + "rgb_strips.tif");
        writePaletteTiles(folder + "palette_tiles.tif");
        writeBigPages(folder + "big_pages.tif");
        writeDamaged(folder + "damaged.tif", folder + "rgb_strips.tif");
        writeExifJpeg(folder + "exif.jpg");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ifdsweep_make_samples: %s\n", error.what());
        return 1;
    }
    return 0;
}
