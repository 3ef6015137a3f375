#include "locate/stream_opener.h"

#include <cassert>

namespace ifdsweep {

OpenedStream openStream(const ByteSource& /*file*/, const LocatedStream& stream,
                        std::uint64_t /*mostBytes*/) {
    assert(!stream.extents.empty());
    return {.position = stream.extents.front().position};
}

}  // namespace ifdsweep
