// libtiff_walker [--call] FILE...: the same work done with libtiff. Opens each file, visits every
// directory of the main chain and every SubIFDs, Exif and GPS directory, and adds every value up
// that TIFFGetField hands out. With --call it measures itself and prints the time.
//
// What libtiff does not hand out is left out: Interoperability directories, tags of types that it
// drops. Nested directories are visited after the main chain, by their offsets: going back to a
// place in the chain by its number would read the chain again each time.

#include <tiffio.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include "support/call_report.h"

namespace {

/// The tags that libtiff keeps in its own structure and does not list.
constexpr std::array<std::uint32_t, 36> kOwnTags{
    TIFFTAG_SUBFILETYPE,     TIFFTAG_IMAGEWIDTH,       TIFFTAG_IMAGELENGTH,
    TIFFTAG_BITSPERSAMPLE,   TIFFTAG_COMPRESSION,      TIFFTAG_PHOTOMETRIC,
    TIFFTAG_THRESHHOLDING,   TIFFTAG_FILLORDER,        TIFFTAG_STRIPOFFSETS,
    TIFFTAG_ORIENTATION,     TIFFTAG_SAMPLESPERPIXEL,  TIFFTAG_ROWSPERSTRIP,
    TIFFTAG_STRIPBYTECOUNTS, TIFFTAG_MINSAMPLEVALUE,   TIFFTAG_MAXSAMPLEVALUE,
    TIFFTAG_XRESOLUTION,     TIFFTAG_YRESOLUTION,      TIFFTAG_PLANARCONFIG,
    TIFFTAG_XPOSITION,       TIFFTAG_YPOSITION,        TIFFTAG_RESOLUTIONUNIT,
    TIFFTAG_PAGENUMBER,      TIFFTAG_TRANSFERFUNCTION, TIFFTAG_COLORMAP,
    TIFFTAG_HALFTONEHINTS,   TIFFTAG_TILEWIDTH,        TIFFTAG_TILELENGTH,
    TIFFTAG_TILEOFFSETS,     TIFFTAG_TILEBYTECOUNTS,   TIFFTAG_EXTRASAMPLES,
    TIFFTAG_SAMPLEFORMAT,    TIFFTAG_YCBCRSUBSAMPLING, TIFFTAG_YCBCRPOSITIONING,
    TIFFTAG_IMAGEDEPTH,      TIFFTAG_SUBIFD,           TIFFTAG_REFERENCEBLACKWHITE};

struct Pointer {
    std::uint64_t offset;
    std::uint32_t tag;
};

struct Walk {
    TIFF* file;
    std::vector<Pointer> pending;
    double sum;
};

template <class Number>
double sumOf(const void* data, std::uint64_t count) {
    double sum = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        Number number;
        std::memcpy(&number, static_cast<const std::uint8_t*>(data) + i * sizeof number,
                    sizeof number);
        sum += static_cast<double>(number);
    }
    return sum;
}

/// The sum of an array as TIFFGetField hands it out: rationals as floats or doubles.
double sumOfArray(const TIFFField* field, const void* data, std::uint64_t count) {
    switch (TIFFFieldDataType(field)) {
        case TIFF_SHORT:
            return sumOf<std::uint16_t>(data, count);
        case TIFF_SSHORT:
            return sumOf<std::int16_t>(data, count);
        case TIFF_LONG:
        case TIFF_IFD:
            return sumOf<std::uint32_t>(data, count);
        case TIFF_SLONG:
            return sumOf<std::int32_t>(data, count);
        case TIFF_LONG8:
        case TIFF_IFD8:
            return sumOf<std::uint64_t>(data, count);
        case TIFF_SLONG8:
            return sumOf<std::int64_t>(data, count);
        case TIFF_FLOAT:
            return sumOf<float>(data, count);
        case TIFF_DOUBLE:
            return sumOf<double>(data, count);
        case TIFF_RATIONAL:
        case TIFF_SRATIONAL:
            return TIFFFieldSetGetSize(field) == 8 ? sumOf<double>(data, count)
                                                   : sumOf<float>(data, count);
        default:
            return sumOf<std::uint8_t>(data, count);
    }
}

/// Arrays and scalars of the tags in libtiff's own structure whose length follows from others.
bool takeDependent(Walk& walk, std::uint32_t tag) {
    std::uint64_t* offsets = nullptr;
    std::uint16_t first = 0;
    std::uint16_t second = 0;
    switch (tag) {
        case TIFFTAG_STRIPOFFSETS:
        case TIFFTAG_STRIPBYTECOUNTS:
        case TIFFTAG_TILEOFFSETS:
        case TIFFTAG_TILEBYTECOUNTS:
            // The same array answers to the strip's and to the tile's tag.
            if (TIFFIsTiled(walk.file) == (tag < TIFFTAG_TILEWIDTH ? 1 : 0)) {
                return true;
            }
            if (TIFFGetField(walk.file, tag, &offsets) != 0 && offsets != nullptr) {
                walk.sum += sumOf<std::uint64_t>(offsets, TIFFIsTiled(walk.file) != 0
                                                              ? TIFFNumberOfTiles(walk.file)
                                                              : TIFFNumberOfStrips(walk.file));
            }
            return true;
        case TIFFTAG_PAGENUMBER:
        case TIFFTAG_HALFTONEHINTS:
        case TIFFTAG_YCBCRSUBSAMPLING:
            if (TIFFGetField(walk.file, tag, &first, &second) != 0) {
                walk.sum += first + second;
            }
            return true;
        case TIFFTAG_TRANSFERFUNCTION:
        case TIFFTAG_COLORMAP: {
            std::array<std::uint16_t*, 3> curves{};
            std::uint16_t bits = 1;
            TIFFGetFieldDefaulted(walk.file, TIFFTAG_BITSPERSAMPLE, &bits);
            if (TIFFGetField(walk.file, tag, &curves[0], &curves[1], &curves[2]) != 0) {
                for (const std::uint16_t* curve : curves) {
                    walk.sum += curve == nullptr ? 0 : sumOf<std::uint16_t>(curve, 1U << bits);
                }
            }
            return true;
        }
        default:
            return false;
    }
}

