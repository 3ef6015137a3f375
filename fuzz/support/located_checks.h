#pragma once

// What holds for any locator and any bytes. Functions end the process when a property does not
// hold. Any thread.

#include <cstddef>
#include <cstdint>
#include <span>

#include "fuzz_target.h"
#include "locate/byte_reader.h"
#include "locate/located.h"
#include "locate/stream_opener.h"
#include "support/counted_bytes.h"

namespace fuzz {

using Locate = ifdsweep::Located (*)(ifdsweep::ByteReader& reader, ifdsweep::SearchDepth depth);

/// Searches a file twice, and opens what is found.
/// @param mostReads of one search
/// @return what was found with the depth `all`
inline ifdsweep::Located requireLocated(Locate locate, std::span<const std::uint8_t> file,
                                        std::size_t mostReads) {
    const fixture::CountedBytes bytes({file.begin(), file.end()});
    const auto search = [&](ifdsweep::SearchDepth depth) {
        bytes.reads = 0;
        ifdsweep::ByteReader reader(bytes);
        ifdsweep::Located located = locate(reader, depth);
        require(bytes.reads <= mostReads, "reads are in proportion to the file");
        return located;
    };
    const ifdsweep::Located first = search(ifdsweep::SearchDepth::first);
    ifdsweep::Located located = search(ifdsweep::SearchDepth::all);
    const ifdsweep::Located again = search(ifdsweep::SearchDepth::all);
    require(located.endedAt == again.endedAt && located.damagedAt == again.damagedAt &&
                located.streamCount == again.streamCount && located.pieceCount == again.pieceCount,
            "the same result twice");
    require(first.streams.empty() == located.streams.empty(), "the first stream in both depths");
    require(located.streams.size() <= ifdsweep::Located::kMostStreams &&
                located.streams.size() <= located.streamCount,
            "streams are bounded");
    for (const ifdsweep::LocatedStream& stream : located.streams) {
        require(!stream.name.empty() && !stream.extents.empty(), "a stream has a name and a place");
        for (const ifdsweep::Extent& extent : stream.extents) {
            require(extent.position <= file.size() && extent.size <= file.size() - extent.position,
                    "an extent lies in the file");
        }
        const ifdsweep::OpenedStream opened = openStream(bytes, stream);
        require(opened.bytes == nullptr || opened.bytes->size() <= ifdsweep::kMostAssembledBytes,
                "what is put together is bounded");
    }
    return located;
}

}  // namespace fuzz
