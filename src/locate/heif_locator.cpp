#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "locate/boxes.h"
#include "locate/locators.h"

namespace ifdsweep {
namespace {

// Most extents of one item. Writers that split an item at all split it in two or three.
constexpr std::uint64_t kMostExtents = 4096;

constexpr std::uint32_t kMeta = boxType("meta");
constexpr std::uint32_t kItemInfos = boxType("iinf");
constexpr std::uint32_t kItemInfo = boxType("infe");
constexpr std::uint32_t kItemLocations = boxType("iloc");
constexpr std::uint32_t kItemData = boxType("idat");
constexpr std::uint32_t kPrimaryItem = boxType("pitm");
constexpr std::uint32_t kItemReferences = boxType("iref");
constexpr std::uint32_t kContentDescribes = boxType("cdsc");
constexpr std::uint32_t kMediaData = boxType("mdat");
constexpr std::uint32_t kExif = boxType("Exif");

/// The boxes that lead to others with items: a movie, and in it the tracks.
constexpr std::array kWayToTracks{boxType("moov"), boxType("trak")};

enum ConstructionMethod : std::uint8_t { kInFile = 0, kInItemData = 1 };

/// Numbers that stand one behind the other in a box, of which none is read beyond its end.
class Numbers {
public:
    Numbers(ByteReader& byteReader, const Box& box)
        : reader(byteReader), place(box.content), limit(box.end) {}

    /// The next one of `size` bytes, at most eight; 0 where there is none.
    [[nodiscard]] std::uint64_t next(std::size_t size) {
        const auto number = size <= limit - place ? reader.bigEndianAt(place, size)
                                                  : std::optional<std::uint64_t>();
        skip(size);
        isWhole = isWhole && number;
        return number.value_or(0);
    }

    void skip(std::uint64_t size) {
        isWhole = isWhole && size <= limit - place;
        place += std::min(size, limit - place);
    }

    /// The version of a full box, which stands at its begin together with flags.
    [[nodiscard]] std::uint64_t nextVersion() {
        const std::uint64_t version = next(1);
        skip(3);
        return version;
    }

    /// Whether the box had all that was asked for.
    [[nodiscard]] bool areWhole() const noexcept { return isWhole; }
    [[nodiscard]] std::uint64_t position() const noexcept { return place; }

private:
    ByteReader& reader;
    std::uint64_t place;
    std::uint64_t limit;
    bool isWhole = true;
};

/// What an item's extents count in: the file, or the content of a box.
struct Space {
    std::uint64_t begin;
    std::uint64_t end;
};

/// How the entries of `iloc` are written.
struct LocationForm {
    std::uint64_t version;
    std::size_t offsetSize;
    std::size_t lengthSize;
    std::size_t baseSize;
    std::size_t indexSize;

    [[nodiscard]] bool isKnown() const {
        const std::array sizes{offsetSize, lengthSize, baseSize, indexSize};
        return version <= 2 && std::all_of(sizes.begin(), sizes.end(), [](std::size_t size) {
                   return size == 0 || size == 4 || size == 8;
               });
    }
    [[nodiscard]] std::size_t idSize() const { return version < 2 ? 2 : 4; }
    [[nodiscard]] std::size_t extentSize() const { return indexSize + offsetSize + lengthSize; }
};

LocationForm nextForm(Numbers& numbers) {
    const std::uint64_t version = numbers.nextVersion();
    const auto sizes = static_cast<std::size_t>(numbers.next(2));
    const std::size_t indexSize = version == 0 ? 0 : sizes & 15U;
    return {version, sizes >> 12U, sizes >> 8U & 15U, sizes >> 4U & 15U, indexSize};
}

/// An entry of `iloc`, without its extents.
struct Location {
    std::uint64_t position;
    std::uint64_t id;
    std::uint64_t method;
    std::uint64_t dataReference;
    std::uint64_t base;
    std::uint64_t extentCount;
};

Location nextLocation(Numbers& numbers, const LocationForm& form) {
    const bool hasMethod = form.version > 0;
    return {.position = numbers.position(),
            .id = numbers.next(form.idSize()),
            .method = hasMethod ? numbers.next(2) & 15U : std::uint64_t{kInFile},
            .dataReference = numbers.next(2),
            .base = numbers.next(form.baseSize),
            .extentCount = numbers.next(2)};
}

/// An item of the type Exif.
struct ExifItem {
    std::uint64_t position;  ///< of the box that tells of it
    std::uint64_t rank;      ///< among those of its list
    bool isMain = false;     ///< describes the primary item
    bool isPassed = false;   ///< its entry in `iloc` was read
    std::vector<Extent> extents{};
};

/// The Exif items of one box `meta`.
class MetaSearch {
public:
    MetaSearch(ByteReader& byteReader, Located& result) : reader(byteReader), located(result) {}

