#include "program_files.h"

#include <fstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

#include "support/tiff_builder.h"

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

Bytes nested() {
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

/// A wrong type, a value past the end and a tag without a name.
Bytes damaged() {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    builder.add(withEntries(
        smallImage(),
        {fixture::numbers(315, fixture::kByte, {65, 66, 0}), fixture::longs(50000, {1, 2, 3}),
         fixture::longs(50001, {1, 2, 3}).withValueField(0x7FFFFFFF)}));
    return builder.build().bytes;
}

void write(const std::filesystem::path& file, const Bytes& bytes) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
    stream.close();
    const timespec time{1700000000, 0};  // 14-Nov-2023 22:13:20 UTC
    const timespec times[2] = {time, time};
    if (!stream || ::utimensat(AT_FDCWD, file.c_str(), times, 0) != 0) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

}  // namespace

void writeAll(const std::filesystem::path& folder) {
    fixture::TiffBuilder small({fixture::Layout::classic, fixture::ByteOrder::little});
    const Bytes smallBytes = small.add(smallImage()).build().bytes;
    write(folder / "small.tif", smallBytes);
    write(folder / "esc\x1b[31m\n\\.tif", smallBytes);
    write(folder / "bytes\xFF.tif", smallBytes);
    write(folder / "[a,b].tif", smallBytes);
    write(folder / "nested.tif", nested());
    write(folder / "photo.jpg", photo());
    write(folder / "damaged.tif", damaged());
    write(folder / "plain.jpg", {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x04, 1, 2, 0xFF, 0xD9});
    write(folder / "broken.jpg", {0xFF, 0xD8, 0xFF, 0xE0, 0x10, 0x00, 1, 2});
    write(folder / "letter.txt", {'D', 'e', 'a', 'r', ' ', 's', 'i', 'r'});
    write(folder / "empty.tif", {});
    std::filesystem::create_directory(folder / "folder");
}

}  // namespace programfiles
