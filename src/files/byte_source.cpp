#include "files/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include <unistd.h>

namespace ifdsweep {

FileBytes::FileBytes(int fileDescriptor, std::uint64_t fileSize) noexcept
    : descriptor(fileDescriptor), byteCount(fileSize) {}

FileBytes::~FileBytes() {
    static_cast<void>(::close(descriptor));
}

std::ptrdiff_t FileBytes::read(std::uint64_t position, std::span<std::byte> target) const noexcept {
    // The system refuses reads that would end behind the last position that there can be.
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
            // What came before a failure is delivered; the failure shows itself at the next read.
            return part == 0 || got > 0 ? static_cast<std::ptrdiff_t>(got) : -1;
        }
    }
    return static_cast<std::ptrdiff_t>(got);
}

std::ptrdiff_t MemoryBytes::read(std::uint64_t position,
                                 std::span<std::byte> target) const noexcept {
    if (position >= bytes.size()) {
        return 0;
    }
    const std::size_t length = std::min<std::uint64_t>(target.size(), bytes.size() - position);
    if (length > 0) {
        std::memcpy(target.data(), bytes.data() + position, length);
    }
    return static_cast<std::ptrdiff_t>(length);
}

}  // namespace ifdsweep
