// Writes the archive that docs/cookbook.md asks its questions about: photographs, scans, microscope
// and satellite images, and a folder of damaged files. Every byte and time of it is fixed.
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
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

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

/// An image of one strip, whose pixels lie nowhere: nobody reads them.
struct Image {
    std::int64_t width;
    std::int64_t height;
    std::int64_t samples = 1;
    std::int64_t bits = 8;
    std::int64_t compression = 1;
    std::int64_t kind = 0;  ///< NewSubFileType
};

Directory image(const Image& what) {
    const std::int64_t photometric = what.samples == 3 ? 2 : 1;
    const std::vector<std::int64_t> bits(static_cast<std::size_t>(what.samples), what.bits);
    const std::int64_t bytes = what.width * what.height * what.samples * what.bits / 8;
    return Directory{fixture::longs(254, {what.kind}),
                     fixture::longs(256, {what.width}),
                     fixture::longs(257, {what.height}),
                     fixture::shorts(258, bits),
                     fixture::shorts(259, {what.compression}),
                     fixture::shorts(262, {photometric}),
                     fixture::longs(273, {8}),
                     fixture::shorts(277, {what.samples}),
                     fixture::longs(278, {what.height}),
                     fixture::longs(279, {bytes})};
}

constexpr std::int64_t kNone = 1, kGroup4 = 4, kLzw = 5, kJpeg = 7, kDeflate = 8;

struct Angle {
    std::int64_t degrees, minutes, hundredths;
};

struct Photo {
    const char* file;
    const char* make;
    const char* model;
    const char* taken;
    std::int64_t exposure;  ///< one part in so many of a second; 0: four seconds
    std::int64_t aperture;  ///< tenths
    std::int64_t speed;
    std::int64_t focalLength;
    Angle latitude, longitude;  ///< north and west; all 0: no position
    std::int64_t altitude;
};

// clang-format off
constexpr std::array kPhotos{
    Photo{"photos/2023/heron.jpg",      "Example Optics", "Trail 2",   "2023:05:06 06:12:44", 500,  56, 400,  300, {51, 30, 1212}, {2, 14, 4200}, 12},
    Photo{"photos/2023/heron_2.jpg",    "Example Optics", "Trail 2",   "2023:05:06 06:12:44", 500,  56, 400,  300, {51, 30, 1212}, {2, 14, 4200}, 12},
    Photo{"photos/2023/marsh.jpg",      "Example Optics", "Trail 2",   "2023:05:06 06:58:02", 250,  80, 100,  35,  {51, 30, 3000}, {2, 14, 1500}, 9},
    Photo{"photos/2023/night_sky.jpg",  "Norden",         "Field One", "2023:08:12 23:41:10", 0,    28, 3200, 14,  {0, 0, 0},      {0, 0, 0},     0},
    Photo{"photos/2024/quarry.jpg",     "Norden",         "Field One", "2024:03:02 11:20:31", 320,  80, 200,  50,  {50, 45, 2100}, {3, 1, 900},   230},
    Photo{"photos/2024/quarry_air.jpg", "Example Optics", "Kite",      "2024:03:02 11:36:05", 1000, 28, 100,  24,  {50, 45, 2480}, {3, 1, 1120},  318},
    Photo{"photos/2024/workshop.jpg",   "Norden",         "Field One", "2024:06:21 17:05:59", 60,   40, 1600, 50,  {0, 0, 0},      {0, 0, 0},     0},
};
// clang-format on

Bytes photo(const Photo& what) {
    const std::vector<std::int64_t> exposure = what.exposure == 0
                                                   ? std::vector<std::int64_t>{4, 1}
                                                   : std::vector<std::int64_t>{1, what.exposure};
    Directory directory{
        text(271, what.make), text(272, what.model), fixture::shorts(274, {1}),
        text(306, what.taken),
        fixture::pointer(
            34665, {{Directory{rational(33434, exposure), rational(33437, {what.aperture, 10}),
                               fixture::shorts(34855, {what.speed}), text(36867, what.taken),
                               rational(37386, {what.focalLength, 1})}}})};
    const auto angle = [](std::uint16_t tag, const Angle& value) {
        return rational(tag, {value.degrees, 1, value.minutes, 1, value.hundredths, 100});
    };
    if (what.latitude.degrees != 0) {
        directory.entries.push_back(fixture::pointer(
            34853, {{Directory{text(1, "N"), angle(2, what.latitude), text(3, "W"),
                               angle(4, what.longitude), rational(6, {what.altitude, 1})}}}));
    }
    return TiffBuilder({Layout::classic, ByteOrder::little}).add(directory).buildInJpeg().bytes;
}

Bytes tiff(ByteOrder byteOrder, const std::vector<Directory>& directories,
           Layout layout = Layout::classic) {
    TiffBuilder builder({layout, byteOrder});
    for (const Directory& directory : directories) {
        builder.add(directory);
    }
    return builder.build().bytes;
}

