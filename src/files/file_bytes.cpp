#include "files/file_bytes.h"

#include <algorithm>
#include <cstring>

namespace ifdsweep {

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
