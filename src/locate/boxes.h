#pragma once

// Boxes of the ISO base media file format and its kin (ISO/IEC 14496-12, 4.2; ISO/IEC 15444-1,
// I.4): a 32-bit size, a type of four characters, and what stands in it; a size of 1 is followed by
// one of 64 bits behind the type, a size of 0 says that the box goes on to the end of what it lies
// in.
//
// Ownership: borrows the reader. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string_view>

#include "locate/byte_reader.h"

namespace ifdsweep {

/// The type of a box as a number: its four characters, the first one highest.
[[nodiscard]] constexpr std::uint32_t boxType(std::string_view characters) {
    std::uint32_t type = 0;
    for (const char character : characters) {
        type = type << 8U | static_cast<std::uint8_t>(character);
    }
    return type;
}

struct Box {
    std::uint32_t type;
    std::uint64_t position;  ///< of the size
    std::uint64_t content;   ///< position of what stands behind size and type
    std::uint64_t end;       ///< of the box; never beyond that of what it lies in

    [[nodiscard]] std::uint64_t contentSize() const noexcept { return end - content; }
};

/// Goes through neighbouring boxes, always forward: a box costs one read at most, whatever its
/// size.
class Boxes {
public:
    /// @param begin position of the first box
    /// @param end   of what they lie in
    Boxes(ByteReader& byteReader, std::uint64_t begin, std::uint64_t end)
        : reader(byteReader), place(begin), limit(end) {}

    /// The next box; nothing at the end, or where no box stands, at `damagedAt`. A box that reaches
    /// beyond the end is given as far as it goes; it is the last, and damaged.
    [[nodiscard]] std::optional<Box> next();

    /// Where the first box begins that is not whole; nothing while there is none.
    [[nodiscard]] std::optional<std::uint64_t> damagedAt() const noexcept { return damaged; }

private:
    ByteReader& reader;
    std::uint64_t place;
    std::uint64_t limit;
    std::optional<std::uint64_t> damaged;
};

}  // namespace ifdsweep
