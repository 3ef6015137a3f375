#pragma once

// Folder listing: the names in one folder, sorted by their bytes, in one block of memory.
//
// Ownership: owns the names; no folder stays open. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "io/descriptor.h"

namespace ifdsweep {

class FolderListing {
public:
    enum class EntryKind : std::uint8_t { file, folder, link, unknown, other };

    struct Entry {
        std::string_view name;
        EntryKind kind;
        ino_t inode;
    };

    /// Reads the names of a folder; `error` tells why when it cannot.
    explicit FolderListing(std::string folderPath);

    [[nodiscard]] int error() const noexcept { return openError; }
    [[nodiscard]] const std::string& path() const noexcept { return folder; }
    [[nodiscard]] FileIdentity identity() const noexcept { return folderIdentity; }

    /// Whether all entries were taken.
    [[nodiscard]] bool isDone() const noexcept { return nextEntry == entries.size(); }

    /// The next entry; its name is valid while the listing lives.
    [[nodiscard]] Entry take();

private:
    struct Place {
        std::uint64_t begin;
        ino_t inode;
        std::uint16_t size;  ///< a name has at most 255 bytes
        EntryKind kind;
    };

    [[nodiscard]] std::string_view nameOf(const Place& place) const {
        return std::string_view(names).substr(place.begin, place.size);
    }

    std::string folder;
    std::string names;
    std::vector<Place> entries;
    std::size_t nextEntry = 0;
    FileIdentity folderIdentity{};
    int openError = 0;
};

}  // namespace ifdsweep
