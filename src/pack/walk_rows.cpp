#include "pack/walk_rows.h"

#include <algorithm>

#include "pack/reused_rows.h"

namespace ifdsweep {

void WalkRows::clear() {
    streams.clear();
    streams.emplace_back();
    emptyForReuse(directories);
    emptyForReuse(entries);
    emptyForReuse(chains);
    open.clear();
    warnings = 0;
}

void WalkRows::streamBegins(const StreamFacts& stream) {
    open.clear();
    streams.push_back({std::string(stream.container), std::string(stream.name),
                       nextRow(directories), nextRow(entries), kNoRow});
}

/// Ends the directories that began after one that is open, of which nothing more was told; false
/// where that one is not known.
bool WalkRows::goBackTo(const DirectoryFacts& directory) {
    const auto isIt = [&](const Open& place) { return place.facts == &directory; };
    const auto found = std::find_if(open.rbegin(), open.rend(), isIt);
    if (found == open.rend()) {
        return false;
    }
    while (open.back().facts != &directory) {
        end(open.back(), false);
        open.pop_back();
    }
    return true;
}

void WalkRows::endChain(Open& place) {
    if (place.chain != kNoRow) {
        chains[place.chain].hadWarnings =
            chains[place.chain].hadWarnings || warnings != place.warningsBefore;
    }
}

void WalkRows::end(Open& place, bool isKept) {
    endChain(place);
    PackedDirectoryRow& row = directories[place.row].row;
    row.entriesUntilEnd = nextRow(entries);
    row.isKept = isKept ? 1 : 0;
}

/// The chain of a directory that begins.
std::uint32_t WalkRows::chainOf(const DirectoryFacts& directory, std::uint32_t name) {
    Open* parent = open.empty() ? nullptr : &open.back();
    std::uint32_t& current = parent != nullptr ? parent->chain : streams.back().chain;
    if (current != kNoRow && chains[current].index == directory.chainIndex &&
        chains[current].pointerName == name) {
        return current;
    }
    Chain chain;
    chain.index = directory.chainIndex;
    chain.pointerName = name;
    const std::uint32_t row = nextRow(chains);
    if (parent != nullptr) {
        endChain(*parent);
        chain.pointer = parent->lastEntry;
        chain.nextOfParent = directories[parent->row].lastChain;
    }
    chains.push_back(chain);
    if (parent != nullptr) {
        directories[parent->row].lastChain = row;
    }
    current = row;
    return row;
}

void WalkRows::directoryBegins(const DirectoryFacts& directory) {
    if (directory.parent == nullptr) {
        while (!open.empty()) {
            end(open.back(), false);
            open.pop_back();
        }
    } else if (!goBackTo(*directory.parent)) {
        return;
    }
    const std::uint32_t name = names.rowUnlessEmpty(directory.pointerName);
    const std::uint32_t chain = chainOf(directory, name);
    const std::uint32_t row = nextRow(directories);
    Directory& added = directories.emplace_back();
    added.chain = chain;
    added.row.chainIndex = directory.chainIndex;
    added.row.index = directory.index;
    added.row.position = directory.position;
    added.row.entryCount = directory.entryCount;
    added.row.parent = open.empty() ? kNoRow : open.back().row;
    added.row.pointerName = name;
    added.row.entriesBefore = nextRow(entries);
    added.row.entriesUntilEnd = kNoRow;
    added.row.pointerTag = directory.pointerTag;
    added.row.kind = static_cast<std::uint8_t>(directory.kind);
    open.push_back({&directory, row, kNoRow, kNoRow, warnings});
}

void WalkRows::directoryEnds(const DirectoryFacts& directory, bool isKept) {
    if (!goBackTo(directory)) {
        return;
    }
    end(open.back(), isKept);
    const std::uint32_t row = open.back().row;
    open.pop_back();
    if (!isKept) {
        return;
    }
    Chain& chain = chains[directories[row].chain];
    chain.isOdd = chain.isOdd || directories[row].row.index != chain.keptCount;
    (chain.keptCount == 0 ? chain.firstKept : directories[chain.lastKept].nextKept) = row;
    chain.lastKept = row;
    ++chain.keptCount;
}

void WalkRows::entry(const DirectoryFacts& directory, const EntryFacts& entry) {
    const bool isInnermost = !open.empty() && open.back().facts == &directory;
    if (!isInnermost && !goBackTo(directory)) {
        return;
    }
    Open& place = open.back();
    endChain(place);
    place.chain = kNoRow;
    place.warningsBefore = warnings;
    PackedEntryRow added;  // whole before it is one of the table: memory may run out on the way
    added.name = names.rowUnlessEmpty(entry.name);
    added.valueName = names.rowUnlessEmpty(entry.valueName);
    added.droppedBy = names.rowUnlessEmpty(entry.droppedBy);
    added.bytes = entry.isDefault ? heap.addElements(entry.defaults) : heap.add(entry.bytes);
    added.count = entry.count;
    added.position = entry.position;
    added.valuePosition = entry.valuePosition;
    added.directory = place.row;
    added.tag = entry.tag;
    added.fieldType = entry.fieldType;
    added.isInline = entry.isInline ? 1 : 0;
    added.isDefault = entry.isDefault ? 1 : 0;
    added.isLoaded = entry.isLoaded ? 1 : 0;
    const std::uint32_t row = nextRow(entries);
    entries.push_back(added);
    PackedDirectoryRow& owner = directories[place.row].row;
    (place.lastEntry == kNoRow ? owner.firstEntry : entries[place.lastEntry].next) = row;
    place.lastEntry = row;
    ++owner.ownEntries;
}

void WalkRows::shownChains(std::uint32_t directory, std::uint32_t name,
                           std::vector<std::uint32_t>& shown) const {
    shown.clear();
    std::uint32_t pointer = kNoRow;
    bool hadWarnings = false;
    for (std::uint32_t row = directories[directory].lastChain; row != kNoRow;
         row = chains[row].nextOfParent) {
        const Chain& chain = chains[row];
        if (chain.pointerName != name || chain.keptCount == 0) {
            continue;
        }
        if (!shown.empty() && chain.pointer != pointer) {
            // An earlier pointer of the same tag: the record has it if the later one was dropped.
            if (hadWarnings) {
                shown.clear();
            }
            return;
        }
        pointer = chain.pointer;
        hadWarnings = hadWarnings || chain.hadWarnings;
        // Chains come last first, so the first one seen has the highest number.
        if (shown.empty() && chain.index < chains.size()) {
            shown.assign(static_cast<std::size_t>(chain.index) + 1, kNoRow);
        }
        if (chain.index < shown.size() && !chain.isOdd) {
            shown[static_cast<std::size_t>(chain.index)] = row;
        }
    }
}

}  // namespace ifdsweep
