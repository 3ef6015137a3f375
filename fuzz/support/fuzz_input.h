#pragma once

// FuzzInput: the bytes of one fuzz case, taken from the front as bytes, words and pieces. What is
// asked for behind the end is 0 or empty, so that every input means something.
//
// Ownership: refers to bytes of the caller. Threads: one.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace fuzz {

class FuzzInput {
public:
    explicit FuzzInput(std::span<const std::uint8_t> bytes) : left(bytes) {}

    [[nodiscard]] bool empty() const { return left.empty(); }

    /// An unsigned word of 1 to 8 bytes, low byte first.
    [[nodiscard]] std::uint64_t word(std::size_t width) {
        std::uint64_t value = 0;
        std::size_t shift = 0;
        for (const std::uint8_t part : piece(width)) {
            value |= std::uint64_t{part} << shift;
            shift += 8;
        }
        return value;
    }

    [[nodiscard]] std::uint8_t byte() { return static_cast<std::uint8_t>(word(1)); }

    /// A number below `limit`, which is at most 256.
    [[nodiscard]] std::size_t below(std::size_t limit) { return byte() % limit; }

    /// Up to `length` bytes.
    [[nodiscard]] std::span<const std::uint8_t> piece(std::size_t length) {
        const auto taken = left.first(std::min(length, left.size()));
        left = left.subspan(taken.size());
        return taken;
    }

    /// Everything that is left.
    [[nodiscard]] std::span<const std::uint8_t> rest() { return piece(left.size()); }

private:
    std::span<const std::uint8_t> left;
};

}  // namespace fuzz
