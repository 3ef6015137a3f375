#pragma once

// What must hold of every locator and every input: the same result twice, streams that lie in the
// file, reads in proportion to its size, and streams that open within their limit of memory.
// Functions end the process where a property does not hold. Any thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "fuzz_target.h"
#include "locate/containers.h"
#include "locate/stream_opener.h"
#include "support/counted_bytes.h"
#include "support/located_text.h"

namespace fuzz {

inline void requireInFile(const ifdsweep::Located& located, std::uint64_t size) {
    using ifdsweep::Located;
    require(located.streams.size() <= Located::kMostStreams, "streams have a limit");
    require(located.streams.size() <= located.streamCount, "what is told of is counted");
    require(!located.damagedAt || *located.damagedAt <= size, "damage lies in the file");
    for (const ifdsweep::LocatedStream& stream : located.streams) {
        require(!stream.name.empty() && !stream.extents.empty(), "a stream has a name and a place");
        for (const ifdsweep::Extent& extent : stream.extents) {
            require(extent.position <= size && extent.size <= size - extent.position,
                    "an extent lies in the file");
        }
    }
}

/// @param mostReads that a search may make
inline ifdsweep::Located searched(ifdsweep::Locator locate, std::span<const std::uint8_t> file,
                                  ifdsweep::SearchDepth depth, std::size_t mostReads) {
    const fixture::CountedBytes bytes({file.begin(), file.end()});
    ifdsweep::ByteReader reader(bytes);
    ifdsweep::Located located = locate(reader, depth);
    require(bytes.reads <= mostReads, "reads are in proportion to the file");
    requireInFile(located, file.size());
    return located;
}

/// Holds a locator to them.
/// @param mostReads that a search may make
/// @return what a search of all finds
inline ifdsweep::Located checkLocator(ifdsweep::Locator locate, std::span<const std::uint8_t> file,
                                      std::size_t mostReads) {
    using ifdsweep::SearchDepth;
    const ifdsweep::Located first = searched(locate, file, SearchDepth::first, mostReads);
    ifdsweep::Located located = searched(locate, file, SearchDepth::all, mostReads);
    const ifdsweep::Located again = searched(locate, file, SearchDepth::all, mostReads);
    require(fixture::locatedText(located) == fixture::locatedText(again), "the same result twice");
    require(first.streams.empty() == located.streams.empty(), "a stream is found in both depths");
    const fixture::CountedBytes bytes({file.begin(), file.end()});
    std::uint64_t mostBytes = ifdsweep::kMostAssembledBytes;
    for (const ifdsweep::LocatedStream& stream : located.streams) {
        const auto opened = ifdsweep::openStream(bytes, stream, mostBytes);
        require(opened.cost <= mostBytes, "what is put together has a limit");
        require(!opened.bytes || opened.bytes->size() <= opened.cost, "all of it is counted");
        mostBytes -= opened.cost;
    }
    return located;
}

/// Whether these characters stand at so many bytes before a position.
[[nodiscard]] inline bool standBefore(std::span<const std::uint8_t> file, std::uint64_t position,
                                      std::size_t distance, std::string_view characters) {
    return position >= distance && std::equal(characters.begin(), characters.end(),
                                              &file[static_cast<std::size_t>(position) - distance]);
}

}  // namespace fuzz
