#pragma once

// Stream header: where in the bytes of a stream its TIFF header stands. A pure function; any
// thread.

#include <cstdint>

#include "ifdsweep/byte_source.h"
#include "locate/located.h"

namespace ifdsweep {

/// Finds the header of a stream that lies in one piece: where it should be, else where writers put
/// it who get that wrong. It takes one small read, a second where the header stands far behind the
/// number that leads to it, and none beyond the stream.
/// @return the position of the header, or, where there is none, of where it should be; in the
///         stream, or at its end
[[nodiscard]] std::uint64_t findHeader(const ByteSource& bytes, const Extent& stream,
                                       HeaderPlace place);

}  // namespace ifdsweep
