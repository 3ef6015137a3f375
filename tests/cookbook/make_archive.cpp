// Writes the archive that docs/cookbook.md asks its questions about: photographs of cameras and of
// a phone, scans, microscope and satellite images, and a folder of damaged files. Every byte and
// time of it is fixed.
//
// Usage: ifdsweep_make_archive FOLDER    (an existing, empty one)

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include "support/box_builder.h"
#include "support/chunk_builder.h"
#include "support/tiff_builder.h"
#include "support/whole_file.h"

namespace {

using fixture::ByteOrder;
using fixture::Bytes;
using fixture::Chain;
using fixture::Directory;
using fixture::Entry;
using fixture::Layout;
using fixture::TiffBuilder;

/// A text with its terminator.
Entry text(std::uint16_t tag, std::string_view words) {
    return fixture::ascii(tag, std::string(words) + '\0');
}

Entry rational(std::uint16_t tag, const std::vector<std::int64_t>& numeratorsAndDenominators) {
    return fixture::numbers(tag, fixture::kRational, numeratorsAndDenominators);
}

/// A directory with more entries, in ascending order as TIFF 6.0 wants them.
Directory with(Directory directory, std::initializer_list<Entry> more) {
    directory.entries.insert(directory.entries.end(), more);
    std::stable_sort(directory.entries.begin(), directory.entries.end(),
                     [](const Entry& left, const Entry& right) { return left.tag < right.tag; });
    return directory;
}

/// The image data of a file: behind its directories.
class Pixels {
public:
    /// Where the next image data of so many bytes begin.
    std::int64_t take(std::int64_t bytes) {
        end += bytes;
        return end - bytes;
    }
    [[nodiscard]] std::uint64_t fileSize() const { return static_cast<std::uint64_t>(end); }

