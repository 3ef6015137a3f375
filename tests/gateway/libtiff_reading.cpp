#include "gateway/libtiff_reading.h"

#include <algorithm>
#include <cstdarg>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace fixture {
namespace {

struct TiffCloser {
    void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

struct OptionsDeleter {
    void operator()(TIFFOpenOptions* options) const noexcept { TIFFOpenOptionsFree(options); }
};
using OptionsHandle = std::unique_ptr<TIFFOpenOptions, OptionsDeleter>;

/// Warning handler: `isBogus` points to a bool.
int noteBogusByteCounts(TIFF* /*tiff*/, void* isBogus, const char* /*module*/, const char* format,
                        va_list /*arguments*/) {
    if (std::string_view(format).find("Bogus") != std::string_view::npos) {
        *static_cast<bool*>(isBogus) = true;
    }
    return 1;  // said; no other handler is asked
}

/// A file in memory for libtiff to write and read back.
struct MemoryFile {
    Bytes bytes{};
    std::size_t position = 0;
};

MemoryFile& fileOf(thandle_t handle) {
    return *static_cast<MemoryFile*>(handle);
}

tmsize_t readMemory(thandle_t handle, void* out, tmsize_t size) {
    MemoryFile& file = fileOf(handle);
    const std::size_t end =
        std::min(file.bytes.size(), file.position + static_cast<std::size_t>(size));
    const std::size_t begin = std::min(file.position, end);
    std::copy(file.bytes.begin() + static_cast<std::ptrdiff_t>(begin),
              file.bytes.begin() + static_cast<std::ptrdiff_t>(end),
              static_cast<std::uint8_t*>(out));
    file.position = end;
    return static_cast<tmsize_t>(end - begin);
}

tmsize_t writeMemory(thandle_t handle, void* data, tmsize_t size) {
    MemoryFile& file = fileOf(handle);
    const auto* begin = static_cast<const std::uint8_t*>(data);
    file.bytes.resize(std::max(file.bytes.size(), file.position + static_cast<std::size_t>(size)));
    std::copy(begin, begin + size, file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position));
    file.position += static_cast<std::size_t>(size);
    return size;
}

toff_t seekMemory(thandle_t handle, toff_t offset, int origin) {
    MemoryFile& file = fileOf(handle);
    const std::size_t base =
        origin == SEEK_SET ? 0 : (origin == SEEK_CUR ? file.position : file.bytes.size());
    file.position = base + static_cast<std::size_t>(offset);
    return file.position;
}

int closeMemory(thandle_t /*handle*/) {
    return 0;
}

toff_t sizeOfMemory(thandle_t handle) {
    return fileOf(handle).bytes.size();
}

void quiet() {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
}

std::vector<double> blockNumbers(TIFF* tiff, ttag_t tag, std::uint32_t count) {
    std::uint64_t* numbers = nullptr;
    if (TIFFGetField(tiff, tag, &numbers) == 0 || numbers == nullptr) {
        return {};
    }
    std::vector<double> list;
    for (std::uint32_t i = 0; i < count; ++i) {
        list.push_back(static_cast<double>(numbers[i]));
    }
    return list;
}

/// The numbers of the current directory.
Baseline baselineOf(TIFF* tiff) {
    Baseline baseline;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &baseline.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &baseline.height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &baseline.bitsPerSample);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &baseline.compression);
    baseline.isTiled = TIFFIsTiled(tiff) != 0;
    const std::uint32_t blocks =
        baseline.isTiled ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    baseline.blockOffsets =
        blockNumbers(tiff, baseline.isTiled ? TIFFTAG_TILEOFFSETS : TIFFTAG_STRIPOFFSETS, blocks);
    baseline.blockByteCounts = blockNumbers(
        tiff, baseline.isTiled ? TIFFTAG_TILEBYTECOUNTS : TIFFTAG_STRIPBYTECOUNTS, blocks);
    return baseline;
}

}  // namespace

std::vector<std::optional<Baseline>> readBaseline(const std::string& path) {
    quiet();
    bool isBogus = false;
    const OptionsHandle options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), noteBogusByteCounts, &isBogus);
    const TiffHandle tiff(TIFFOpenExt(path.c_str(), "rmc", options.get()));
    std::vector<std::optional<Baseline>> directories;
    if (tiff == nullptr) {
        return directories;
    }
    const tdir_t count = TIFFNumberOfDirectories(tiff.get());
    for (tdir_t index = 0; index < count; ++index) {
        std::optional<Baseline>& directory = directories.emplace_back();
        isBogus = false;
        if (TIFFSetDirectory(tiff.get(), index) != 0) {
            directory = baselineOf(tiff.get());
            directory->hasBogusByteCounts = isBogus;
        }
    }
    return directories;
}

Bytes writeWithLibtiff(const char* mode, const std::function<void(TIFF*)>& write) {
    quiet();
    MemoryFile file;
    {
        const TiffHandle tiff(TIFFClientOpen("memory", mode, &file, readMemory, writeMemory,
                                             seekMemory, closeMemory, sizeOfMemory, nullptr,
                                             nullptr));
        if (tiff == nullptr) {
            throw std::runtime_error("libtiff cannot write in memory");
        }
        write(tiff.get());
    }
    return file.bytes;
}

}  // namespace fixture
