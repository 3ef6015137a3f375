#pragma once

// Extent reader: the bytes of extents, one after the other, as far as they lie in their file and
// are no more than may be put together.
//
// Ownership: borrows the file and the extents. Threads: one at a time. Errors: told in words.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "ifdsweep/byte_source.h"
#include "locate/located.h"

namespace ifdsweep {

/// The part of an extent that lies in the file.
[[nodiscard]] Extent within(const ByteSource& file, const Extent& extent) noexcept;

/// The words for a stream that has more bytes than may be put together.
[[nodiscard]] std::string beyondTheMost();

class ExtentReader {
public:
    /// @param mostBytes that are read
    ExtentReader(const ByteSource& source, std::span<const Extent> streamExtents,
                 std::uint64_t mostBytes) noexcept
        : file(source), extents(streamExtents), most(mostBytes) {}

    /// Fills the target as far as there is something. Returns the bytes read; fewer than asked for
    /// at the end, or where there is a shortfall.
    [[nodiscard]] std::size_t read(std::span<std::uint8_t> target);

    /// Before the first read: the bytes that lie in the file, and no more than may be read.
    [[nodiscard]] std::uint64_t bytesToCome() const noexcept;

    [[nodiscard]] std::uint64_t bytesRead() const noexcept { return total; }

    /// Why the bytes ended before the extents did, in words, if they did.
    [[nodiscard]] const std::optional<std::string>& shortfall() const noexcept { return problem; }

private:
    std::size_t readOnce(std::span<std::uint8_t> target);

    const ByteSource& file;
    std::span<const Extent> extents;
    std::uint64_t passed = 0;  ///< bytes of the first extent
    std::uint64_t most;
    std::uint64_t total = 0;
    std::optional<std::string> problem;
};

}  // namespace ifdsweep
