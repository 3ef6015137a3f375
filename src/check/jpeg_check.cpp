#include "check/jpeg_check.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "check/exact.h"
#include "locate/byte_reader.h"
#include "locate/jpeg_segments.h"

namespace ifdsweep {
namespace {

constexpr std::uint64_t kJpegCompression = 7;  // TIFF Technical Note 2

using MarkerBytes = std::array<std::uint8_t, 2>;

constexpr MarkerBytes kStart{kJpegPrefix, kJpegStartOfImage};
constexpr MarkerBytes kEnd{kJpegPrefix, kJpegEndOfImage};

/// Where an image should end: some writers fill it up to a round size.
constexpr std::uint64_t kEndWindow = 4096;

/// Reads a whole range of the file; false where that cannot be read.
bool readWhole(const ByteSource& file, std::uint64_t position, std::span<std::uint8_t> target) {
    return file.read(position, std::as_writable_bytes(target)) ==
           static_cast<std::ptrdiff_t>(target.size());
}

/// Whether an image begins there; nothing where that cannot be read.
std::optional<bool> beginsAt(const ByteSource& file, std::uint64_t position) {
    MarkerBytes found{};
    return readWhole(file, position, found) ? std::optional(found == kStart) : std::nullopt;
}

/// Whether the bytes hold the end of an image; nothing where they cannot be read.
std::optional<bool> endsIn(const ByteSource& file, std::uint64_t position, std::uint64_t size) {
    std::array<std::uint8_t, kEndWindow> window{};
    const auto length = static_cast<std::size_t>(std::min(size, kEndWindow));
    const std::span<std::uint8_t> bytes = std::span(window).first(length);
    if (!readWhole(file, position + size - length, bytes)) {
        return std::nullopt;
    }
    return std::search(bytes.begin(), bytes.end(), kEnd.begin(), kEnd.end()) != bytes.end();
}

void lookAtSegments(const JpegProbes& probes, const ByteSource& file,
                    std::vector<Finding>& findings) {
    SegmentTally others;
    for (const JpegProbes::Segment& segment : probes.segments) {
        const auto begins = beginsAt(file, segment.position);
        if (!begins) {
            break;
        }
        if (!*begins) {
            others.add(segment.index);
        }
    }
    if (others.count > 0) {
        addFinding<CheckMessageId::imageDataNotJpeg>(findings, probes.segmentsPlace, probes.word,
                                                     others.first, others.count,
                                                     probes.segments.size());
    }
}

void lookAtImage(const JpegProbes& probes, const ByteSource& file, std::vector<Finding>& findings) {
    const auto begins = beginsAt(file, probes.imagePosition);
    if (begins && !*begins) {
        addFinding<CheckMessageId::jpegDataWithoutStart>(findings, probes.imagePlace,
                                                         probes.imagePosition);
    }
    if (!begins || !*begins || !probes.isSizeKnown) {
        return;
    }
    if (endsIn(file, probes.imagePosition, probes.imageSize) == false) {
        addFinding<CheckMessageId::jpegDataWithoutEnd>(findings, probes.imagePlace,
                                                       probes.imagePosition, probes.imageSize);
    }
}

/// Whether an end of image stands behind the image data, among which segments may stand; nothing
/// where they cannot be read.
std::optional<bool> hasEnd(const ByteSource& file, std::uint64_t position) {
    ByteReader reader(file);
    while (const auto byte = reader.byteAt(position)) {
        ++position;
        if (*byte != kJpegPrefix) {
            continue;
        }
        const auto marker = reader.byteAt(position);
        if (marker == kJpegEndOfImage) {
            return true;
        }
        const bool isSegment =
            marker && *marker != kJpegStuffing && *marker != kJpegPrefix && !standsAlone(*marker);
        if (isSegment) {
            position += 1 + jpegLengthAt(reader, position + 1).value_or(0);
        }
    }
    return reader.hasFailed() ? std::nullopt : std::optional(false);
}

}  // namespace

void checkJpegPointer(const ImageFields& fields, const StreamExtent& extent,
                      std::vector<Finding>& findings, std::size_t& probesLeft, JpegProbes& probes) {
    const auto offset = fields.number(kJpegInterchangeTag, 0);
    const auto size = fields.number(kJpegInterchangeLengthTag, 0);
    // Some writers have both fields and 0 in them for no image.
    const bool isNone = !fields.has(kJpegInterchangeTag) || (offset == 0U && size == 0U);
    if (!offset || !size || isNone) {
        return;
    }
    const FindingPlace place{kJpegInterchangeTag, fields[kJpegInterchangeTag].position()};
    const std::uint64_t position = sumOf(extent.base, *offset);
    const std::uint64_t least = std::max<std::uint64_t>(*size, kStart.size());
    if (!extent.holds(*offset, least)) {
        addFinding<CheckMessageId::jpegDataPastEOF>(findings, place, position, *size);
        return;
    }
    if (probesLeft == 0) {
        return;
    }
    --probesLeft;
    probes.imagePosition = position;
    probes.imageSize = least;
    probes.isSizeKnown = *size != 0;
    probes.imagePlace = place;
}

void checkJpegTables(const ImageFields& fields, std::vector<Finding>& findings) {
    const ImageField& tables = fields[kJpegTablesTag];
    if (tables.size() == 0) {
        return;
    }
    const std::size_t size = tables.size();
    const bool isWhole = size >= kStart.size() + kEnd.size() && tables[0] == kStart[0] &&
                         tables[1] == kStart[1] && tables[size - 2] == kEnd[0] &&
                         tables[size - 1] == kEnd[1];
    if (!isWhole) {
        addFinding<CheckMessageId::jpegTablesDamaged>(findings, {kJpegTablesTag, tables.position()},
                                                      size);
    }
}

void probeSegments(const ImageFields& fields, const ImageSegments& segments,
                   const StreamExtent& extent, std::size_t& probesLeft, JpegProbes& probes) {
    if (fields.number(kCompressionTag, 0) != kJpegCompression) {
        return;
    }
    probes.word = segments.kind().word;
    probes.segmentsPlace = segments.offsetsPlace();
    for (std::size_t index = 0; index < segments.size() && probesLeft > 0; ++index) {
        if (segments.hasData(index) && segments.bytesOf(index) >= kStart.size() &&
            segments.isInside(index)) {
            probes.segments.push_back({extent.base + segments.offsetOf(index), index});
            --probesLeft;
        }
    }
}

void lookAt(const JpegProbes& probes, const ByteSource& file, std::vector<Finding>& findings) {
    if (!probes.segments.empty()) {
        lookAtSegments(probes, file, findings);
    }
    if (probes.imageSize != 0) {
        lookAtImage(probes, file, findings);
    }
}

void checkJpegFile(const ByteSource& file, std::vector<Finding>& findings) {
    ByteReader reader(file);
    JpegSegments segments(reader);
    auto segment = segments.next();
    while (segment && !segment->isLast()) {
        segment = segments.next();
    }
    if (reader.hasFailed()) {
        return;
    }
    if (!segment || segment->marker == kJpegEndOfImage) {
        addFinding<CheckMessageId::jpegWithoutImageData>(findings, {}, segments.position());
        return;
    }
    // Most files end with their image, which spares looking for its end.
    const std::uint64_t size = file.size();
    MarkerBytes end{};
    const bool endsFile = size >= segment->content + end.size() &&
                          readWhole(file, size - end.size(), end) && end == kEnd;
    if (!endsFile && hasEnd(file, segment->content) == false) {
        addFinding<CheckMessageId::jpegWithoutEnd>(findings, {}, segment->position);
    }
}

}  // namespace ifdsweep
