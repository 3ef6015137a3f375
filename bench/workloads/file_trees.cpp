#include <string>

#include "support/whole_file.h"
#include "workloads/photographs.h"
#include "workloads/workloads.h"

namespace bench {
namespace {

void writeFile(const std::filesystem::path& path, const fixture::Bytes& bytes) {
    std::filesystem::create_directories(path.parent_path());
    fixture::writeFile(path, bytes);
}

/// The place of a file among others: 100 to a folder, folders two deep.
std::filesystem::path placeOf(std::size_t number, const char* suffix) {
    const auto padded = [](std::size_t value) {
        const std::string digits = std::to_string(value);
        return std::string(digits.size() < 4 ? 4 - digits.size() : 0, '0') + digits;
    };
    return std::filesystem::path(padded(number / 1000)) / padded(number / 100) /
           (padded(number) + suffix);
}

}  // namespace

void writeOneFile(const std::filesystem::path& folder) {
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    builder.add(page(1));
    writeFile(folder / "one.tif", builder.build().bytes);
}

void writeFileTree(const std::filesystem::path& folder, std::size_t fileCount) {
    // One file in 112 has a single page, and the entries of the pages average 518,461 / 19,910:
    // 10,000 files then hold the numbers that the header states.
    constexpr std::size_t kSinglePageEvery = 112;
    constexpr std::size_t kPages = 19910;
    constexpr std::size_t kPageEntries = 518461;
    std::size_t pageNumber = 0;
    for (std::size_t number = 0; number < fileCount; ++number) {
        using fixture::ByteOrder;
        using fixture::Layout;
        fixture::TiffBuilder builder({number % 4 < 2 ? Layout::classic : Layout::big,
                                      number % 8 < 4 ? ByteOrder::little : ByteOrder::big});
        const std::size_t pages = number % kSinglePageEvery == 0 ? 1 : 2;
        for (std::size_t i = 0; i < pages; ++i, ++pageNumber) {
            const bool isPhotograph = i == 0 && number % 2 == 0;
            fixture::Directory directory = isPhotograph ? photograph(pageNumber) : page(pageNumber);
            fillWithUnknown(directory, (pageNumber + 1) * kPageEntries / kPages -
                                           pageNumber * kPageEntries / kPages);
            builder.add(directory);
        }
        writeFile(folder / placeOf(number, ".tif"), builder.build().bytes);
    }
}

void writeJpegTree(const std::filesystem::path& folder, std::size_t fileCount) {
    for (std::size_t number = 0; number < fileCount; ++number) {
        fixture::Directory camera = exif(number);
        camera.entries.push_back(fixture::pointer(
            40965, {{fixture::Directory{
                       text(1, "R98"), fixture::ascii(2, "0100").withType(fixture::kUndefined)}}}));
        fixture::Directory first = page(number);
        first.entries.push_back(fixture::pointer(34665, {{camera}}));
        first.entries.push_back(fixture::pointer(34853, {{gps(number)}}));
        const fixture::Directory thumbnail{
            fixture::shorts(259, {6}),
            fixture::numbers(282, fixture::kRational, {72, 1}),
            fixture::numbers(283, fixture::kRational, {72, 1}),
            fixture::shorts(296, {2}),
            fixture::longs(513, {2048}),
            fixture::longs(514, {4096}),
        };
        fixture::TiffBuilder builder({fixture::Layout::classic, number % 2 == 0
                                                                    ? fixture::ByteOrder::little
                                                                    : fixture::ByteOrder::big});
        builder.add(first).add(thumbnail);
        writeFile(folder / placeOf(number, ".jpg"), builder.buildInJpeg().bytes);
    }
}

}  // namespace bench
