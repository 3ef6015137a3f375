#pragma once

// Located: what a locator tells of a file, whose TIFF streams it looked for: where each lies and
// how it is packed. Plain values; any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ifdsweep/entry_sink.h"

namespace ifdsweep {

/// A run of bytes in a file.
struct Extent {
    std::uint64_t position;
    std::uint64_t size;
};

enum class Compression : std::uint8_t { none, zlib, brotli };

/// Where in its bytes the TIFF header of a stream stands. "Exif" and two NUL before the header are
/// passed over in any case.
enum class HeaderPlace : std::uint8_t {
    atStart,
    /// Behind a 32-bit big-endian number, which says how many bytes after it
    /// (ISO/IEC 23008-12, A.2.1; ISO/IEC 18181-2, 9.4).
    behindOffset,
};

/// One TIFF stream of a file.
struct LocatedStream {
    std::string name;             ///< for people, unique in the file, such as "Exif item 3"
    std::vector<Extent> extents;  ///< at least one; its bytes are all of them, in this order
    Compression compression = Compression::none;
    /// Whether the bytes, once decompressed, are a raw profile: a name, a length and hexadecimal
    /// digits, as ImageMagick writes them.
    bool isRawProfile = false;
    HeaderPlace header = HeaderPlace::atStart;
    /// What the directories of its chain describe.
    DirectoryKind kind = DirectoryKind::primary;
};

/// How far a locator goes.
enum class SearchDepth : std::uint8_t {
    /// Once a stream is found, a search ends where image data begin that would have to be passed
    /// piece by piece.
    first,
    all,
};

/// What a locator tells.
struct Located {
    /// Most streams that are told of, in any file.
    static constexpr std::size_t kMostStreams = 256;

    std::vector<LocatedStream> streams;  ///< in the order of reading: the main one first
    std::uint64_t streamCount = 0;       ///< those that are not told of too
    /// Pieces of the container that were looked at, in the container's own measure (boxes, items).
    std::uint64_t pieceCount = 0;
    /// Where the search ended for damage: the first piece that is not whole, or is none.
    std::optional<std::uint64_t> damagedAt{};
    std::uint64_t endedAt = 0;  ///< where the search ended in any case

    void add(LocatedStream stream) {
        ++streamCount;
        if (streams.size() < kMostStreams) {
            streams.push_back(std::move(stream));
        }
    }

    /// Adds what another one tells of streams, in its order.
    void addAll(Located&& others) {
        const std::uint64_t untold = others.streamCount - others.streams.size();
        for (LocatedStream& stream : others.streams) {
            add(std::move(stream));
        }
        streamCount += untold;
    }

    /// Takes note of damage, if there is some; what was met first stays.
    void damage(std::optional<std::uint64_t> position) {
        if (!damagedAt) {
            damagedAt = position;
        }
    }
};

}  // namespace ifdsweep
