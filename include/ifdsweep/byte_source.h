#pragma once

// Byte source: where the bytes of a file come from, for programs that serve files of their own to a
// host (host.h).
//
// Ownership: a host shares the source that it was given until it serves the name no more.
// Threads: reading is const and keeps no position; a source that several hosts share is read on
// several threads at once. Errors: a number and errno, never an exception.
// Stable: part of the API.

#include <cstddef>
#include <cstdint>
#include <span>

namespace ifdsweep {

/// Bytes that can be read at any position.
class ByteSource {
public:
    ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;
    virtual ~ByteSource() = default;

    /// The number of bytes when the source was made; there may be fewer or more now.
    [[nodiscard]] virtual std::uint64_t size() const noexcept = 0;

    /// Reads into `target` from `position`. Returns the bytes read, fewer than asked for only at
    /// the end, or -1 with errno set when nothing could be read for another reason.
    [[nodiscard]] virtual std::ptrdiff_t read(std::uint64_t position,
                                              std::span<std::byte> target) const noexcept = 0;
};

}  // namespace ifdsweep
