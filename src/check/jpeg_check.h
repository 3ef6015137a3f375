#pragma once

// JPEG check: whether what should be JPEG data begins and ends as such, by a few bytes of the file
// (ISO/IEC 10918-1, Annex B; TIFF 6.0, section 22; TIFF Technical Note 2).
//
// Ownership: a probe is plain numbers; the file is borrowed for the length of a call. Threads: one
// at a time. Errors: std::bad_alloc alone. Where the file cannot be read, or the read budget is
// spent, of which the host tells, nothing is found.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "check/findings.h"
#include "check/image_fields.h"
#include "check/image_segments.h"
#include "ifdsweep/byte_source.h"

namespace ifdsweep {

/// So many strips, tiles and thumbnails of a file are looked at, the first ones: each costs a read.
inline constexpr std::size_t kMostJpegProbes = 4096;

/// JPEG data of a directory, to be looked at when the walk has ended: what is read before that
/// would be taken from the walk's budget.
struct JpegProbes {
    /// Strips or tiles that are JPEG images.
    struct Segment {
        std::uint64_t position;  ///< in the file
        std::size_t index;
    };
    std::vector<Segment> segments{};
    std::string_view word{};  ///< what they are called
    FindingPlace segmentsPlace{};

    /// One whole image that a directory points to; none where its size is 0.
    std::uint64_t imagePosition = 0;
    std::uint64_t imageSize = 0;
    bool isSizeKnown = false;
    FindingPlace imagePlace{};

    [[nodiscard]] bool areAny() const noexcept { return !segments.empty() || imageSize != 0; }
};

/// Whether the image that JPEGInterchangeFormat points to is in the file. What is to be looked at
/// there goes to the probes.
void checkJpegPointer(const ImageFields& fields, const StreamExtent& extent,
                      std::vector<Finding>& findings, std::size_t& probesLeft, JpegProbes& probes);

/// Whether JPEG tables begin and end as such.
void checkJpegTables(const ImageFields& fields, std::vector<Finding>& findings);

/// Has the segments looked at that hold JPEG images.
/// @param probesLeft how many may be; lessened by those that are
void probeSegments(const ImageFields& fields, const ImageSegments& segments,
                   const StreamExtent& extent, std::size_t& probesLeft, JpegProbes& probes);

/// Looks at what the probes say.
void lookAt(const JpegProbes& probes, const ByteSource& file, std::vector<Finding>& findings);

/// Whether a JPEG file has image data behind its segments, and an end.
void checkJpegFile(const ByteSource& file, std::vector<Finding>& findings);

}  // namespace ifdsweep
