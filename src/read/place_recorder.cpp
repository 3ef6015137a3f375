#include "read/place_recorder.h"

#include <algorithm>
#include <utility>

namespace ifdsweep {
namespace {

/// The one pointer that may lead to several chains, whose records are cells.
constexpr std::uint16_t kSubIfds = 330;

/// Names and paths of real files are within what an entry and a warning count of themselves.
constexpr std::uint64_t kUncountedLength = 64;

}  // namespace

std::string pathOf(const DirectoryFacts& directory) {
    std::string path = directory.parent != nullptr ? pathOf(*directory.parent) : std::string();
    appendStep(directory, path);
    return path;
}

void appendStep(const DirectoryFacts& directory, std::string& path) {
    if (!path.empty()) {
        path.append("/").append(directory.pointerName);
        // Other pointers lead to one chain; what more of them hold is told and not shown.
        if (directory.pointerTag == kSubIfds || directory.chainIndex > 0) {
            path.append("[").append(std::to_string(directory.chainIndex)).append("]");
        }
        path += '/';
    }
    path.append(std::to_string(directory.index));
}

void countShown(HostParts& host, std::uint64_t length) {
    host.valueBudget().add(ValueBudget::kElementWeight *
                           (length - std::min(length, kUncountedLength)));
}

void PlaceRecorder::streamBegins(const StreamFacts& stream) {
    if (next != nullptr) {
        next->streamBegins(stream);
    }
}

void PlaceRecorder::directoryBegins(const DirectoryFacts& directory) {
    pathOwner.reset();
    if (next != nullptr) {
        next->directoryBegins(directory);
    }
}

void PlaceRecorder::directoryEnds(const DirectoryFacts& directory, bool isKept) {
    pathOwner.reset();
    if (next != nullptr) {
        next->directoryEnds(directory, isKept);
    }
}

void PlaceRecorder::entry(const DirectoryFacts& directory, const EntryFacts& entry) {
    if (next != nullptr) {
        // Whoever is told of an entry may show the file's name with it, each unit of which counts
        // two in a record.
        countShown(host, cachedPath(directory).size() + host.valueBudget().recordCost() / 2);
        next->entry(directory, entry);
    }
}

void PlaceRecorder::warning(const qxMessage& message, const WarningFacts& place) {
    // Before this one the host may have collected warnings of its own, which arose on the way to
    // it, and its budget may have had no room for it.
    recorded.resize(std::max(recorded.size(), collectedBefore));
    const std::size_t collected = host.collectedCount();
    if (collected > recorded.size()) {
        WarningPlace here;
        if (place.directory != nullptr) {
            here.path = cachedPath(*place.directory);
        }
        while (recorded.size() < collected) {
            countShown(host, here.path.size());
            recorded.push_back(here);
        }
        if (host.lastCollected().id() == message.id()) {
            recorded.back().tag = place.tag;
            recorded.back().offset =
                place.directory != nullptr ? std::optional(place.position) : std::nullopt;
        }
    }
    if (next != nullptr) {
        next->warning(message, place);
    }
}

const std::string& PlaceRecorder::cachedPath(const DirectoryFacts& directory) {
    const bool isKept = pathOwner && pathOwner->parent == directory.parent &&
                        pathOwner->pointerTag == directory.pointerTag &&
                        pathOwner->chainIndex == directory.chainIndex &&
                        pathOwner->index == directory.index;
    if (!isKept) {
        path = pathOf(directory);
        pathOwner = directory;
    }
    return path;
}

}  // namespace ifdsweep