    static constexpr std::int64_t kBegin = 65536;

private:
    std::int64_t end = kBegin + 4;  // behind the smallest JPEG stream, which all tiles share
};

constexpr std::int64_t kNone = 1, kGroup4 = 4, kLzw = 5, kJpeg = 7, kDeflate = 8;

struct Image {
    std::int64_t width;
    std::int64_t height;
    std::int64_t samples = 1;
    std::int64_t bits = 8;
    std::int64_t compression = kNone;
    std::int64_t kind = 0;  ///< NewSubFileType
};

/// What an image of strips and one of tiles have in common.
Directory described(const Image& what) {
    const std::int64_t photometric = what.samples == 3 ? 2 : what.bits == 1 ? 0 : 1;
    const std::vector<std::int64_t> bits(static_cast<std::size_t>(what.samples), what.bits);
    return Directory{fixture::longs(254, {what.kind}),         fixture::longs(256, {what.width}),
                     fixture::longs(257, {what.height}),       fixture::shorts(258, bits),
                     fixture::shorts(259, {what.compression}), fixture::shorts(262, {photometric}),
                     fixture::shorts(277, {what.samples})};
}

/// An image of one strip. Compressed data are as long as a tenth of the image.
Directory image(Pixels& pixels, const Image& what) {
    const std::int64_t plain = (what.width * what.samples * what.bits + 7) / 8 * what.height;
    const std::int64_t bytes = what.compression == kNone ? plain : plain / 10;
    return with(described(what),
                {fixture::longs(273, {pixels.take(bytes)}), fixture::longs(278, {what.height}),
                 fixture::longs(279, {bytes})});
}

/// An image of JPEG tiles.
Directory tiled(const Image& what) {
    constexpr std::int64_t kSide = 2048;
    const auto along = [](std::int64_t length) { return (length + kSide - 1) / kSide; };
    const auto tiles = static_cast<std::size_t>(along(what.width) * along(what.height));
    return with(described(what), {fixture::longs(322, {kSide}), fixture::longs(323, {kSide}),
                                  fixture::longs(324, std::vector(tiles, Pixels::kBegin)),
                                  fixture::longs(325, std::vector<std::int64_t>(tiles, 4))});
}

struct Angle {
    std::int64_t degrees, minutes, hundredths;
};

struct Photo {
    const char* file;
    const char* make;
    const char* model;
    const char* lens;
    const char* artist;  ///< empty: none
    const char* taken;
    std::int64_t exposure;  ///< one part in so many of a second; 0: four seconds
    std::int64_t aperture;  ///< tenths
    std::int64_t speed;
    std::int64_t focalLength;
    std::int64_t flash;
    std::int64_t orientation;
    Angle latitude, longitude;  ///< north and west; all 0: no position
    std::int64_t altitude;
};

// clang-format off
constexpr std::array kPhotos{
    Photo{"photos/2023/heron.jpg",      "Example Optics", "Trail 2",   "Tele 300 f/5.6", "R. Moor", "2023:05:06 06:12:44", 500,  56, 400,  300, 16, 1, {51, 30, 1212}, {2, 14, 4200}, 12},
    Photo{"photos/2023/heron_2.jpg",    "Example Optics", "Trail 2",   "Tele 300 f/5.6", "R. Moor", "2023:05:06 06:12:44", 500,  56, 400,  300, 16, 1, {51, 30, 1212}, {2, 14, 4200}, 12},
    Photo{"photos/2023/marsh.jpg",      "Example Optics", "Trail 2",   "Wide 35 f/2",    "R. Moor", "2023:05:06 06:58:02", 250,  80, 100,  35,  16, 1, {51, 30, 3000}, {2, 14, 1500}, 9},
    Photo{"photos/2023/night_sky.jpg",  "Norden",         "Field One", "Wide 14 f/2.8",  "",        "2023:08:12 23:41:10", 0,    28, 3200, 14,  16, 1, {0, 0, 0},      {0, 0, 0},     0},
    Photo{"photos/2024/quarry.jpg",     "Norden",         "Field One", "Standard 50",    "A. Tarn", "2024:03:02 11:20:31", 320,  80, 200,  50,  16, 8, {50, 45, 2100}, {3, 1, 900},   230},
    Photo{"photos/2024/quarry_air.jpg", "Example Optics", "Kite",      "",               "A. Tarn", "2024:03:02 11:36:05", 1000, 28, 100,  24,  32, 1, {50, 45, 2480}, {3, 1, 1120},  318},
    Photo{"photos/2024/workshop.jpg",   "Norden",         "Field One", "Standard 50",    "",        "2024:06:21 17:05:59", 60,   40, 1600, 50,  25, 8, {0, 0, 0},      {0, 0, 0},     0},
};

/// The last two are in one file.
constexpr std::array kPhonePhotos{
    Photo{"phone/2024/harbour.heic", "Ravensby", "Seven", "", "",        "2024:07:14 20:41:07", 120,  18, 64,  6, 16, 1, {50, 21, 540}, {4, 8, 3000}, 3},
    Photo{"phone/2024/ferry.png",    "Ravensby", "Seven", "", "",        "2024:07:15 09:02:51", 1250, 18, 50,  6, 16, 1, {0, 0, 0},     {0, 0, 0},    0},
    Photo{"phone/2024/pier.webp",    "Norden",   "Field One", "Standard 50", "", "2024:07:15 10:30:00", 640, 80, 200, 50, 16, 1, {0, 0, 0}, {0, 0, 0}, 0},
    Photo{"phone/2024/gulls.heic",   "Ravensby", "Seven", "", "",        "2024:07:15 11:17:20", 2000, 18, 50,  6, 16, 1, {0, 0, 0},     {0, 0, 0},    0},
    Photo{"phone/2024/gulls.heic",   "Ravensby", "Seven", "", "",        "2024:07:15 11:17:21", 1600, 18, 50,  6, 16, 1, {0, 0, 0},     {0, 0, 0},    0},
};
// clang-format on

/// The Exif directory of a photograph.
Directory exposureOf(const Photo& what) {
    const std::vector<std::int64_t> exposure = what.exposure == 0
                                                   ? std::vector<std::int64_t>{4, 1}
                                                   : std::vector<std::int64_t>{1, what.exposure};
    Directory directory{rational(33434, exposure),
                        rational(33437, {what.aperture, 10}),
                        fixture::shorts(34855, {what.speed}),
                        text(36867, what.taken),
                        fixture::shorts(37385, {what.flash}),
                        rational(37386, {what.focalLength, 1}),
                        fixture::longs(40962, {6000}),
                        fixture::longs(40963, {4000})};
    return *what.lens == 0 ? directory : with(directory, {text(42036, what.lens)});
}

/// What a photograph tells, as a TIFF stream to be built.
TiffBuilder exifOf(const Photo& what) {
    Directory directory{text(271, what.make), text(272, what.model),
                        fixture::shorts(274, {what.orientation}), text(306, what.taken),
                        fixture::pointer(34665, {{exposureOf(what)}})};
    if (*what.artist != 0) {
        directory = with(directory, {text(315, what.artist)});
    }
    const auto angle = [](std::uint16_t tag, const Angle& value) {
        return rational(tag, {value.degrees, 1, value.minutes, 1, value.hundredths, 100});
    };
    if (what.latitude.degrees != 0) {
        directory.entries.push_back(fixture::pointer(
            34853, {{Directory{text(1, "N"), angle(2, what.latitude), text(3, "W"),
                               angle(4, what.longitude), rational(6, {what.altitude, 1})}}}));
    }
    TiffBuilder builder({Layout::classic, ByteOrder::little});
    builder.add(directory);
    return builder;
}

/// A photograph: its Exif segment, and the shortest image data that a JPEG file can have.
Bytes photo(const Photo& what) {
    Bytes bytes = exifOf(what).buildInJpeg().bytes;
    constexpr std::array<std::uint8_t, 25> kImage{
        0xFF, 0xC0, 0, 11, 8, 0x0F, 0xA0, 0x17, 0x70, 1, 1,    0x11,
        0,  // 6000 x 4000, one component
        0xFF, 0xDA, 0, 8,  1, 1,    0,    0,    63,   0, 0x55, 0x55};
    bytes.insert(bytes.end() - 2, kImage.begin(), kImage.end());
    return bytes;
}

/// The Exif items of a HEIF file, one for each of its pictures, whose pixels it lacks.
Bytes heic(const std::vector<Photo>& pictures) {
    std::vector<fixture::ItemInfo> items;
    std::vector<fixture::ItemReference> references;
    std::vector<fixture::ItemLocation> locations;
    Bytes data;
    for (const Photo& each : pictures) {
        const auto picture = static_cast<std::uint32_t>(items.size() + 1);
        const std::uint32_t exif = picture + 1;
        items.push_back({.id = picture, .type = "hvc1"});
        items.push_back({.id = exif});
        references.push_back({.from = exif, .to = {picture}});
        const Bytes block = fixture::joined({fixture::bigEndian(4, 6), fixture::bytesOf("Exif"),
                                             fixture::bigEndian(2, 0), exifOf(each).build().bytes});
        locations.push_back({.id = exif, .extents = {{data.size(), block.size()}}});
        data.insert(data.end(), block.begin(), block.end());
    }
    const Bytes type = fixture::fileTypeBox("heic", {"mif1"});
    const auto described = [&] {
        return fixture::metaBox(fixture::joined(
            {fixture::primaryItemBox(1), fixture::itemInfosBox(0, items),
             fixture::itemReferencesBox(0, references), fixture::itemLocationsBox({}, locations)}));
    };
    const std::size_t begin = type.size() + described().size() + fixture::box("mdat", {}).size();
    for (fixture::ItemLocation& each : locations) {
        each.baseOffset = begin;
    }
    return fixture::joined({type, described(), fixture::box("mdat", data)});
}

Bytes png(const Photo& what) {
    return fixture::pngFile({fixture::pngChunk("eXIf", exifOf(what).build().bytes),
                             fixture::pngChunk("IDAT", {}), fixture::pngChunk("IEND", {})});
}

Bytes webp(const Photo& what) {
    return fixture::webpFile({fixture::riffChunk("VP8X", Bytes(10)), fixture::riffChunk("VP8 ", {}),
                              fixture::riffChunk("EXIF", exifOf(what).build().bytes)});
}

struct File {
    const char* path;
    Bytes bytes;
    std::uint64_t size = 0;  ///< of the file, which ends with image data of zeros; 0: as it is
};

File tiff(const char* path, const Pixels& pixels, ByteOrder byteOrder,
          const std::vector<Directory>& directories, Layout layout = Layout::classic) {
    TiffBuilder builder({layout, byteOrder});
    for (const Directory& directory : directories) {
        builder.add(directory);
    }
    Bytes bytes = builder.build().bytes;
    if (bytes.size() > Pixels::kBegin) {
        throw std::logic_error(std::string(path) + " has no room for its directories");
    }
    bytes.resize(Pixels::kBegin);
    bytes.insert(bytes.end(), {0xFF, 0xD8, 0xFF, 0xD9});
    return {path, std::move(bytes), pixels.fileSize()};
}

Directory page(Pixels& pixels, std::int64_t number, std::int64_t pages, std::int64_t compression) {
    return with(image(pixels, {1654, 2339, 1, 1, compression, 2}),
                {rational(282, {200, 1}), rational(283, {200, 1}), fixture::shorts(296, {2}),
                 fixture::shorts(297, {number, pages})});
}

File document(const char* path, ByteOrder byteOrder,
              const std::vector<std::int64_t>& compressions) {
    Pixels pixels;
    std::vector<Directory> pages;
    pages.reserve(compressions.size());
    for (const std::int64_t compression : compressions) {
        pages.push_back(page(pixels, static_cast<std::int64_t>(pages.size()),
                             static_cast<std::int64_t>(compressions.size()), compression));
    }
    return tiff(path, pixels, byteOrder, pages);
}

Directory scan(Pixels& pixels, const Image& what, std::int64_t resolution,
               std::string_view software) {
    return with(image(pixels, what),
                {text(271, "Example Optics"), text(272, "Flatbed 1"),
                 rational(282, {resolution, 1}), rational(283, {resolution, 1}),
                 fixture::shorts(296, {2}), text(305, software), text(306, "2022:11:30 14:05:00")});
}

File map() {
    Pixels pixels;
    return tiff("scans/map.tif", pixels, ByteOrder::little,
                {scan(pixels, {9921, 7016, 3, 8, kLzw}, 600, "ScanDesk 2.0")});
}

File negative() {
    Pixels pixels;
    const Directory whole = scan(pixels, {5400, 3600, 3, 16, kDeflate}, 2400, "ScanDesk 3.1");
    const Directory small = image(pixels, {180, 120, 3, 8, kNone, 1});
    return tiff("scans/negative.tif", pixels, ByteOrder::little, {whole, small});
}

/// A slide with smaller copies of itself in SubIFDs; pixels of half a micrometre.
File slide() {
    return tiff(
        "science/slide.tif", {}, ByteOrder::little,
        {with(tiled({24000, 18000, 3, 8, kJpeg}),
              {text(270, "Kidney, H&E, 20x"), rational(282, {20000, 1}), rational(283, {20000, 1}),
               fixture::shorts(296, {3}), text(305, "SlideMaker 4.1"),
               fixture::pointer(
                   330,
                   {{tiled({12000, 9000, 3, 8, kJpeg, 1})}, {tiled({6000, 4500, 3, 8, kJpeg, 1})}},
                   fixture::kIfd)})},
        Layout::big);
}

constexpr std::string_view kOme =
    R"(<?xml version="1.0" encoding="UTF-8"?><OME xmlns="http://www.openmicroscopy.org/Schemas/OME/)"
    R"(2016-06"><Image ID="Image:0" Name="channel 2"><Pixels DimensionOrder="XYZCT" SizeX="2048" )"
    R"(SizeY="2048" SizeZ="4" SizeC="1" SizeT="1" PhysicalSizeX="0.325" PhysicalSizeXUnit="um" )"
    R"(Type="uint16"/></Image></OME>)";

