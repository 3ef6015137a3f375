#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include "files/file_service.h"
#include "interpreter_lock.h"
#include "io/descriptor.h"
#include "objects.h"
#include "scan/file_scan.h"
#include "texts.h"
#include "walk/input_files.h"

namespace ifdsweep::python {
namespace {

/// A folder that cannot be listed, or whose files cannot be asked for.
struct Failure {
    std::string folder;  ///< from the root
    std::string error;

    bool operator==(const Failure&) const = default;
};

/// Some files of a listing: columns of the same length.
struct ListedFiles {
    std::string paths;  ///< from the root, one after the other
    std::vector<std::int32_t> ends{0};
    std::vector<std::int64_t> sizes;
    std::vector<std::int64_t> changed;        ///< in nanoseconds since 1970
    std::vector<std::int64_t> statusChanged;  ///< the same
    std::vector<std::int64_t> inodes;         ///< the bits of unsigned numbers
    std::vector<Failure> failures;
};

/// The files below one folder as a scan finds them, in its order, none of which is opened.
class FileListing {
public:
    /// @param leftOut a folder that is not looked into, if it is there; empty for none
    FileListing(const ScanOptions& options, const nb::bytes& leftOut)
        : choice(options.input), files(choice, {}), prefix(choice.paths.at(0)) {
        if (!prefix.ends_with('/')) {
            prefix += '/';
        }
        root = Descriptor(::open(prefix.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        struct stat status {};
        if (leftOut.size() > 0 && ::stat(leftOut.c_str(), &status) == 0) {
            files.leaveOut({status.st_dev, status.st_ino});
        }
    }

    /// The next files; none at the end, when there are no failures either.
    ListedFiles next(std::size_t most) {
        const LockReleased released;
        const std::lock_guard guard(lock);
        ListedFiles listed;
        while (listed.sizes.size() < most && !files.isAtEnd()) {
            if (const std::optional<InputFile> file = files.step()) {
                add(*file, listed);
            }
        }
        return listed;
    }

private:
    [[nodiscard]] std::string_view fromRoot(std::string_view path) const {
        return path.substr(std::min(path.size(), prefix.size()));
    }

    void add(const InputFile& file, ListedFiles& listed) const {
        const std::string_view path = fromRoot(file.path);
        if (!file.failure.empty()) {
            listed.failures.push_back({std::string(path), file.failure});
            return;
        }
        struct stat status {};
        if (look(file.path, 0, status) != 0) {
            const int error = errno;
            if (look(file.path, AT_SYMLINK_NOFOLLOW, status) != 0) {
                addMissing(path, errno, listed);
                return;
            }
            if (choice.followLinks) {  // it may have led to a folder
                listed.failures.push_back(
                    {std::string(path), "the link leads nowhere: " + systemErrorText(error)});
            }
        }
        const FileStamp stamp = stampOf(status);
        listed.paths += path;
        listed.ends.push_back(static_cast<std::int32_t>(listed.paths.size()));
        listed.sizes.push_back(static_cast<std::int64_t>(stamp.size));
        listed.changed.push_back(stamp.modified);
        listed.statusChanged.push_back(stamp.changed);
        listed.inodes.push_back(static_cast<std::int64_t>(stamp.inode));
    }

    /// Asks for a file by its path from the root, which is shorter, where the root is open.
    [[nodiscard]] int look(const std::string& path, int flags, struct stat& status) const {
        return root.isOpen() && path.starts_with(prefix)
                   ? ::fstatat(root.get(), path.c_str() + prefix.size(), &status, flags)
                   : ::fstatat(AT_FDCWD, path.c_str(), &status, flags);
    }

    /// A file that its folder names and that the system tells nothing of: it is gone by now, or
    /// nobody knows what became of it.
    static void addMissing(std::string_view path, int error, ListedFiles& listed) {
        if (error == ENOENT || error == ENOTDIR) {
            return;
        }
        const std::size_t slash = path.rfind('/');
        Failure failure{std::string(path.substr(0, slash == path.npos ? 0 : slash)),
                        "cannot look at the files in the folder: " + systemErrorText(error)};
        if (listed.failures.empty() || listed.failures.back() != failure) {
            listed.failures.push_back(std::move(failure));
        }
    }

    const InputChoice choice;
    InputFiles files;
    std::string prefix;
    Descriptor root;
    std::mutex lock;
};

nb::bytes bytesOf(std::string_view text) {
    return nb::bytes(text.data(), text.size());
}

template <class Number>
nb::bytes bytesOf(const std::vector<Number>& numbers) {
    return nb::bytes(numbers.data(), numbers.size() * sizeof(Number));
}

/// Most files at a time: their paths have room in offsets of 32 bits.
constexpr std::size_t kMost = 65'536;

nb::object nextFiles(FileListing& listing, std::size_t most) {
    const ListedFiles listed = listing.next(std::min(most, kMost));
    nb::list failures;
    for (const Failure& failure : listed.failures) {
        failures.append(nb::make_tuple(bytesOf(failure.folder), strOf(failure.error)));
    }
    return nb::make_tuple(listed.sizes.size(), bytesOf(listed.ends), bytesOf(listed.paths),
                          bytesOf(listed.sizes), bytesOf(listed.changed),
                          bytesOf(listed.statusChanged), bytesOf(listed.inodes), failures);
}

}  // namespace

void addListingType(nb::module_& module) {
    nb::class_<FileListing>(module, "FileListing",
                            "The files below a folder as a scan finds them, unopened.")
        .def(nb::init<const ScanOptions&, const nb::bytes&>(), nb::arg("options"),
             nb::arg("left_out"))
        .def("next", nextFiles, nb::arg("most"),
             nb::sig("def next(self, most: int) -> tuple[int, bytes, bytes, bytes, bytes, bytes, "
                     "bytes, list[tuple[bytes, str]]]"),
             "How many files; ends and bytes of their paths, of 32 bits; sizes, times in "
             "nanoseconds and inodes, of 64 bits; folders that could not be listed, and why. "
             "Neither files nor folders at the end.");
}

}  // namespace ifdsweep::python
