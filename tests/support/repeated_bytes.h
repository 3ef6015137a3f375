#pragma once

// RepeatedBytes: a file of any size that takes no memory: some bytes, and behind them one piece
// again and again to the end. Reads are counted. It owns both. One thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "ifdsweep/byte_source.h"
#include "support/byte_verbs.h"

namespace fixture {

class RepeatedBytes final : public ifdsweep::ByteSource {
public:
    /// @param repeated not empty
    RepeatedBytes(Bytes first, Bytes repeated, std::uint64_t fileSize)
        : start(std::move(first)), piece(std::move(repeated)), bytes(fileSize) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return bytes; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        ++reads;
        const std::uint64_t left = bytes - std::min(position, bytes);
        const auto got = static_cast<std::size_t>(std::min<std::uint64_t>(left, target.size()));
        for (std::size_t index = 0; index < got; ++index) {
            target[index] = static_cast<std::byte>(byteAt(position + index));
        }
        return static_cast<std::ptrdiff_t>(got);
    }

    mutable std::size_t reads = 0;

private:
    [[nodiscard]] std::uint8_t byteAt(std::uint64_t position) const noexcept {
        return position < start.size()
                   ? start[static_cast<std::size_t>(position)]
                   : piece[static_cast<std::size_t>((position - start.size()) % piece.size())];
    }

    Bytes start;
    Bytes piece;
    std::uint64_t bytes;
};

}  // namespace fixture
