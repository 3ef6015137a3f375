#include "app/output_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/interruption.h"
#include "app/output.h"
#include "app/run_failure.h"

namespace app {
namespace {

[[noreturn]] void failToWrite(const std::string& path, int error) {
    throw RunFailure("cannot write " + path + ": " + systemErrorText(error));
}

/// The file behind links, there already or not, so that a link stays one.
std::string behindLinks(const std::string& path) {
    constexpr int kMostLinks = 40;  // as the system has it
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return path;
    }
    std::filesystem::path file = path;
    std::error_code error;
    for (int link = 0; link < kMostLinks && std::filesystem::is_symlink(file, error); ++link) {
        file = file.parent_path() / std::filesystem::read_symlink(file, error);
    }
    return file.string();
}

void copyBytes(int from, int to, std::uint64_t length) {
    constexpr std::uint64_t kPiece = std::uint64_t{1} << 20;
    FileDescriptorSink sink(to);
    for (std::uint64_t position = 0; position < length;) {
        const std::string piece =
            readPiece(from, position, std::min<std::uint64_t>(kPiece, length - position));
        if (piece.empty()) {
            throw OutputError(EIO);
        }
        sink.write(piece);
        position += piece.size();
    }
}

}  // namespace

OutputFile::OutputFile(const std::string& path, std::optional<std::uint64_t> keptLength)
    : name(path.empty() ? path : behindLinks(path)) {
    struct stat status {};
    if (name.empty()) {
        addIdentity(STDOUT_FILENO);
        return;
    }
    const bool exists = ::stat(name.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        failToWrite(path, EISDIR);
    }
    if (exists && !S_ISREG(status.st_mode)) {
        file.reset(::open(name.c_str(), O_WRONLY | O_CLOEXEC));  // a device or pipe keeps its name
        if (!file.isOpen()) {
            failToWrite(path, errno);
        }
        return;
    }
    if (exists) {
        written.emplace_back(status.st_dev, status.st_ino);
    }
    if (keptLength) {
        openPart(*keptLength);
    } else {
        openTemporary();
    }
    addIdentity(file.get());
}

OutputFile::~OutputFile() {
    if (!temporary.empty() && !isKept) {
        static_cast<void>(::unlink(temporary.c_str()));
        Interruption::keep();
    }
}

void OutputFile::openTemporary() {
    temporary = name + ".XXXXXX";
    file.reset(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.isOpen()) {
        const int error = errno;
        temporary.clear();
        failToWrite(name, error);
    }
    Interruption::removeAtEnd(temporary);
    const mode_t mask = ::umask(0);
    static_cast<void>(::umask(mask));
    static_cast<void>(::fchmod(file.get(), 0666 & ~mask));
}

void OutputFile::openPart(std::uint64_t keptLength) {
    temporary = name + ".part";
    isKept = true;
    file.reset(::open(temporary.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
        failToWrite(temporary, errno);
    }
    const auto length = static_cast<off_t>(keptLength);
    if (status.st_size < length) {
        // The last run was whole: its output has the name already.
        const Descriptor whole(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
        struct stat wholeStatus {};
        if (!whole.isOpen() || ::fstat(whole.get(), &wholeStatus) != 0 ||
            wholeStatus.st_size < length) {
            throw RunFailure("the output " + name +
                             " is not the one that the journal tells of; remove the journal to "
                             "start anew");
        }
        copyBytes(whole.get(), file.get(), keptLength);
    }
    if (::ftruncate(file.get(), length) != 0 || ::lseek(file.get(), length, SEEK_SET) < 0) {
        failToWrite(temporary, errno);
    }
}

void OutputFile::addIdentity(int descriptorOfFile) {
    if (const auto identity = identityOf(descriptorOfFile)) {
        written.push_back(*identity);
    }
}

int OutputFile::descriptor() const noexcept {
    return file.isOpen() ? file.get() : STDOUT_FILENO;
}

void OutputFile::finish() {
    if (temporary.empty()) {
        return;
    }
    // A full disk may tell so only now.
    if (::close(file.release()) != 0 || std::rename(temporary.c_str(), name.c_str()) != 0) {
        failToWrite(name, errno);
    }
    temporary.clear();
    Interruption::keep();
}

}  // namespace app
