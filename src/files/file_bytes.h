#pragma once

// File bytes: the byte sources that a host makes itself, of a file descriptor or of memory.
//
// Ownership: `FileBytes` owns its descriptor; `MemoryBytes` only refers to bytes that the caller
// keeps. Threads: reading is const and keeps no position; any number of threads.

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "ifdsweep/byte_source.h"
#include "io/descriptor.h"

namespace ifdsweep {

/// An open file.
class FileBytes final : public ByteSource {
public:
    /// Takes over an open file of `fileSize` bytes.
    FileBytes(Descriptor openFile, std::uint64_t fileSize) noexcept
        : file(std::move(openFile)), byteCount(fileSize) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return byteCount; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        return readAt(file.get(), position, target);
    }

private:
    Descriptor file;
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
