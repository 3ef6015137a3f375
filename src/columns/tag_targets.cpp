#include "columns/tag_targets.h"

#include <algorithm>
#include <bit>

namespace ifdsweep {
namespace {

/// The index has so many places that most tags are found at the first.
constexpr std::size_t kPlacesPerTag = 4;

std::size_t placeOf(std::uint32_t key, std::size_t places) noexcept {
    constexpr std::uint32_t kGoldenRatio = 2654435769U;
    return (key * kGoldenRatio >> 12U) & (places - 1);
}

}  // namespace

TagTargets::TagTargets(const TableSchema& schema) {
    for (std::size_t number = 0; number < schema.columns.size(); ++number) {
        const Column& column = schema.columns[number];
        if (column.takes == TagValue::none) {
            continue;
        }
        columns.push_back(number);
    }
    const auto keyAt = [&schema](std::size_t number) {
        const Column& column = schema.columns[number];
        return keyOf(column.kind, column.tag);
    };
    std::stable_sort(columns.begin(), columns.end(), [&keyAt](std::size_t one, std::size_t other) {
        return keyAt(one) < keyAt(other);
    });
    for (std::uint32_t place = 0; place < columns.size(); ++place) {
        const std::uint32_t key = keyAt(columns[place]);
        if (tags.empty() || tags.back().key != key) {
            tags.push_back({key, place, 0, kNoRow});
        }
        ++tags.back().columnCount;
    }
    makeIndex();
}

void TagTargets::watch(DirectoryKind kind, std::uint16_t tag) {
    const std::uint32_t key = keyOf(kind, tag);
    if (find(key) == kNoRow) {
        tags.push_back({key, 0, 0, kNoRow});
        makeIndex();
    }
}

void TagTargets::clear() noexcept {
    for (const std::uint32_t number : met) {
        tags[number].entry = kNoRow;
    }
    met.clear();
}

void TagTargets::choose(const PackedFile& file, const PackedDirectoryRow& directory,
                        DirectoryKind kind) {
    const std::span<const PackedEntryRow> entries = file.entries();
    std::uint32_t number = directory.firstEntry;
    for (; number != kNoRow; number = entries[number].next) {
        const std::uint32_t found = find(keyOf(kind, entries[number].tag));
        if (found == kNoRow) {
            continue;
        }
        Tag& tag = tags[found];
        if (tag.entry == kNoRow) {
            met.push_back(found);
            tag.entry = number;
        } else if (entries[number].droppedBy == kNoRow || entries[tag.entry].droppedBy != kNoRow) {
            tag.entry = number;
        }
    }
}

const PackedEntryRow* TagTargets::chosen(const PackedFile& file, DirectoryKind kind,
                                         std::uint16_t tag) const noexcept {
    const std::uint32_t found = find(keyOf(kind, tag));
    if (found == kNoRow || tags[found].entry == kNoRow) {
        return nullptr;
    }
    const PackedEntryRow& entry = file.entries()[tags[found].entry];
    return entry.droppedBy == kNoRow ? &entry : nullptr;
}

std::uint32_t TagTargets::keyOf(DirectoryKind kind, std::uint16_t tag) noexcept {
    return static_cast<std::uint32_t>(kind) << 16U | tag;
}

std::uint32_t TagTargets::find(std::uint32_t key) const noexcept {
    for (std::size_t place = placeOf(key, index.size());;
         place = (place + 1) & (index.size() - 1)) {
        if (index[place] == kNoRow || tags[index[place]].key == key) {
            return index[place];
        }
    }
}

void TagTargets::makeIndex() {
    index.assign(std::bit_ceil(tags.size() * kPlacesPerTag + 1), kNoRow);
    for (std::uint32_t number = 0; number < tags.size(); ++number) {
        std::size_t place = placeOf(tags[number].key, index.size());
        while (index[place] != kNoRow) {
            place = (place + 1) & (index.size() - 1);
        }
        index[place] = number;
    }
}

}  // namespace ifdsweep
