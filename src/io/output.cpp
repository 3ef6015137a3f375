#include "io/output.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

namespace ifdsweep {

void FileDescriptorSink::write(std::string_view bytes) {
    const bool isEnding = stopped && stopped();
    const std::size_t lineEnd = isEnding ? bytes.find('\n') : std::string_view::npos;
    if (lineEnd == std::string_view::npos) {
        writeAll(bytes);
        return;
    }
    writeAll(bytes.substr(0, lineEnd + 1));
    throw OutputStopped();
}

int writeBytes(int descriptor, std::string_view& bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0) {
            return ENOSPC;  // a file that takes nothing and does not say why would be tried for
                            // ever
        } else if (errno == EAGAIN) {
            // A non-blocking terminal or pipe, inherited from whoever started the program.
            pollfd ready{descriptor, POLLOUT, 0};
            ::poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

void FileDescriptorSink::writeAll(std::string_view bytes) {
    std::string_view rest = bytes;
    const int error = writeBytes(descriptor, rest);
    total += bytes.size() - rest.size();
    if (error != 0) {
        throw OutputError(error);
    }
}

void Output::flush() {
    // Emptied first: after a failure the same bytes must not be written a second time.
    const std::size_t gathered = used;
    used = 0;
    if (gathered > 0) {
        sink.write(std::string_view(buffer.get(), gathered));
    }
}

void Output::appendLong(std::string_view text) {
    flush();
    if (text.size() >= kCapacity) {
        sink.write(text);
    } else {
        append(text);
    }
}

}  // namespace ifdsweep
