#include "walk/folder_listing.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>

namespace ifdsweep {
namespace {

struct FolderCloser {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

FolderListing::EntryKind kindOf(const dirent& entry) {
    switch (entry.d_type) {
        case DT_REG:
            return FolderListing::EntryKind::file;
        case DT_DIR:
            return FolderListing::EntryKind::folder;
        case DT_LNK:
            return FolderListing::EntryKind::link;
        case DT_UNKNOWN:
            return FolderListing::EntryKind::unknown;
        default:
            return FolderListing::EntryKind::other;
    }
}

}  // namespace

FolderListing::FolderListing(std::string folderPath) : folder(std::move(folderPath)) {
    const std::unique_ptr<DIR, FolderCloser> stream(::opendir(folder.c_str()));
    struct stat status {};
    if (stream == nullptr || ::fstat(::dirfd(stream.get()), &status) != 0) {
        openError = errno;
        return;
    }
    folderIdentity = {status.st_dev, status.st_ino};
    errno = 0;
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            entries.push_back({names.size(), entry->d_ino, static_cast<std::uint16_t>(name.size()),
                               kindOf(*entry)});
            names.append(name);
        }
        errno = 0;
    }
    openError = errno;
    std::sort(entries.begin(), entries.end(), [this](const Place& left, const Place& right) {
        return nameOf(left) < nameOf(right);
    });
}

FolderListing::Entry FolderListing::take() {
    const Place& place = entries[nextEntry++];
    return {nameOf(place), place.kind, place.inode};
}

}  // namespace ifdsweep
