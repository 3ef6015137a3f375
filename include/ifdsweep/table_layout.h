#pragma once

// Table layout: what the rows of a table of typed columns are. docs/columns.md has the columns.
//
// Threads: any. Stable: part of the API.

#include <cstdint>

namespace ifdsweep {

enum class Layout : std::uint8_t {
    files,     ///< a file
    images,    ///< a directory that describes an image, of a chain or below SubIFDs
    tags,      ///< an entry of any directory, stored or the default of a field
    warnings,  ///< a warning or error
};

}  // namespace ifdsweep
