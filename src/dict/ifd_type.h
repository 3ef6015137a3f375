#pragma once

// The kinds of directories. Constants; any thread.

#include <cstdint>

#include "ifdsweep/entry_sink.h"

namespace ifdsweep::module {

/// Kind of a directory. It selects the dictionary of tag names and the nesting rules.
enum IFDtype_t_ : std::uint32_t {
    primaryIFD = 0,  ///< a directory of the main chain, or one reached through SubIFDs (330)
    GPSIFD = 1,      ///< the GPS directory, reached through tag 34853
    interopIFD = 2,  ///< the Interoperability directory, reached through tag 40965
    exifIFD = 3,     ///< the Exif directory, reached through tag 34665
};

/// The kind as those outside the module know it; the numbers are the same.
[[nodiscard]] constexpr DirectoryKind directoryKind(IFDtype_t_ kind) {
    return static_cast<DirectoryKind>(kind);
}

}  // namespace ifdsweep::module
