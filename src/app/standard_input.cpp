#include "app/standard_input.h"

#include <cerrno>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/output.h"

namespace app {

Descriptor openStandardInput() {
    struct stat status {};
    if (::fstat(STDIN_FILENO, &status) != 0) {
        throw OutputError(errno);
    }
    if (S_ISREG(status.st_mode)) {
        return Descriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
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
            sink.write(std::string_view(piece.data(), static_cast<std::size_t>(got)));
        } else if (errno != EINTR) {
            throw OutputError(errno);
        }
    }
}

}  // namespace app
