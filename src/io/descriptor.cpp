#include "io/descriptor.h"

#include <cerrno>
#include <cstdlib>
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
    std::string name = place + "/ifdsweep_XXXXXX";
    Descriptor file(::mkostemp(name.data(), O_CLOEXEC));
    if (!file.isOpen()) {
        throw RunFailure("cannot make a temporary file in " + place + ": " +
                         systemErrorText(errno));
    }
    static_cast<void>(::unlink(name.c_str()));
    return file;
}

std::string readPiece(int descriptor, std::uint64_t position, std::size_t size) {
    std::string bytes(size, '\0');
    std::size_t got = 0;
    while (got < size) {
        const ssize_t count =
            ::pread(descriptor, bytes.data() + got, size - got, static_cast<off_t>(position + got));
        if (count == 0) {
            break;
        }
        if (count > 0) {
            got += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            throw OutputError(errno);
        }
    }
    bytes.resize(got);
    return bytes;
}

}  // namespace ifdsweep
