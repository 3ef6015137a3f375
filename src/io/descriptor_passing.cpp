#include "io/descriptor_passing.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <sys/socket.h>

namespace ifdsweep {
namespace {

/// Room for the files, and what the system wants to be told of bytes and files.
struct Header {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(kMostPassed * sizeof(int))> control{};
    iovec vector{};
    msghdr message{};

    Header(char* bytes, std::size_t size, std::size_t files) : vector{bytes, size} {
        message.msg_iov = &vector;
        message.msg_iovlen = 1;
        if (files > 0) {
            message.msg_control = control.data();
            message.msg_controllen = CMSG_LEN(files * sizeof(int));
        }
    }
    Header(const Header&) = delete;
    Header& operator=(const Header&) = delete;
    ~Header() = default;
};

}  // namespace

ssize_t sendWithFiles(int socket, std::string_view bytes, std::span<const int> files, int flags) {
    // The system's interface has no constant bytes, yet sending leaves them as they are.
    Header header(const_cast<char*>(bytes.data()), bytes.size(), files.size());
    if (!files.empty()) {
        cmsghdr* attached = CMSG_FIRSTHDR(&header.message);
        attached->cmsg_level = SOL_SOCKET;
        attached->cmsg_type = SCM_RIGHTS;
        attached->cmsg_len = CMSG_LEN(files.size_bytes());
        std::memcpy(CMSG_DATA(attached), files.data(), files.size_bytes());
    }
    return ::sendmsg(socket, &header.message, flags | MSG_NOSIGNAL);
}

Received receiveWithFiles(int socket, std::span<char> bytes, std::size_t most, int flags) {
    Header header(bytes.data(), bytes.size(), std::min(most, kMostPassed));
    Received received;
    received.size = ::recvmsg(socket, &header.message, flags | MSG_CMSG_CLOEXEC);
    if (received.size < 0) {
        return received;
    }
    received.lostFiles = (header.message.msg_flags & MSG_CTRUNC) != 0;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header.message); part != nullptr;
         part = CMSG_NXTHDR(&header.message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        for (std::size_t at = 0; CMSG_LEN(at + sizeof(int)) <= part->cmsg_len; at += sizeof(int)) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + at, sizeof descriptor);
            received.files.emplace_back(descriptor);
        }
    }
    return received;
}

}  // namespace ifdsweep