/// A series of planes of one size, with a private tag in each: the height of the stage.
File series(const char* path) {
    Pixels pixels;
    std::vector<Directory> directories;
    constexpr std::int64_t kPlanes = 4;
    directories.reserve(kPlanes);
    for (std::int64_t index = 0; index < kPlanes; ++index) {
        directories.push_back(
            with(image(pixels, {2048, 2048, 1, 16}),
                 {text(305, "SlideMaker 4.1"), fixture::shorts(339, {1}),
                  fixture::longs(65001, {1500 + 25 * index}), text(65002, "channel 2")}));
    }
    directories[0] = with(directories[0], {text(270, kOme)});
    return tiff(path, pixels, ByteOrder::little, directories, Layout::big);
}

/// A stack of many planes that differ in nothing but their place.
File stack(const char* path) {
    Pixels pixels;
    std::vector<Directory> planes;
    constexpr std::size_t kPlanes = 120;
    while (planes.size() < kPlanes) {
        const auto number = static_cast<std::int64_t>(planes.size());
        planes.push_back(
            with(image(pixels, {512, 512, 1, 8, kLzw}),
                 {fixture::shorts(297, {number, kPlanes}), text(305, "SlideMaker 4.1")}));
    }
    return tiff(path, pixels, ByteOrder::little, planes);
}

