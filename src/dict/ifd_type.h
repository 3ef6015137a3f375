#pragma once

// The kinds of directories. Constants; any thread.

#include <cstdint>

namespace ifdsweep::module {

/// Kind of a directory. It selects the dictionary of tag names and the nesting rules.
enum IFDtype_t_ : std::uint32_t {
    primaryIFD = 0,  ///< a directory of the main chain, or one reached through SubIFDs (330)
    GPSIFD = 1,      ///< the GPS directory, reached through tag 34853
    interopIFD = 2,  ///< the Interoperability directory, reached through tag 40965
    exifIFD = 3,     ///< the Exif directory, reached through tag 34665
};

}  // namespace ifdsweep::module
