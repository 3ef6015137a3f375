// What it costs to find a stream, beside reading it at a place that is known.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "support/box_builder.h"
#include "support/byte_verbs.h"
#include "support/chunk_builder.h"
#include "support/counted_bytes.h"
#include "support/tags.h"
#include "support/tiff_builder.h"

namespace {

using fixture::Bytes;
using fixture::joined;

/// What a search may add to the reads of a file.
constexpr std::size_t kMostMore = 3;

/// The Exif data of a photograph, with a thumbnail of 8 KiB.
Bytes photograph() {
    using fixture::ascii;
    using fixture::Directory;
    return fixture::TiffBuilder(fixture::Format{})
        .add(Directory{ascii(271, "Maker"),
                       fixture::pointer(fixture::kExif, {{Directory{ascii(36867, "2024:05:06")}}})})
        .add(Directory{ascii(305, std::string(8192, 't'))})
        .build()
        .bytes;
}

/// A file, and where its TIFF header stands.
struct CarrierFile {
    Bytes bytes;
    std::size_t header;
};

/// The data before the image, which is written in many chunks.
CarrierFile ordinaryPng() {
    const Bytes start = fixture::pngFile({fixture::pngChunk("pHYs", Bytes(9))});
    constexpr std::size_t kHead = 8;
    Bytes file = joined({start, fixture::pngChunk("eXIf", photograph())});
    for (int chunk = 0; chunk < 100; ++chunk) {
        file = joined({file, fixture::pngChunk("IDAT", Bytes(8192))});
    }
    return {joined({file, fixture::pngChunk("IEND", {})}), start.size() + kHead};
}

/// The lists at the front, image and Exif data behind them.
CarrierFile ordinaryHeic() {
    const Bytes image(500'000);
    const Bytes item = joined({fixture::bigEndian(4, 0), photograph()});
    const auto fileWith = [&](std::uint64_t position) {
        std::vector<fixture::ItemInfo> items;
        std::vector<fixture::ItemLocation> locations;
        for (std::uint32_t id = 1; id <= 49; ++id) {
            items.push_back({.id = id, .type = "hvc1"});
            locations.push_back({.id = id, .extents = {{position - id, 1}}});
        }
        items.push_back({.id = 50});
        locations.push_back({.id = 50, .extents = {{position, item.size()}}});
        const Bytes meta = fixture::metaBox(joined(
            {fixture::fullBox("hdlr", 0, 0, Bytes(22)), fixture::primaryItemBox(49),
             fixture::itemInfosBox(0, items), fixture::itemReferencesBox(0, {{"cdsc", 50, {49}}}),
             fixture::box("iprp", Bytes(2000)), fixture::itemLocationsBox({}, locations)}));
        return joined({fixture::fileTypeBox("heic", {"mif1", "heic"}), meta,
                       fixture::box("mdat", joined({image, item}))});
    };
    const std::size_t position = fileWith(0x10000).size() - item.size();
    return {fileWith(position), position + 4};
}

/// The reads that a file takes; its one stream must be whole.
std::size_t readsOf(const Bytes& bytes, const ifdsweep::ReadOptions& options) {
    const auto source = std::make_shared<fixture::CountedBytes>(bytes);
    ifdsweep::Host host;
    host.serve("a", source);
    const ifdsweep::Outcome outcome = ifdsweep::read(host, "a", options);
    EXPECT_FALSE(outcome.error);
    EXPECT_TRUE(outcome.warnings.empty());
    return source->reads;
}

TEST(SearchCosts, AreThreeReadsAtMostOfOrdinaryFiles) {
    const std::pair<const char*, CarrierFile> files[] = {{"PNG", ordinaryPng()},
                                                         {"HEIC", ordinaryHeic()}};
    for (const auto& [name, file] : files) {
        const auto header = static_cast<double>(file.header);
        const std::size_t known = readsOf(file.bytes, {.offset = header});
        EXPECT_LE(readsOf(file.bytes, {}), known + kMostMore) << name;
    }
}

}  // namespace
