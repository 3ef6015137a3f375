#include "io/disk.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>

#include "io/output.h"

namespace ifdsweep {
namespace {

int errorOf(int result) {
    return result == 0 ? 0 : errno;
}

std::string systemNameOf(int file) {
    return "/proc/self/fd/" + std::to_string(file);
}

}  // namespace

int Disk::write(int file, std::string_view bytes) const {
    try {
        FileDescriptorSink(file).write(bytes);
    } catch (const OutputError& error) {
        return error.systemError;
    }
    return 0;
}

int Disk::sync(int file) const {
    return identityOf(file) ? errorOf(::fdatasync(file)) : 0;
}

int Disk::syncFolderOf(const std::string& path) const {
    const Descriptor folder(::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A folder may be one to write in and not to read; some file systems have no sync of folders.
    const int error = folder.isOpen() ? errorOf(::fsync(folder.get())) : 0;
    return error == EINVAL || error == ENOTSUP ? 0 : error;
}

int Disk::truncate(int file, std::uint64_t length) const {
    return errorOf(::ftruncate(file, static_cast<off_t>(length)));
}

int Disk::link(int file, const std::string& path) const {
    return errorOf(
        ::linkat(AT_FDCWD, systemNameOf(file).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW));
}

int Disk::rename(const std::string& from, const std::string& to) const {
    return errorOf(std::rename(from.c_str(), to.c_str()));
}

int Disk::remove(const std::string& path) const {
    return errorOf(::unlink(path.c_str()));
}

std::chrono::steady_clock::time_point Disk::now() const {
    return std::chrono::steady_clock::now();
}

const Disk& systemDisk() {
    static const Disk kDisk;
    return kDisk;
}

std::optional<FileMark> markOf(int file) {
    const auto identity = identityOf(file);
    if (!identity) {
        return std::nullopt;
    }
    struct statx status {};
    const bool tells = ::statx(file, "", AT_EMPTY_PATH, STATX_BTIME, &status) == 0 &&
                       (status.stx_mask & STATX_BTIME) != 0;
    return tells ? FileMark{*identity, status.stx_btime.tv_sec, status.stx_btime.tv_nsec}
                 : FileMark{*identity};
}

std::optional<FileMark> markOf(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_PATH | O_CLOEXEC));
    return file.isOpen() ? markOf(file.get()) : std::nullopt;
}

std::string folderOf(const std::string& path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    return folder.empty() ? "." : folder.string();
}

Descriptor makeUnnamedFile(const std::string& path) {
    Descriptor file(::open(folderOf(path).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
    struct stat status {};
    if (file.isOpen() && ::stat(systemNameOf(file.get()).c_str(), &status) != 0) {
        file.reset();  // without /proc it could never get a name
    }
    return file;
}

FoundOrMadeFile::FoundOrMadeFile(const std::string& path, int flags)
    : name(path), file(::open(path.c_str(), flags | O_CLOEXEC | O_CREAT | O_EXCL, 0666)) {
    made = file.isOpen();
    if (!made && errno == EEXIST) {
        // There already, or a link to what is not there yet.
        file.reset(::open(name.c_str(), flags | O_CLOEXEC | O_CREAT, 0666));
    }
    openError = file.isOpen() ? 0 : errno;
}

FoundOrMadeFile::~FoundOrMadeFile() {
    if (made && !kept) {
        static_cast<void>(::unlink(name.c_str()));
    }
}

}  // namespace ifdsweep