File scene(const char* path, std::string_view name, double pixelSize, double east, double north) {
    Pixels pixels;
    return tiff(path, pixels, ByteOrder::big,
                {with(image(pixels, {7800, 7800, 1, 16, kDeflate}),
                      {text(270, name), fixture::doubles(33550, {pixelSize, pixelSize, 0}),
                       fixture::doubles(33922, {0, 0, 0, east, north, 0}), text(42113, "-9999")})});
}

/// Files that came damaged, and some that are no images.
std::vector<File> incoming() {
    Pixels pixels;
    const Directory first = scan(pixels, {800, 600}, 300, "ScanDesk 2.0");
    const Directory second = scan(pixels, {800, 600}, 300, "ScanDesk 2.0");
    const File whole = tiff("", pixels, ByteOrder::little, {first, second});
    const Bytes directories =
        TiffBuilder({Layout::classic, ByteOrder::little}).add(first).add(second).build().bytes;
    Pixels one;
    const Directory plain = image(one, {800, 600});
    const Directory unresolved = with(plain, {rational(282, {300, 0}), rational(283, {300, 0})});
    const Directory badMaker =
        with(plain, {text(271, "Norden scanners").withValueField(0x7FFFFFF0)});
    File cutData = whole;
    cutData.path = "incoming/cut_data.tif";
    cutData.size -= 100'000;
    std::vector<File> all{
        {"incoming/cut_end.tif", fixture::truncated(directories, directories.size() - 40)},
        {"incoming/cut_start.tif", fixture::truncated(directories, 6)},
        cutData,
        tiff("incoming/bad_maker.tif", one, ByteOrder::little, {badMaker}),
        tiff("incoming/no_resolution.tif", one, ByteOrder::big, {unresolved}),
        tiff("incoming/lost_chain.tif", one, ByteOrder::little,
             {scan(one, {800, 600}, 300, "ScanDesk 2.0").withNext(0x01000000)}),
        {"incoming/header_only.tif", {0x49, 0x49, 42, 0, 8, 0, 0, 0}},
        {"incoming/download.tif", {'<', 'h', 't', 'm', 'l', '>', '4', '0', '4', '\n'}},
        {"incoming/notes.txt", {'t', 'o', ' ', 'd', 'o', '\n'}}};
    return all;
}