    /// @param nameEnd what the names of its streams end with
    void search(const Box& meta, const std::string& nameEnd);

private:
    void noteBox(const Box& box);
    void readItems(const Box& box);
    void readItem(const Box& box);
    void readLocations(const Box& box);
    void readExtents(Numbers& numbers, const LocationForm& form, const Location& location,
                     ExifItem& item);
    void addExtent(const Space& space, std::uint64_t base, const Extent& stated,
                   const Location& location, ExifItem& item);
    [[nodiscard]] std::optional<Space> spaceOf(std::uint64_t method) const;
    void readReferences(const Box& box, std::uint64_t primaryItem);
    void addStreams(const std::string& nameEnd);

    ByteReader& reader;
    Located& located;
    std::map<std::uint64_t, ExifItem> items;  ///< by id
    std::uint64_t itemsLeftOut = 0;           ///< beyond those that are told of
    std::optional<Box> locations{};
    std::optional<Box> itemData{};
    std::optional<Box> references{};
    std::optional<std::uint64_t> primary{};
};

void MetaSearch::search(const Box& meta, const std::string& nameEnd) {
    Numbers numbers(reader, meta);
    numbers.skip(4);  // version and flags
    Boxes boxes(reader, numbers.position(), meta.end);
    while (const auto box = boxes.next()) {
        noteBox(*box);
    }
    located.damage(boxes.damagedAt());
    if (items.empty()) {
        return;
    }
    if (locations) {
        readLocations(*locations);
    }
    if (items.size() > 1 && primary && references) {
        readReferences(*references, *primary);
    }
    addStreams(nameEnd);
}

/// The list of items is read as it is met: what stands behind it is then read in the order of the
/// file. Of the other boxes there is one each; the first holds.
void MetaSearch::noteBox(const Box& box) {
    const std::array<std::pair<std::uint32_t, std::optional<Box>*>, 3> kept{
        {{kItemLocations, &locations}, {kItemData, &itemData}, {kItemReferences, &references}}};
    if (box.type == kItemInfos) {
        readItems(box);
    } else if (box.type == kPrimaryItem && !primary) {
        Numbers numbers(reader, box);
        primary = numbers.next(numbers.nextVersion() == 0 ? 2 : 4);
    }
    for (const auto& [type, place] : kept) {
        if (box.type == type && !*place) {
            *place = box;
        }
    }
}

/// Goes through the items themselves; their count, which may lie, is passed over.
void MetaSearch::readItems(const Box& box) {
    Numbers numbers(reader, box);
    numbers.skip(numbers.nextVersion() == 0 ? 2 : 4);
    Boxes boxes(reader, numbers.position(), box.end);
    while (const auto item = boxes.next()) {
        if (item->type == kItemInfo) {
            ++located.pieceCount;
            readItem(*item);
        }
    }
    located.damage(boxes.damagedAt());
}

void MetaSearch::readItem(const Box& box) {
    Numbers numbers(reader, box);
    const std::uint64_t version = numbers.nextVersion();
    if (version != 2 && version != 3) {
        return;  // an item without a type
    }
    const std::uint64_t id = numbers.next(version == 2 ? 2 : 4);
    const std::uint64_t protection = numbers.next(2);
    const bool isExif = numbers.next(4) == kExif;
    if (!numbers.areWhole() || (isExif && protection != 0)) {
        located.damage(box.position);  // protected bytes mean nothing without a key
        return;
    }
    if (!isExif) {
        return;
    }
    if (items.size() < Located::kMostStreams) {
        items.try_emplace(id, ExifItem{.position = box.position, .rank = items.size()});
    } else if (items.find(id) == items.end()) {
        ++itemsLeftOut;
    }
}

void MetaSearch::readLocations(const Box& box) {
    Numbers numbers(reader, box);
    const LocationForm form = nextForm(numbers);
    if (!numbers.areWhole() || !form.isKnown()) {
        located.damage(box.position);
        return;
    }
    const std::uint64_t count = numbers.next(form.idSize());
    std::size_t wanted = items.size();
    for (std::uint64_t index = 0; index < count && wanted > 0; ++index) {
        const Location location = nextLocation(numbers, form);
        const auto found = items.find(location.id);
        const bool isWanted = numbers.areWhole() && found != items.end() && !found->second.isPassed;
        if (isWanted) {
            --wanted;
            readExtents(numbers, form, location, found->second);
        } else {
            numbers.skip(location.extentCount * form.extentSize());
        }
        if (!numbers.areWhole()) {
            located.damage(location.position);
            return;
        }
    }
}

/// An item in another file has no extents in this one. One that is made of other items, or by a
/// method that nobody knows, is given up.
void MetaSearch::readExtents(Numbers& numbers, const LocationForm& form, const Location& location,
                             ExifItem& item) {
    item.isPassed = true;
    const auto space = spaceOf(location.method);
    const bool isHere = location.dataReference == 0;
    // Extents that take no bytes are all the same.
    const std::uint64_t most = form.extentSize() == 0 ? 1 : kMostExtents;
    const std::uint64_t count = isHere && space ? std::min(location.extentCount, most) : 0;
    for (std::uint64_t index = 0; index < count; ++index) {
        numbers.skip(form.indexSize);
        const std::uint64_t offset = numbers.next(form.offsetSize);
        const std::uint64_t length = numbers.next(form.lengthSize);
        if (!numbers.areWhole()) {
            return;
        }
        addExtent(*space, location.base, {offset, length}, location, item);
    }
    if (isHere && (count == 0 || count < location.extentCount)) {
        located.damage(location.position);
    }
    numbers.skip((location.extentCount - count) * form.extentSize());
}

std::optional<Space> MetaSearch::spaceOf(std::uint64_t method) const {
    if (method == kInFile) {
        return Space{0, reader.size()};
    }
    return method == kInItemData && itemData
               ? std::optional(Space{itemData->content, itemData->end})
               : std::nullopt;
}

/// Adds what there is of an extent; one without a length goes on to the end. Neighbours become one,
/// so that a stream in one piece is known as such.
void MetaSearch::addExtent(const Space& space, std::uint64_t base, const Extent& stated,
                           const Location& location, ExifItem& item) {
    const std::uint64_t size = space.end - space.begin;
    const std::uint64_t behindBase = size - std::min(base, size);
    const std::uint64_t left = behindBase - std::min(stated.position, behindBase);
    if (left == 0 || stated.size > left) {
        located.damage(location.position);
    }
    if (left == 0) {
        return;
    }
    const Extent extent{space.end - left, stated.size == 0 ? left : std::min(stated.size, left)};
    if (!item.extents.empty() &&
        extent.position - item.extents.back().position == item.extents.back().size) {
        item.extents.back().size += extent.size;
    } else {
        item.extents.push_back(extent);
    }
}

/// Finds out which items describe the primary one.
void MetaSearch::readReferences(const Box& box, std::uint64_t primaryItem) {
    Numbers start(reader, box);
    const std::size_t idSize = start.nextVersion() == 0 ? 2 : 4;
    Boxes boxes(reader, start.position(), box.end);
    while (const auto reference = boxes.next()) {
        if (reference->type != kContentDescribes) {
            continue;
        }
        Numbers numbers(reader, *reference);
        const auto found = items.find(numbers.next(idSize));
        const std::uint64_t count = found == items.end() ? 0 : numbers.next(2);
        for (std::uint64_t index = 0; index < count && numbers.areWhole(); ++index) {
            const bool isPrimary = numbers.next(idSize) == primaryItem && numbers.areWhole();
            found->second.isMain = found->second.isMain || isPrimary;
        }
    }
}

void MetaSearch::addStreams(const std::string& nameEnd) {
    std::vector<std::pair<std::uint64_t, ExifItem*>> ordered;
    ordered.reserve(items.size());
    for (auto& [id, item] : items) {
        ordered.emplace_back(id, &item);
    }
    std::sort(ordered.begin(), ordered.end(), [](const auto& left, const auto& right) {
        return std::pair(!left.second->isMain, left.second->rank) <
               std::pair(!right.second->isMain, right.second->rank);
    });
    for (const auto& [id, item] : ordered) {
        if (!item->isPassed) {
            located.damage(item->position);
        }
        if (!item->extents.empty()) {
            located.add({.name = "Exif item " + std::to_string(id) + nameEnd,
                         .extents = std::move(item->extents),
                         .header = HeaderPlace::behindOffset});
        }
    }
    if (!located.streams.empty()) {
        located.streamCount += itemsLeftOut;
    }
}

/// All boxes `meta` of a file, one by one.
class HeifSearch {
public:
    HeifSearch(ByteReader& byteReader, SearchDepth searchDepth)
        : reader(byteReader), depth(searchDepth) {}

