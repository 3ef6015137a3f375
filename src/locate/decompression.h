#pragma once

// Decompression: packed bytes that come piece by piece, unpacked in memory. What is taken grows
// with what really comes out, whatever the data say of it, and ends at a limit.
//
// Ownership: results own their bytes. Threads: any. Errors: std::bad_alloc, and what the function
// that gives the pieces throws.

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace ifdsweep {

/// Gives the next piece of the packed bytes, which stays until the next call; empty at their end.
using NextPiece = std::function<std::span<const std::uint8_t>()>;

struct Decompressed {
    enum class End : std::uint8_t {
        whole,    ///< the packed data ended themselves; what is behind them was not looked at
        cut,      ///< the pieces ended before
        damaged,  ///< the packed data are none from some place on, or their checksum is wrong
        tooLong,  ///< more than the most bytes would have come
    };

    std::vector<std::uint8_t> bytes;  ///< in any case all that came before the end
    End end;
};

/// Decompresses the zlib format (RFC 1950).
/// @param mostBytes that may come out
[[nodiscard]] Decompressed decompressZlib(const NextPiece& next, std::uint64_t mostBytes);

/// Decompresses Brotli (RFC 7932), without the large windows that are no part of it. The format's
/// own window takes 16 MiB at most, beside what comes out.
/// @param mostBytes that may come out
[[nodiscard]] Decompressed decompressBrotli(const NextPiece& next, std::uint64_t mostBytes);

}  // namespace ifdsweep
