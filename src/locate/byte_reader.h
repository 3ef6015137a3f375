#pragma once

// Byte reader: single bytes, numbers and short texts of a file at any position, through one window,
// so that what stands close together costs one read. The window is small after a jump: who hops
// from piece to piece looks at a few bytes of each. All locators read through it: nothing that a
// file says makes it read, or take, more.
//
// Ownership: borrows the file. Threads: one at a time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "ifdsweep/byte_source.h"

namespace ifdsweep {

class ByteReader {
public:
    /// The most bytes that are asked for at a time. What goes forward costs a read for each of
    /// these in a file at most.
    static constexpr std::size_t kWindow = 4096;
    /// Those that are asked for at first where more than a window is left out, or gone back.
    static constexpr std::size_t kWindowAfterJump = 512;
    /// The longest text.
    static constexpr std::size_t kLongestText = 256;

    explicit ByteReader(const ByteSource& source) : file(source) {}

    /// The bytes of the file, as it says.
    [[nodiscard]] std::uint64_t size() const noexcept { return file.size(); }

    /// Nothing where there is none, or it cannot be read.
    [[nodiscard]] std::optional<std::uint8_t> byteAt(std::uint64_t position);

    /// At most `count` bytes, no more than `kLongestText`: as many as there are. They are lent
    /// until the next call.
    [[nodiscard]] std::string_view textAt(std::uint64_t position, std::size_t count);

    [[nodiscard]] bool standsAt(std::uint64_t position, std::string_view text) {
        return textAt(position, text.size()) == text;
    }

    /// An unsigned number of `size` bytes, at most eight; 0 for none of them.
    [[nodiscard]] std::optional<std::uint64_t> bigEndianAt(std::uint64_t position,
                                                           std::size_t size);
    [[nodiscard]] std::optional<std::uint64_t> littleEndianAt(std::uint64_t position,
                                                              std::size_t size);

    /// Whether a byte that the file should have could not be read.
    [[nodiscard]] bool hasFailed() const noexcept { return failed; }

private:
    [[nodiscard]] std::size_t windowAt(std::uint64_t position) const noexcept;
    void fetch(std::uint64_t position);

    const ByteSource& file;
    std::array<char, kWindow> bytes;
    std::uint64_t start = 0;
    std::size_t length = 0;
    bool failed = false;
};

}  // namespace ifdsweep
