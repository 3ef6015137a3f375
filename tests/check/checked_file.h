#pragma once

// Files with image data for the checks, and what they find in them, one line a finding:
//   0/SubIFDs[0]/0 273 imageDataPastEOF(strip, 1, 1, 2, 4096, 64)
// The tag is "-" for the directory and the path for the file as a whole. Plain functions; one
// thread.

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/host_parts.h"
#include "host/message_texts.h"
#include "ifdsweep/message_catalogue.h"
#include "ifdsweep/messages.h"
#include "ifdsweep/read.h"
#include "support/tiff_builder.h"
#include "support/tiff_matrix.h"

namespace checkedfile {

using fixture::Entry;
using fixture::Lines;
using fixture::longs;
using fixture::shorts;

/// Where image data begin: behind every directory of the tests.
inline constexpr std::int64_t kData = 4096;

/// The bytes of a file with its data.
inline constexpr std::size_t kFileSize = 8192;

/// Entries with those of others in their place or among them, less those of some tags.
[[nodiscard]] inline std::vector<Entry> changed(std::vector<Entry> entries,
                                                const std::vector<Entry>& others,
                                                const fixture::Codes& without = {}) {
    const auto isGone = [&](const Entry& entry) {
        const auto hasTag = [&](const Entry& other) { return other.tag == entry.tag; };
        return std::any_of(others.begin(), others.end(), hasTag) ||
               std::find(without.begin(), without.end(), entry.tag) != without.end();
    };
    std::erase_if(entries, isGone);
    entries.insert(entries.end(), others.begin(), others.end());
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& one, const Entry& other) { return one.tag < other.tag; });
    return entries;
}

/// A grey image of 16 x 8 pixels in two strips.
[[nodiscard]] inline std::vector<Entry> strips() {
    return {shorts(256, {16}), shorts(257, {8}), shorts(258, {8}),
            shorts(259, {1}),  shorts(262, {1}), longs(273, {kData, kData + 64}),
            shorts(277, {1}),  shorts(278, {4}), longs(279, {64, 64})};
}

/// A grey image of 20 x 17 pixels in four tiles.
[[nodiscard]] inline std::vector<Entry> tiles() {
    return changed(strips(),
                   {shorts(256, {20}), shorts(257, {17}), shorts(322, {16}), shorts(323, {16}),
                    longs(324, {kData, kData + 256, kData + 512, kData + 768}),
                    longs(325, {256, 256, 256, 256})},
                   {273, 278, 279});
}

/// A thumbnail in JPEG.
[[nodiscard]] inline std::vector<Entry> thumbnail(std::int64_t offset, std::int64_t size) {
    return {shorts(259, {6}), longs(513, {offset}), longs(514, {size})};
}

/// A file with so many bytes, of which the last are 0.
[[nodiscard]] inline fixture::Bytes withData(fixture::Bytes bytes, std::size_t size = kFileSize) {
    bytes.resize(size);
    return bytes;
}

inline void put(fixture::Bytes& bytes, std::int64_t position,
                const std::vector<std::uint8_t>& data) {
    std::copy(data.begin(), data.end(), bytes.begin() + position);
}

[[nodiscard]] inline bool isFinding(const ifdsweep::Warning& warning) {
    return std::any_of(
        ifdsweep::kCheckCatalogue.begin(), ifdsweep::kCheckCatalogue.end(),
        [&](const ifdsweep::CheckMessageRow& row) { return warning.message.id() == row.id; });
}

[[nodiscard]] inline std::string line(const ifdsweep::Warning& warning) {
    std::string text = warning.place.path.empty() ? "file" : warning.place.path;
    text += ' ' + (warning.place.tag ? std::to_string(*warning.place.tag) : "-") + ' ';
    text.append(ifdsweep::shortMessageId(warning.message.id())) += '(';
    for (const qxMessageArgument& argument : warning.message.arguments()) {
        text.append(text.back() == '(' ? "" : ", ").append(ifdsweep::argumentText(argument));
    }
    return text + ')';
}

/// What is found, and nothing of what the reading warns of.
[[nodiscard]] inline Lines found(const ifdsweep::Outcome& outcome) {
    Lines lines;
    for (const ifdsweep::Warning& warning : outcome.warnings) {
        if (isFinding(warning)) {
            lines.push_back(line(warning));
        }
    }
    return lines;
}

/// Reads bytes in memory with the checks on.
[[nodiscard]] inline ifdsweep::Outcome checked(ifdsweep::Host& host, const fixture::Bytes& bytes,
                                               ifdsweep::ReadOptions options = {}) {
    filesOf(host).serve(u"a.tif", bytes);
    options.check = true;
    return ifdsweep::read(host, "a.tif", options);
}

}  // namespace checkedfile
