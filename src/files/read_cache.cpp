#include "files/read_cache.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ifdsweep {

namespace {

// What a window that is full keeps of the block before when it goes on: values often lie just
// before the directory that names them. Until then it keeps everything.
constexpr std::size_t kKeptBytes = std::size_t{4} * 1024;

// A read that leaves out no more than this still goes on in sequence.
constexpr std::uint64_t kSkippedBytes = std::uint64_t{4} * 1024;

// A jump goes to a multiple of this, for what lies just before its place.
constexpr std::uint64_t kJumpAlignment = 512;

// A file of this size or less is read at once: a system call costs more than its bytes.
constexpr std::uint64_t kSmallFile = std::uint64_t{16} * 1024;

constexpr std::size_t kWindowMemory = kKeptBytes + ReadCache::kLargestBlock;

/// The part of a block from `begin` that the file has, so that a read to its end is one system call
/// and not a second one that only finds the end. What a file has grown since is read when a
/// position in it is asked for.
std::size_t clampToSize(const ByteSource& source, std::uint64_t begin, std::size_t length,
                        std::uint64_t position) {
    return position < source.size() ? std::min<std::uint64_t>(length, source.size() - begin)
                                    : length;
}

}  // namespace

ReadCache::ReadCache()
    : memory(std::make_unique_for_overwrite<std::byte[]>(kWindows * kWindowMemory)) {
    std::byte* place = memory.get();
    for (Window& window : windows) {
        window.memory = {std::exchange(place, place + kWindowMemory), kWindowMemory};
    }
}

void ReadCache::clear() noexcept {
    for (Window& window : windows) {
        window = Window{.memory = window.memory};
    }
}

bool ReadCache::Window::isContinuedBy(std::uint64_t position) const noexcept {
    return blockSize != 0 && position >= end() && position - end() <= kSkippedBytes;
}

std::ptrdiff_t ReadCache::read(const ByteSource& source, std::uint64_t position,
                               std::span<std::byte> target) noexcept {
    std::size_t got = 0;
    while (got < target.size()) {
        const std::size_t held = copyHeld(position + got, target.subspan(got));
        got += held;
        if (held > 0) {
            continue;
        }
        // At the end a part is enough: who wants more asks again, and few do.
        if (got > 0 && position + got == source.size()) {
            break;
        }
        const std::ptrdiff_t fetched = fetch(source, position + got, target.subspan(got));
        if (fetched < 0 && got == 0) {
            return fetched;
        }
        got += static_cast<std::size_t>(std::max<std::ptrdiff_t>(fetched, 0));
        if (fetched <= 0) {
            break;
        }
    }
    return static_cast<std::ptrdiff_t>(got);
}

std::size_t ReadCache::copyHeld(std::uint64_t position, std::span<std::byte> target) noexcept {
    for (Window& window : windows) {
        if (window.holds(position)) {
            const std::size_t inside = static_cast<std::size_t>(position - window.begin);
            const std::size_t length = std::min(target.size(), window.length - inside);
            std::memcpy(target.data(), window.memory.data() + inside, length);
            window.lastUse = ++useCounter;
            return length;
        }
    }
    return 0;
}

ReadCache::Window& ReadCache::windowForJump() noexcept {
    return *std::min_element(windows.begin(), windows.end(),
                             [](const Window& left, const Window& right) {
                                 return std::pair(left.holdsStart(), left.lastUse) <
                                        std::pair(right.holdsStart(), right.lastUse);
                             });
}

std::ptrdiff_t ReadCache::fetch(const ByteSource& source, std::uint64_t position,
                                std::span<std::byte> target) noexcept {
    const auto continued =
        std::find_if(windows.begin(), windows.end(),
                     [position](const Window& window) { return window.isContinuedBy(position); });
    const bool jump = continued == windows.end();
    Window& window = jump ? windowForJump() : *continued;
    window.blockSize = jump ? kSmallestBlock : std::min(2 * window.blockSize, kLargestBlock);
    window.lastUse = ++useCounter;

    if (target.size() >= window.blockSize) {
        const std::ptrdiff_t got = source.read(
            position, target.first(clampToSize(source, position, target.size(), position)));
        window.begin = position + static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(got, 0));
        window.length = 0;
        return got;
    }

    const bool fits = window.length + window.blockSize <= window.memory.size();
    const std::size_t kept = jump ? 0 : fits ? window.length : std::min(kKeptBytes, window.length);
    if (kept < window.length) {
        std::memmove(window.memory.data(), window.memory.data() + window.length - kept, kept);
    }
    const bool wholeFile = source.size() <= kSmallFile && position < source.size();
    const std::uint64_t begin = !jump       ? window.end()
                                : wholeFile ? 0
                                            : position / kJumpAlignment * kJumpAlignment;
    const std::size_t wanted = jump && wholeFile ? kSmallFile : window.blockSize;
    const std::ptrdiff_t got = source.read(
        begin, window.memory.subspan(kept).first(clampToSize(source, begin, wanted, position)));
    window.begin = begin - kept;
    window.length = kept + static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0));
    return got < 0 ? got : static_cast<std::ptrdiff_t>(copyHeld(position, target));
}

}  // namespace ifdsweep