Directory page(std::int64_t number, std::int64_t pages, std::int64_t compression) {
    return with(image({1654, 2339, 1, 1, compression, 2}),
                {rational(282, {200, 1}), rational(283, {200, 1}), fixture::shorts(296, {2}),
                 fixture::shorts(297, {number, pages})});
}

Directory scan(const Image& what, std::int64_t resolution, std::string_view software) {
    return with(image(what),
                {text(271, "Example Optics"), text(272, "Flatbed 1"),
                 rational(282, {resolution, 1}), rational(283, {resolution, 1}),
                 fixture::shorts(296, {2}), text(305, software), text(306, "2022:11:30 14:05:00")});
}

/// A slide with smaller copies of itself in SubIFDs.
Bytes slide() {
    const Directory half = image({12000, 9000, 3, 8, kJpeg, 1});
    const Directory quarter = image({6000, 4500, 3, 8, kJpeg, 1});
    return tiff(ByteOrder::little,
                {with(image({24000, 18000, 3, 8, kJpeg}),
                      {text(270, "Kidney, H&E, 20x"), text(305, "SlideMaker 4.1"),
                       fixture::pointer(330, {{half}, {quarter}}, fixture::kIfd)})},
                Layout::big);
}

/// A series of images with a private tag in each: the height of the stage.
Bytes series() {
    std::vector<Directory> directories;
    constexpr std::int64_t kHeights = 4;
    directories.reserve(kHeights);
    for (std::int64_t index = 0; index < kHeights; ++index) {
        directories.push_back(
            with(image({2048, 2048, 1, 16}),
                 {text(305, "SlideMaker 4.1"), fixture::longs(65001, {1500 + 25 * index}),
                  text(65002, "channel 2")}));
    }
    return tiff(ByteOrder::little, directories, Layout::big);
}

Bytes scene(std::string_view name, double pixelSize, double east, double north) {
    return tiff(ByteOrder::big,
                {with(image({7800, 7800, 1, 16, kDeflate}),
                      {text(270, name), fixture::doubles(33550, {pixelSize, pixelSize, 0}),
                       fixture::doubles(33922, {0, 0, 0, east, north, 0}), text(42113, "-9999")})});
}

struct File {
    const char* path;
    Bytes bytes;
};

std::vector<File> files() {
    std::vector<File> all;
    for (const Photo& each : kPhotos) {
        all.push_back({each.file, photo(each)});
    }
    all.push_back(
        {"scans/letters.tif",
         tiff(ByteOrder::big, {page(0, 3, kGroup4), page(1, 3, kGroup4), page(2, 3, kGroup4)})});
    all.push_back(
        {"scans/report.tif", tiff(ByteOrder::little, {page(0, 2, kGroup4), page(1, 2, kLzw)})});
    all.push_back({"scans/map.tif",
                   tiff(ByteOrder::little, {scan({9921, 7016, 3, 8, kLzw}, 600, "ScanDesk 2.0")})});
    all.push_back(
        {"scans/negative.tif",
         tiff(ByteOrder::little, {scan({5400, 3600, 3, 16, kDeflate}, 2400, "ScanDesk 3.1"),
                                  image({180, 120, 3, 8, kNone, 1})})});
    all.push_back({"science/slide.tif", slide()});
    all.push_back({"science/series.tif", series()});
    all.push_back({"science/scene_b4.tif", scene("Band 4, red", 30, 399960, 5700000)});
    all.push_back({"science/scene_b8.tif", scene("Band 8, panchromatic", 15, 399960, 5700000)});

    const Directory sound = scan({800, 600}, 300, "ScanDesk 2.0");
    const Bytes twoPages = tiff(ByteOrder::little, {sound, sound});
    all.push_back({"incoming/cut_end.tif", fixture::truncated(twoPages, twoPages.size() - 40)});
    all.push_back({"incoming/cut_start.tif", fixture::truncated(twoPages, 6)});
    all.push_back({"incoming/bad_maker.tif",
                   tiff(ByteOrder::little,
                        {with(image({800, 600}),
                              {text(271, "Norden scanners").withValueField(0x7FFFFFF0)})})});
    all.push_back({"incoming/no_resolution.tif",
                   tiff(ByteOrder::big, {with(image({640, 480}), {rational(282, {300, 0}),
                                                                  rational(283, {300, 0})})})});
    all.push_back(
        {"incoming/lost_chain.tif", tiff(ByteOrder::little, {sound.withNext(0x01000000)})});
    all.push_back({"incoming/header_only.tif", {0x49, 0x49, 42, 0, 8, 0, 0, 0}});
    all.push_back({"incoming/download.tif", {'<', 'h', 't', 'm', 'l', '>', '4', '0', '4', '\n'}});
    all.push_back({"incoming/notes.txt", {'t', 'o', ' ', 'd', 'o', '\n'}});
    return all;
}

void write(const std::filesystem::path& path, const Bytes& bytes, std::time_t time) {
    std::filesystem::create_directories(path.parent_path());
    fixture::writeFile(path, bytes);
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
            write(std::filesystem::path(arguments[1]) / file.path, file.bytes, time);
            time += kDay;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ifdsweep_make_archive: %s\n", error.what());
        return 1;
    }
    return 0;
}
