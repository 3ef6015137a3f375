#pragma once

// Sample checks: whether the fields that describe a pixel agree with each other, and uncompressed
// segments with them (TIFF 6.0, sections 3 to 6, 8, 15, 18 and 21).
//
// Stateless; any thread. Errors: std::bad_alloc alone.

#include <vector>

#include "check/findings.h"
#include "check/image_segments.h"

namespace ifdsweep {

/// Whether the fields agree. One that is odd is compared with nothing.
void checkSamples(const ImageFields& fields, std::vector<Finding>& findings);

/// Whether each segment has the bytes that its pixels take, where they are not compressed. More
/// are as well, and so is a segment without any, which other checks mind.
void checkSizes(const ImageFields& fields, const ImageSegments& segments, const SegmentGrid& grid,
                std::vector<Finding>& findings);

}  // namespace ifdsweep
