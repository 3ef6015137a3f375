#pragma once

// Growing buffer: memory of a column while rows are added, aligned to 64 bytes. Whoever fills it
// knows how much of it is used, and gives it away without a copy.
//
// Ownership: owns its memory. Threads: one at a time. Errors: std::bad_alloc; nothing is changed
// then.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "columns/column_array.h"

namespace ifdsweep {

/// Memory in lines, which buffers begin with.
inline constexpr std::size_t kBufferLine = 64;
struct alignas(kBufferLine) BufferLine : std::array<std::byte, kBufferLine> {};

[[nodiscard]] constexpr std::size_t bufferLines(std::size_t size) noexcept {
    return (size + kBufferLine - 1) / kBufferLine;
}

/// Memory that many small buffers share, and that lives as long as one of them.
class SharedLines {
public:
    /// A copy of bytes.
    [[nodiscard]] ColumnBuffer copyOf(const std::byte* begin, std::size_t size) {
        const std::size_t count = std::max<std::size_t>(bufferLines(size), 1);
        if (count > left) {
            const std::size_t wanted = std::max(count, kLines);
            lines =
                std::shared_ptr<BufferLine[]>(std::make_unique_for_overwrite<BufferLine[]>(wanted));
            left = wanted;
            next = 0;
        }
        std::byte* const target = lines[static_cast<std::ptrdiff_t>(next)].data();
        if (size > 0) {
            std::memcpy(target, begin, size);
        }
        next += count;
        left -= count;
        return {std::shared_ptr<const std::byte>(lines, target), size};
    }

private:
    static constexpr std::size_t kLines = 256;

    std::shared_ptr<BufferLine[]> lines;
    std::size_t next = 0;
    std::size_t left = 0;
};

class GrowingBuffer {
public:
    /// Room for `size` bytes, the first `used` of which stay as they are; the others mean nothing.
    std::byte* reserve(std::size_t size, std::size_t used) {
        if (size > room) {
            grow(size, used);
        }
        return data();
    }

    [[nodiscard]] std::byte* data() noexcept { return room == 0 ? nullptr : lines[0].data(); }
    [[nodiscard]] const std::byte* data() const noexcept {
        return room == 0 ? nullptr : lines[0].data();
    }

    /// Gives the bytes away: few of them as a copy, many with the memory; the next has then room
    /// for as much from the start.
    [[nodiscard]] ColumnBuffer release(std::size_t used, SharedLines& small) {
        constexpr std::size_t kFew = 512;
        constexpr std::size_t kMostExpected = std::size_t{1} << 20;
        if (used <= kFew && room <= 2 * kFew) {
            return small.copyOf(data(), used);
        }
        std::shared_ptr<const BufferLine[]> owner(std::move(lines));
        room = 0;
        expected = std::min(used, kMostExpected);
        const std::byte* const begin = owner[0].data();
        return {std::shared_ptr<const std::byte>(std::move(owner), begin), used};
    }

private:
    void grow(std::size_t size, std::size_t used) {
        const std::size_t wanted = std::max({size, 2 * room, expected});
        const std::size_t count = bufferLines(wanted);
        auto larger = std::make_unique_for_overwrite<BufferLine[]>(count);
        if (used > 0) {
            std::memcpy(larger.get(), lines.get(), used);
        }
        lines = std::move(larger);
        room = count * kBufferLine;
    }

    std::unique_ptr<BufferLine[]> lines;
    std::size_t room = 0;  ///< in bytes
    std::size_t expected = 0;
};

}  // namespace ifdsweep
