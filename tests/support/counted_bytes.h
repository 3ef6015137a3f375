#pragma once

// CountedBytes: bytes in memory as a file, with the reads counted. It owns its bytes. One thread.

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "files/file_bytes.h"

namespace fixture {

class CountedBytes final : public ifdsweep::ByteSource {
public:
    explicit CountedBytes(std::vector<std::uint8_t> fileBytes) : bytes(std::move(fileBytes)) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return bytes.size(); }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        ++reads;
        const std::ptrdiff_t got = ifdsweep::MemoryBytes(bytes).read(position, target);
        delivered += static_cast<std::size_t>(got);
        return got;
    }

    std::vector<std::uint8_t> bytes;
    mutable std::size_t reads = 0;
    mutable std::size_t delivered = 0;
};

}  // namespace fixture
