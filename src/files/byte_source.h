#pragma once

// Where the bytes of a file come from: a file descriptor or memory.
//
// Ownership: `FileBytes` owns its descriptor; `MemoryBytes` only refers to bytes that the caller
// keeps. Threads: reading is const and keeps no position; any number of threads.

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

/// An open file, read with `pread`.
class FileBytes final : public ByteSource {
public:
    /// Takes over an open descriptor of a file of `fileSize` bytes.
    FileBytes(int fileDescriptor, std::uint64_t fileSize) noexcept;
    ~FileBytes() override;

    [[nodiscard]] std::uint64_t size() const noexcept override { return byteCount; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override;

private:
    int descriptor;
    std::uint64_t byteCount;
};

/// Bytes in memory, which the caller keeps while they are served.
class MemoryBytes final : public ByteSource {
public:
    explicit MemoryBytes(std::span<const std::uint8_t> servedBytes) noexcept : bytes(servedBytes) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return bytes.size(); }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override;

private:
    std::span<const std::uint8_t> bytes;
};

}  // namespace ifdsweep