    [[nodiscard]] Located search() {
        searchBoxes(0, reader.size(), 0);
        return std::move(located);
    }

private:
    /// @param level how many boxes of the way to tracks these lie in
    void searchBoxes(std::uint64_t begin, std::uint64_t end, std::size_t level);
    void searchMeta(const Box& box);

    ByteReader& reader;
    SearchDepth depth;
    Located located{};
    std::uint64_t metaCount = 0;
};

void HeifSearch::searchBoxes(std::uint64_t begin, std::uint64_t end, std::size_t level) {
    Boxes boxes(reader, begin, end);
    while (const auto box = boxes.next()) {
        if (box->type == kMediaData && depth == SearchDepth::first && !located.streams.empty()) {
            break;
        }
        if (box->type == kMeta) {
            searchMeta(*box);
        } else if (level < kWayToTracks.size() && box->type == kWayToTracks[level]) {
            searchBoxes(box->content, box->end, level + 1);
        }
        located.endedAt = box->end;
    }
    located.damage(boxes.damagedAt());
}

/// Items are numbered anew in each box.
void HeifSearch::searchMeta(const Box& box) {
    ++metaCount;
    MetaSearch(reader, located)
        .search(box, metaCount == 1 ? std::string() : " of meta " + std::to_string(metaCount));
}

}  // namespace

Located locateInHeif(ByteReader& reader, SearchDepth depth) {
    return HeifSearch(reader, depth).search();
}

}  // namespace ifdsweep
