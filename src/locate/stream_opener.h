#pragma once

// Stream opener: makes one stream of what a locator found. A stream that lies in one piece in the
// file is read there; every other is put together in memory.
//
// Ownership: an opened stream shares its bytes. Threads: any. Errors: std::bad_alloc.

#include <cstdint>
#include <memory>
#include <optional>

#include "ifdsweep/byte_source.h"
#include "ifdsweep/qx.h"
#include "locate/located.h"

namespace ifdsweep {

/// The most bytes that are put together in memory, of all streams of a file.
inline constexpr std::uint64_t kMostAssembledBytes = std::uint64_t{64} << 20U;

struct OpenedStream {
    /// Of the TIFF header: in the file, or, where there are bytes, in these.
    std::uint64_t position = 0;
    std::shared_ptr<const ByteSource> bytes{};  ///< null: the stream lies in the file
    std::optional<qxMessage> warning{};         ///< of a stream that is incomplete
    /// What of `mostBytes` was needed, which may be more than there are bytes in the end.
    std::uint64_t cost = 0;
};

/// Opens a stream. What a stream has less than it should is told by the warning. A header that is
/// not where it should be is looked for where writers put it who get that wrong; if it is not there
/// either, that is left to the reading, and is then told of as damage.
/// @param stream    its extents may overlap, and reach beyond the end of the file
/// @param mostBytes that may be put together: of what is read, and of what becomes of it. A stream
///                  that lies in the file needs none.
[[nodiscard]] OpenedStream openStream(const ByteSource& file, const LocatedStream& stream,
                                      std::uint64_t mostBytes = kMostAssembledBytes);

}  // namespace ifdsweep