/// What came from a phone, in the formats of today.
std::vector<File> phone() {
    const auto& [harbour, ferry, pier, gulls, gullsLater] = kPhonePhotos;
    return {{harbour.file, heic({harbour})},
            {ferry.file, png(ferry)},
            {pier.file, webp(pier)},
            {gulls.file, heic({gulls, gullsLater})}};
}

std::vector<File> files() {
    std::vector<File> all;
    all.reserve(kPhotos.size());
    for (const Photo& each : kPhotos) {
        all.push_back({each.file, photo(each)});
    }
    all.push_back(document("scans/letters.tif", ByteOrder::big, {kGroup4, kGroup4, kGroup4}));
    all.push_back(document("scans/report.tif", ByteOrder::little, {kGroup4, kLzw}));
    all.push_back(map());
    all.push_back(negative());
    all.push_back(slide());
    all.push_back(series("science/series.tif"));
    all.push_back(stack("science/stack.tif"));
    all.push_back(scene("science/scene_b4.tif", "Band 4, red", 30, 399960, 5700000));
    all.push_back(scene("science/scene_b8.tif", "Band 8, panchromatic", 15, 399960, 5700000));
    for (File& file : incoming()) {
        all.push_back(std::move(file));
    }
    for (File& file : phone()) {
        all.push_back(std::move(file));
    }
    return all;
}

void write(const std::filesystem::path& path, const File& file, std::time_t time) {
    std::filesystem::create_directories(path.parent_path());
    fixture::writeFile(path, file.bytes);
    if (file.size != 0) {
        std::filesystem::resize_file(path, file.size);
    }
    const timespec times[2] = {{time, 0}, {time, 0}};
    if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
        throw std::runtime_error("cannot set the time of " + path.string());
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fputs("usage: ifdsweep_make_archive FOLDER\n", stderr);
        return 2;
    }
    try {
        constexpr std::time_t kFirstTime = 1718000000;  // 10-Jun-2024 06:13:20 UTC
        constexpr std::time_t kDay = 86400;
        std::time_t time = kFirstTime;
        for (const File& file : files()) {
            write(std::filesystem::path(arguments[1]) / file.path, file, time);
            time += kDay;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ifdsweep_make_archive: %s\n", error.what());
        return 1;
    }
    return 0;
}
