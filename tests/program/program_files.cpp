#include "program/program_files.h"

#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

#include "support/tiff_builder.h"
#include "support/whole_file.h"

namespace programfiles {
namespace {

using fixture::Bytes;
using fixture::Directory;

Directory smallImage() {
    return Directory{
        fixture::shorts(256, {4}), fixture::shorts(257, {2}), fixture::shorts(258, {8, 8, 8}),
        fixture::shorts(259, {1}), fixture::shorts(262, {2}), fixture::longs(273, {8}),
        fixture::shorts(277, {3}), fixture::shorts(278, {2}), fixture::longs(279, {24})};
}

Directory withEntries(Directory directory, std::initializer_list<fixture::Entry> more) {
    directory.entries.insert(directory.entries.end(), more);
    return directory;
}

}  // namespace

Bytes nestedImage() {
    fixture::TiffBuilder builder({fixture::Layout::big, fixture::ByteOrder::big});
    builder.add(withEntries(
        smallImage(),
        {fixture::pointer(330, {{smallImage()}}),
         fixture::pointer(
             34665,
             {{Directory{fixture::numbers(33434, fixture::kRational, {1, 60}),
                         fixture::ascii(36867, std::string("2024:05:06 07:08:09\0", 20))}}})}));
    builder.add(smallImage());
    return builder.build().bytes;
}

Bytes photo() {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    builder.add(Directory{fixture::ascii(271, std::string("Caf\xC3\xA9\0", 6)),
                          fixture::ascii(272, std::string("Mod\xE8le\x1b[31m\0", 12))});
    return builder.buildInJpeg().bytes;
}

Bytes damagedImage() {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    builder.add(withEntries(
        smallImage(),
        {fixture::numbers(315, fixture::kByte, {65, 66, 0}), fixture::longs(50000, {1, 2, 3}),
         fixture::longs(50001, {1, 2, 3}).withValueField(0x7FFFFFFF)}));
    return builder.build().bytes;
}

Bytes image(std::uint16_t width) {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    Directory directory = smallImage();
    directory.entries[0] = fixture::shorts(256, {width});
    return builder.add(std::move(directory)).build().bytes;
}

Bytes endlessImage() {
    constexpr std::size_t kLevels = 40;
    constexpr std::size_t kLevelSize = 2 + 12 + 4 + 8;  // one entry and its two offsets
    Bytes bytes{'I', 'I', 42, 0, 8, 0, 0, 0};
    const auto put = [&bytes](std::uint64_t number, int size) {
        for (int byte = 0; byte < size; ++byte) {
            bytes.push_back(static_cast<std::uint8_t>(number >> (8 * byte)));
        }
    };
    for (std::size_t level = 0; level < kLevels; ++level) {
        const std::size_t begin = bytes.size();
        put(1, 2);
        put(330, 2);
        put(fixture::kLong, 2);
        put(2, 4);
        put(begin + 18, 4);
        put(0, 4);
        put(begin + kLevelSize, 4);
        put(begin + kLevelSize, 4);
    }
    put(0, 6);
    return bytes;
}

void writeLarge(const std::filesystem::path& file) {
    constexpr std::uint64_t kCount = 50'000'000;
    constexpr std::uint64_t kPosition = 1000;
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    builder.add(
        Directory{fixture::longs(50000, {1, 2}).withCount(kCount).withValueField(kPosition)});
    write(file, builder.build().bytes);
    std::filesystem::resize_file(file, kPosition + 4 * kCount);
}

void writePair(const std::filesystem::path& folder) {
    write(folder / "a.tif", image(7));
    write(folder / "b.tif", nestedImage());
}

void writeMany(const std::filesystem::path& folder, int count) {
    for (int number = 0; number < count; ++number) {
        std::string name = std::to_string(number);
        name.insert(0, 5 - name.size(), '0');
        const auto file = [&](const char* ending) { return folder / (name + ending); };
        switch (number % 16) {
            case 3:
                write(file(".tif"), nestedImage());
                break;
            case 7:
                write(file(".tif"), damagedImage());
                break;
            case 10:
                write(file(".jpg"), photo());
                break;
            case 13:  // cut off in the first directory
                write(file(".tif"), {'I', 'I', 42, 0, 8, 0, 0, 0, 9, 0, 1});
                break;
            default:
                write(file(".tif"), image(static_cast<std::uint16_t>(number + 1)));
        }
    }
}

void write(const std::filesystem::path& file, const Bytes& bytes) {
    fixture::writeFile(file, bytes);
    const timespec time{1700000000, 0};  // 14-Nov-2023 22:13:20 UTC
    const timespec times[2] = {time, time};
    if (::utimensat(AT_FDCWD, file.c_str(), times, 0) != 0) {
        throw std::runtime_error("cannot set the time of " + file.string());
    }
}

void writeAll(const std::filesystem::path& folder) {
    fixture::TiffBuilder small({fixture::Layout::classic, fixture::ByteOrder::little});
    const Bytes smallBytes = small.add(smallImage()).build().bytes;
    write(folder / "small.tif", smallBytes);
    write(folder / "esc\x1b[31m\n\\.tif", smallBytes);
    write(folder / "bytes\xFF.tif", smallBytes);
    write(folder / "[a,b].tif", smallBytes);
    write(folder / "nested.tif", nestedImage());
    write(folder / "photo.jpg", photo());
    write(folder / "damaged.tif", damagedImage());
    write(folder / "plain.jpg", {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x04, 1, 2, 0xFF, 0xD9});
    write(folder / "broken.jpg", {0xFF, 0xD8, 0xFF, 0xE0, 0x10, 0x00, 1, 2});
    write(folder / "letter.txt", {'D', 'e', 'a', 'r', ' ', 's', 'i', 'r'});
    write(folder / "empty.tif", {});
    std::filesystem::create_directory(folder / "folder");
}

}  // namespace programfiles
