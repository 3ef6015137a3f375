#include "locate/locators.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "locate/tiff_header.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

constexpr std::uint64_t kVersionPosition = 4;
constexpr std::uint64_t kHeaderSize = 26;

/// One image resource.
struct Resource {
    std::uint64_t id;
    std::uint64_t position;  ///< of its signature
    Extent data;
};

/// Goes through the image resources of a section, always forward, in two looks at each.
class Resources {
public:
    Resources(ByteReader& byteReader, Extent section)
        : reader(byteReader), place(section.position), limit(section.position + section.size) {}

    /// The next resource; nothing at the end of the section, or where none stands. One that
    /// reaches beyond the end is given as far as it goes.
    [[nodiscard]] std::optional<Resource> next(Located& located);

    /// Where the walk stands.
    [[nodiscard]] std::uint64_t position() const noexcept { return std::min(place, limit); }

private:
    ByteReader& reader;
    std::uint64_t place;
    std::uint64_t limit;
};

bool isResourceSignature(std::string_view bytes) {
    constexpr std::array kSignatures{"8BIM"sv, "MeSa"sv, "AgHg"sv, "PHUT"sv, "DCSR"sv};
    return std::find(kSignatures.begin(), kSignatures.end(), bytes) != kSignatures.end();
}

/// Names and data are padded to an even size.
constexpr std::uint64_t padded(std::uint64_t size) {
    return size + size % 2;
}

std::optional<Resource> Resources::next(Located& located) {
    if (place >= limit) {
        return std::nullopt;
    }
    constexpr std::size_t kId = 4;
    constexpr std::size_t kName = 6;
    constexpr std::size_t kStart = kName + 1;
    const std::string_view start = reader.textAt(place, kStart);
    if (start.size() < kStart || !isResourceSignature(start.substr(0, kId))) {
        located.damage(place);
        return std::nullopt;
    }
    const auto byteOf = [&](std::size_t index) { return static_cast<std::uint8_t>(start[index]); };
    const std::uint64_t id = std::uint64_t{byteOf(kId)} << 8U | byteOf(kId + 1);
    const std::uint64_t sizePosition = place + kName + padded(1U + byteOf(kName));
    const auto size = reader.bigEndianAt(sizePosition, 4);
    const std::uint64_t data = sizePosition + 4;
    if (!size || data > limit) {
        located.damage(place);
        return std::nullopt;
    }
    const std::uint64_t position = std::exchange(place, data + padded(*size));
    if (*size > limit - data) {
        located.damage(position);
    }
    return Resource{id, position, {data, std::min(*size, limit - data)}};
}

/// A section that begins with its size, by what the file says; nothing where its size is cut off.
std::optional<Extent> sectionAt(ByteReader& reader, std::uint64_t position, Located& located) {
    const auto size = reader.bigEndianAt(position, 4);
    const std::uint64_t begin = position + 4;
    if (!size || begin > reader.size()) {
        located.damage(std::min(position, reader.size()));
        return std::nullopt;
    }
    return Extent{begin, *size};
}

/// The section of image resources, behind header and colours.
std::optional<Extent> resourceSection(ByteReader& reader, Located& located) {
    const std::uint64_t version = reader.bigEndianAt(kVersionPosition, 2).value_or(0);
    if (version != 1 && version != 2) {  // PSD and PSB
        located.damage(std::min(kVersionPosition, reader.size()));
        return std::nullopt;
    }
    const auto colours = sectionAt(reader, kHeaderSize, located);
    return colours ? sectionAt(reader, colours->position + colours->size, located) : std::nullopt;
}

struct ExifResource {
    std::uint64_t id;
    std::string_view name;
    /// Whether others may stand there too: it holds a stream if a TIFF header begins it.
    bool isToldByHeader;
};

constexpr std::array kExifResources{
    ExifResource{1058, "Exif", false},
    ExifResource{1059, "Exif 3", true},
};

/// Adds the streams of resources.
class StreamTaker {
public:
    StreamTaker(ByteReader& byteReader, Located& result) : reader(byteReader), located(result) {}

    void take(const Resource& resource);

private:
    [[nodiscard]] bool holdsStream(const ExifResource& row, const Extent& data) {
        return data.size > 0 && (!row.isToldByHeader ||
                                 (data.size >= kTiffSignatureSize &&
                                  beginsAsTiff(reader.textAt(data.position, kTiffSignatureSize))));
    }

    ByteReader& reader;
    Located& located;
    std::array<bool, kExifResources.size()> isTaken{};  ///< the plain name of each
};

void StreamTaker::take(const Resource& resource) {
    for (std::size_t index = 0; index < kExifResources.size(); ++index) {
        const ExifResource& row = kExifResources[index];
        if (row.id != resource.id || !holdsStream(row, resource.data)) {
            continue;
        }
        std::string name(row.name);
        if (std::exchange(isTaken[index], true)) {
            name += " of resource " + std::to_string(located.pieceCount);
        }
        located.add({.name = std::move(name), .extents = {resource.data}});
    }
}

}  // namespace

Located locateInPsd(ByteReader& reader, SearchDepth /*depth*/) {
    Located located;
    located.endedAt = kVersionPosition;
    const auto section = resourceSection(reader, located);
    if (!section) {
        return located;
    }
    const std::uint64_t there = std::min(section->size, reader.size() - section->position);
    Resources resources(reader, {section->position, there});
    StreamTaker streams(reader, located);
    while (const auto resource = resources.next(located)) {
        ++located.pieceCount;
        streams.take(*resource);
    }
    located.endedAt = resources.position();
    if (there < section->size) {
        located.damage(reader.size());
    }
    return located;
}

}  // namespace ifdsweep
