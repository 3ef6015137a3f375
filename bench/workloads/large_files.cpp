#include <algorithm>
#include <array>
#include <fstream>
#include <string>
#include <vector>

#include "support/tiff_stream.h"
#include "workloads/photographs.h"
#include "workloads/workloads.h"

namespace bench {
namespace {

using fixture::FieldType;

// Readers compare the strips of uncompressed images with the file's size; these files hold no image
// data, so their strips are said to be compressed.
constexpr std::uint16_t kLzw = 5;

/// `count` words of an arithmetic sequence.
StreamEntry sequence(std::uint16_t tag, FieldType type, std::size_t width, std::uint64_t count,
                     std::uint64_t first, std::uint64_t step) {
    return {tag, type, count, 0, count * width, [=](ByteWriter& output) {
                for (std::uint64_t i = 0; i < count; ++i) {
                    output.word(width, first + i * step);
                }
            }};
}

StreamEntry textEntry(std::uint16_t tag, const std::string& value) {
    return {tag, fixture::kAscii, value.size() + 1, 0, value.size() + 1, [=](ByteWriter& output) {
                output.bytes({value.c_str(), value.size() + 1});
            }};
}

/// An XMP packet, padded with lines of blanks as packets are that are to be edited in place.
void writePacket(ByteWriter& output, std::uint64_t size) {
    static const std::string kHead =
        "<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?><x:xmpmeta xmlns:x='adobe:ns:meta/'>"
        "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
        "rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/' dc:format='image/tiff'/>"
        "</rdf:RDF></x:xmpmeta>\n";
    static const std::string kTail = "<?xpacket end='w'?>";
    static const std::string kLine = std::string(99, ' ') + '\n';
    output.bytes(kHead);
    std::uint64_t left = size - kHead.size() - kTail.size();
    for (; left >= kLine.size(); left -= kLine.size()) {
        output.bytes(kLine);
    }
    output.bytes(kLine.substr(0, left));
    output.bytes(kTail);
}

/// A rational in the entry itself, as a BigTIFF has room for it.
std::uint64_t inlineRational(std::uint32_t numerator, std::uint32_t denominator) {
    return numerator | (std::uint64_t{denominator} << 32U);
}

/// A directory with its last entry a line of nested SubIFDs, so many levels deep.
fixture::Directory nestedLine(std::size_t number, std::size_t levels) {
    const auto seed = static_cast<std::int64_t>(number % 1000);
    fixture::Directory directory{
        fixture::longs(254, {levels % 2 == 0 ? 0 : 1}),
        fixture::shorts(256, {640 + seed}),
        fixture::shorts(257, {480}),
        fixture::shorts(258, {8}),
        fixture::shorts(259, {kLzw}),
        fixture::shorts(262, {1}),
        fixture::longs(273, {4096}),
        fixture::shorts(277, {1}),
        fixture::longs(279, {307200}),
    };
    if (levels > 0) {
        directory.entries.push_back(fixture::pointer(330, {{nestedLine(number, levels - 1)}}));
    }
    return directory;
}

void writeBytes(const std::filesystem::path& file, const fixture::Bytes& bytes) {
    ByteWriter output(file.string());
    output.bytes(std::string(bytes.begin(), bytes.end()));
    output.finish();
}

}  // namespace

void writeStack(const std::filesystem::path& file, std::size_t directoryCount) {
    TiffStream stream(file.string(), fixture::Layout::big);
    for (std::size_t i = 0; i < directoryCount; ++i) {
        const std::vector<StreamEntry> entries{
            {254, fixture::kLong, 1, 2},
            {256, fixture::kShort, 1, 512},
            {257, fixture::kShort, 1, 512},
            {258, fixture::kShort, 1, 16},
            {259, fixture::kShort, 1, kLzw},
            {262, fixture::kShort, 1, 1},
            textEntry(270, "plane " + std::to_string(1'000'000 + i) + ", channel 2, 40x oil"),
            {273, fixture::kLong8, 1, 524'288 * (i + 1)},
            {277, fixture::kShort, 1, 1},
            {278, fixture::kShort, 1, 512},
            {279, fixture::kLong, 1, 524'288},
            {282, fixture::kRational, 1, inlineRational(1'000'000, 65)},
            {283, fixture::kRational, 1, inlineRational(1'000'000, 65)},
            {318, fixture::kRational, 2, 0, 16,
             [i](ByteWriter& output) {
                 for (const std::uint64_t number : {313 + i % 7, 1000UL, 329UL, 1000UL}) {
                     output.word(4, number);
                 }
             }},
        };
        stream.add(entries, i + 1 < directoryCount ? Next::directory : Next::none);
    }
    stream.finish();
}

void writeSlide(const std::filesystem::path& file, std::size_t tileCount) {
    constexpr std::size_t kLevels = 8;
    constexpr std::size_t kRows = 2000;
    constexpr std::size_t kTileSize = 256;
    TiffStream stream(file.string(), fixture::Layout::big);
    for (std::size_t level = 0; level < kLevels; ++level) {
        const std::uint64_t columns = std::max<std::size_t>((tileCount / kRows) >> level, 1);
        const std::uint64_t tiles = columns * kRows;
        const std::vector<StreamEntry> entries{
            {254, fixture::kLong, 1, level == 0 ? 0U : 1U},
            {256, fixture::kLong, 1, columns * kTileSize},
            {257, fixture::kLong, 1, kRows * kTileSize},
            {258, fixture::kShort, 3, 0x0008'0008'0008U},
            {259, fixture::kShort, 1, kLzw},
            {262, fixture::kShort, 1, 2},
            {277, fixture::kShort, 1, 3},
            {282, fixture::kRational, 1, inlineRational(40'000, 1)},
            {283, fixture::kRational, 1, inlineRational(40'000, 1)},
            {284, fixture::kShort, 1, 1},
            {322, fixture::kShort, 1, kTileSize},
            {323, fixture::kShort, 1, kTileSize},
            sequence(324, fixture::kLong8, 8, tiles, 0x1'0000'0000U, 21'347),
            sequence(325, fixture::kLong, 4, tiles, 9'000, 7),
        };
        stream.add(entries, level + 1 < kLevels ? Next::directory : Next::none);
    }
    stream.finish();
}

void writeBlobs(const std::filesystem::path& file, std::size_t bytesPerPart) {
    const auto blob = [](std::uint16_t tag, FieldType type, std::uint64_t size) {
        return StreamEntry{tag, type, size,
                           0,   size, [size](ByteWriter& output) { output.pattern(size); }};
    };
    const std::uint64_t packetSize = 64 * bytesPerPart;
    TiffStream stream(file.string(), fixture::Layout::classic);
    stream.add({{256, fixture::kShort, 1, 64},
                {257, fixture::kShort, 1, 64},
                {258, fixture::kShort, 1, 8},
                {259, fixture::kShort, 1, 1},
                {262, fixture::kShort, 1, 1},
                {273, fixture::kLong, 1, 8},
                {277, fixture::kShort, 1, 1},
                {279, fixture::kLong, 1, 4096},
                {700, fixture::kByte, packetSize, 0, packetSize,
                 [packetSize](ByteWriter& output) { writePacket(output, packetSize); }},
                blob(37724, fixture::kUndefined, 100 * bytesPerPart),
                blob(60000, fixture::kUndefined, 200 * bytesPerPart)},
               Next::none);
    stream.finish();
}

void writeNested(const std::filesystem::path& file, std::size_t directoryCount) {
    constexpr std::size_t kLevels = 6;
    fixture::TiffBuilder builder({fixture::Layout::classic, fixture::ByteOrder::little});
    for (std::size_t i = 0; i < directoryCount; ++i) {
        builder.add(nestedLine(i, kLevels));
    }
    writeBytes(file, builder.build().bytes);
}

void writeWideDirectory(const std::filesystem::path& file, std::size_t entryCount) {
    struct Known {
        std::uint16_t tag;
        FieldType type;
    };
    // clang-format off
    static constexpr std::array<Known, 16> kKnown{{
        {33434, fixture::kRational}, {33437, fixture::kRational}, {34850, fixture::kShort},
        {34855, fixture::kShort},    {36867, fixture::kAscii},    {37122, fixture::kRational},
        {37378, fixture::kRational}, {37381, fixture::kRational}, {37383, fixture::kShort},
        {37384, fixture::kShort},    {37385, fixture::kShort},    {37386, fixture::kRational},
        {40962, fixture::kLong},     {40963, fixture::kLong},     {41486, fixture::kRational},
        {41986, fixture::kShort},
    }};
    // clang-format on
    const std::size_t knownCount = entryCount / 2;
    TiffStream stream(file.string(), fixture::Layout::big);
    std::vector<StreamEntry> entries;
    for (std::size_t i = 0; i < knownCount; ++i) {
        const Known& known = kKnown[i * kKnown.size() / knownCount];
        const bool isText = known.type == fixture::kAscii;
        entries.push_back({known.tag, known.type, isText ? 8U : 1U,
                           isText ? 0x0031'3230'3231'3032U
                                  : inlineRational(static_cast<std::uint32_t>(i % 60000), 10)});
    }
    // Tags beyond 53,000 carry no name; several entries share one when there are more than fit.
    for (std::size_t i = 0; i < entryCount - knownCount; ++i) {
        const auto tag = static_cast<std::uint16_t>(53000 + i * 12000 / (entryCount - knownCount));
        entries.push_back({tag, i % 2 == 0 ? fixture::kLong8 : fixture::kDouble, 1,
                           i % 2 == 0 ? i * 1'000'003 : 0x4000'0000'0000'0000U + i});
    }
    stream.add(entries, Next::none);
    stream.finish();
}

}  // namespace bench
