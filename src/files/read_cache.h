#pragma once

// Three windows on a file, so that directory tables and the values away from them do not throw each
// other out, nor the start of the file, to which who looked farther on comes back. A window is
// small after a jump and doubles while reads go on in sequence: directories that lie far apart cost
// little each, dense ones few system calls.
//
// Ownership: owns its memory, to be used for one file after another. Threads: one at a time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "ifdsweep/byte_source.h"

namespace ifdsweep {

class ReadCache {
public:
    static constexpr std::size_t kSmallestBlock = std::size_t{4} * 1024;
    static constexpr std::size_t kLargestBlock = std::size_t{256} * 1024;

    ReadCache();

    /// Forgets what it holds; to be called when the file changes.
    void clear() noexcept;

    /// As `ByteSource::read`; a read as large as a window's next block goes past the windows. What
    /// a stream gets is smaller, since the C library passes everything through its own buffer.
    [[nodiscard]] std::ptrdiff_t read(const ByteSource& source, std::uint64_t position,
                                      std::span<std::byte> target) noexcept;

private:
    struct Window {
        std::span<std::byte> memory;
        std::uint64_t begin = 0;  ///< file position of its first byte
        std::size_t length = 0;
        std::size_t blockSize = 0;  ///< of the last read; 0 in a window that was never used
        std::uint64_t lastUse = 0;

        [[nodiscard]] std::uint64_t end() const noexcept { return begin + length; }
        [[nodiscard]] bool holds(std::uint64_t position) const noexcept {
            return position >= begin && position - begin < length;
        }
        [[nodiscard]] bool holdsStart() const noexcept { return begin == 0 && length > 0; }
        [[nodiscard]] bool isContinuedBy(std::uint64_t position) const noexcept;
    };

    /// The window that a jump takes: of those that do not hold the file's start the one that was
    /// not used for the longest time.
    [[nodiscard]] Window& windowForJump() noexcept;

    /// Gets bytes from `position`, which no window holds: into a window, or, if it is much, into
    /// `target`. Returns as `ByteSource::read` what went into `target`.
    [[nodiscard]] std::ptrdiff_t fetch(const ByteSource& source, std::uint64_t position,
                                       std::span<std::byte> target) noexcept;
    [[nodiscard]] std::size_t copyHeld(std::uint64_t position,
                                       std::span<std::byte> target) noexcept;

    static constexpr std::size_t kWindows = 3;

    std::unique_ptr<std::byte[]> memory;
    std::array<Window, kWindows> windows;
    std::uint64_t useCounter = 0;
};

}  // namespace ifdsweep