/// An array that comes with its count.
void takeCounted(Walk& walk, std::uint32_t tag, const TIFFField* field) {
    const void* data = nullptr;
    std::uint32_t count = 0;
    std::uint16_t shortCount = 0;
    const bool wide = TIFFFieldReadCount(field) == TIFF_VARIABLE2;
    const int known = wide ? TIFFGetField(walk.file, tag, &count, &data)
                           : TIFFGetField(walk.file, tag, &shortCount, &data);
    if (known == 0 || data == nullptr) {
        return;
    }
    count = wide ? count : shortCount;
    if (tag == TIFFTAG_SUBIFD) {
        for (std::uint32_t i = 0; i < count; ++i) {
            walk.pending.push_back({static_cast<const std::uint64_t*>(data)[i], tag});
        }
        return;
    }
    walk.sum += sumOfArray(field, data, count);
}

void takeTag(Walk& walk, std::uint32_t tag) {
    const TIFFField* field = TIFFFindField(walk.file, tag, TIFF_ANY);
    if (field == nullptr || takeDependent(walk, tag)) {
        return;
    }
    if (TIFFFieldPassCount(field) != 0) {
        takeCounted(walk, tag, field);
        return;
    }
    if (TIFFFieldDataType(field) == TIFF_ASCII) {
        const char* text = nullptr;
        if (TIFFGetField(walk.file, tag, &text) != 0 && text != nullptr) {
            walk.sum += sumOf<std::uint8_t>(text, std::strlen(text));
        }
        return;
    }
    if (TIFFFieldReadCount(field) > 1) {
        const void* data = nullptr;
        if (TIFFGetField(walk.file, tag, &data) != 0 && data != nullptr) {
            walk.sum +=
                sumOfArray(field, data, static_cast<std::uint64_t>(TIFFFieldReadCount(field)));
        }
        return;
    }
    alignas(std::uint64_t) std::array<std::uint8_t, 64> value{};
    if (TIFFGetField(walk.file, tag, value.data()) == 0) {
        return;
    }
    if (tag == TIFFTAG_EXIFIFD || tag == TIFFTAG_GPSIFD) {
        std::uint64_t offset = 0;
        std::memcpy(&offset, value.data(), sizeof offset);
        walk.pending.push_back({offset, tag});
        return;
    }
    walk.sum += sumOfArray(field, value.data(), 1);
}

enum class Kind : std::uint8_t { image, custom };

void takeDirectory(Walk& walk, Kind kind) {
    if (kind == Kind::image) {
        for (const std::uint32_t tag : kOwnTags) {
            takeTag(walk, tag);
        }
    }
    const int listed = TIFFGetTagListCount(walk.file);
    for (int i = 0; i < listed; ++i) {
        takeTag(walk, TIFFGetTagListEntry(walk.file, i));
    }
}

void takeNested(Walk& walk) {
    while (!walk.pending.empty()) {
        const Pointer pointer = walk.pending.back();
        walk.pending.pop_back();
        if (pointer.tag == TIFFTAG_EXIFIFD) {
            if (TIFFReadEXIFDirectory(walk.file, pointer.offset) != 0) {
                takeDirectory(walk, Kind::custom);
            }
        } else if (pointer.tag == TIFFTAG_GPSIFD) {
            if (TIFFReadGPSDirectory(walk.file, pointer.offset) != 0) {
                takeDirectory(walk, Kind::custom);
            }
        } else if (TIFFSetSubDirectory(walk.file, pointer.offset) != 0) {
            takeDirectory(walk, Kind::image);
        }
    }
}

double take(const char* path) {
    TIFF* file = TIFFOpen(path, "r");
    if (file == nullptr) {
        return 0;
    }
    Walk walk{file, {}, 0};
    do {
        takeDirectory(walk, Kind::image);
    } while (TIFFReadDirectory(file) != 0);
    takeNested(walk);
    TIFFClose(file);
    return walk.sum;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    TIFFSetWarningHandler(nullptr);
    TIFFSetErrorHandler(nullptr);
    const bool call = argumentCount > 1 && std::string_view(arguments[1]) == "--call";
    volatile double sum = 0;
    const auto takeAll = [&] {
        double total = 0;
        for (int i = call ? 2 : 1; i < argumentCount; ++i) {
            total += take(arguments[i]);
        }
        sum = total;
    };
    if (call) {
        bench::reportCalls(1, takeAll);
    } else {
        takeAll();
        std::printf("%.17g\n", static_cast<double>(sum));
    }
    return 0;
}
