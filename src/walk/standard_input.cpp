#include "walk/standard_input.h"

#include <cerrno>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/output.h"
#include "io/run_failure.h"

namespace ifdsweep {
namespace {

[[noreturn]] void failToRead(int error) {
    throw RunFailure("cannot read the standard input: " + systemErrorText(error));
}

/// Takes bytes to a temporary file.
void spoolBytes(FileDescriptorSink& spool, std::string_view bytes) {
    try {
        spool.write(bytes);
    } catch (const OutputError& error) {
        throw RunFailure("cannot hold the standard input in a temporary file: " +
                         systemErrorText(error.systemError));
    }
}

}  // namespace

Descriptor openStandardInput() {
    struct stat status {};
    if (::fstat(STDIN_FILENO, &status) != 0) {
        failToRead(errno);
    }
    if (S_ISREG(status.st_mode)) {
        Descriptor file(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
        char first = 0;
        if (!file.isOpen() || ::pread(file.get(), &first, 1, 0) < 0) {
            failToRead(errno);  // one that is open for writing alone shows itself here
        }
        return file;
    }
    Descriptor spool = makeTemporaryFile();
    FileDescriptorSink sink(spool.get());
    std::vector<char> piece(std::size_t{256} * 1024);
    while (true) {
        const ssize_t got = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (got == 0) {
            return spool;
        }
        if (got > 0) {
            spoolBytes(sink, std::string_view(piece.data(), static_cast<std::size_t>(got)));
        } else if (errno != EINTR) {
            failToRead(errno);
        }
    }
}

}  // namespace ifdsweep
