#include "io/descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <system_error>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "io/output.h"
#include "io/run_failure.h"

namespace ifdsweep {

std::optional<FileIdentity> identityOf(int descriptor) {
    struct stat status {};
    const bool isFile = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? std::optional(FileIdentity(status.st_dev, status.st_ino)) : std::nullopt;
}

std::string systemErrorText(int error) {
    return std::generic_category().message(error);
}

void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        static_cast<void>(::setrlimit(RLIMIT_NOFILE, &limit));
    }
}

std::uint64_t descriptorLimit() {
    rlimit limit{};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : 0;
}

Descriptor makeTemporaryFile() {
    const char* folder = std::getenv("TMPDIR");
    const std::string place = folder != nullptr && *folder != '\0' ? folder : "/tmp";
    // Without a name there is none to be left behind when the process is ended right here.
    constexpr mode_t kOwnerAlone = 0600;
    Descriptor nameless(::open(place.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kOwnerAlone));
    if (nameless.isOpen()) {
        return nameless;
    }
    // Some file systems have no files without a name.
    std::string name = place + "/ifdsweep_XXXXXX";
    Descriptor file(::mkostemp(name.data(), O_CLOEXEC));
    if (!file.isOpen()) {
        throw RunFailure("cannot make a temporary file in " + place + ": " +
                         systemErrorText(errno));
    }
    static_cast<void>(::unlink(name.c_str()));
    return file;
}

std::ptrdiff_t readAt(int descriptor, std::uint64_t position,
                      std::span<std::byte> target) noexcept {
    // The system refuses reads that would end past the last position that there can be.
    constexpr std::uint64_t kLastPosition = std::numeric_limits<std::int64_t>::max();
    if (position >= kLastPosition) {
        return 0;
    }
    const std::size_t wanted = std::min<std::uint64_t>(target.size(), kLastPosition - position);
    std::size_t got = 0;
    while (got < wanted) {
        const ssize_t part = ::pread(descriptor, target.data() + got, wanted - got,
                                     static_cast<off_t>(position + got));
        if (part > 0) {
            got += static_cast<std::size_t>(part);
        } else if (part == 0 || errno != EINTR) {
            return part == 0 || got > 0 ? static_cast<std::ptrdiff_t>(got) : -1;
        }
    }
    return static_cast<std::ptrdiff_t>(got);
}

std::string readPiece(int descriptor, std::uint64_t position, std::size_t size) {
    std::string bytes(size, '\0');
    std::size_t got = 0;
    while (got < size) {
        const std::ptrdiff_t part = readAt(descriptor, position + got,
                                           std::as_writable_bytes(std::span(bytes).subspan(got)));
        if (part < 0) {
            throw OutputError(errno);
        }
        if (part == 0) {
            break;
        }
        got += static_cast<std::size_t>(part);
    }
    bytes.resize(got);
    return bytes;
}

}  // namespace ifdsweep
