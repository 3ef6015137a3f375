#pragma once

// Located text: what a locator tells of a file as text, one line for each stream and one for the
// search. Pure functions; any thread.

#include <array>
#include <cstddef>
#include <string>

#include "locate/located.h"

namespace fixture {

/// "Exif item 3: 40+20 100+5 zlib raw-profile behind-offset": position and size of each extent,
/// then what is not as usual.
[[nodiscard]] inline std::string streamText(const ifdsweep::LocatedStream& stream) {
    constexpr std::array<const char*, 3> kCompressions{"", " zlib", " brotli"};
    std::string text = stream.name + ':';
    for (const ifdsweep::Extent& extent : stream.extents) {
        text += ' ' + std::to_string(extent.position) + '+' + std::to_string(extent.size);
    }
    text += kCompressions.at(static_cast<std::size_t>(stream.compression));
    text += stream.isRawProfile ? " raw-profile" : "";
    text += stream.header == ifdsweep::HeaderPlace::behindOffset ? " behind-offset" : "";
    return text;
}

/// The streams, then "pieces 5, ended at 120, damaged at 100"; and before that, where not all
/// streams are told of, "streams 300".
[[nodiscard]] inline std::string locatedText(const ifdsweep::Located& located) {
    std::string text;
    for (const ifdsweep::LocatedStream& stream : located.streams) {
        text += streamText(stream) + '\n';
    }
    if (located.streamCount != located.streams.size()) {
        text += "streams " + std::to_string(located.streamCount) + '\n';
    }
    text += "pieces " + std::to_string(located.pieceCount) + ", ended at " +
            std::to_string(located.endedAt);
    if (located.damagedAt) {
        text += ", damaged at " + std::to_string(*located.damagedAt);
    }
    return text;
}

}  // namespace fixture
