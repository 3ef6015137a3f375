#pragma once

// Input choice: which files a run reads. Plain values; any thread.

#include <string>
#include <vector>

#include "walk/glob.h"

namespace ifdsweep {

struct InputChoice {
    std::vector<std::string> paths;
    std::string listFile;  ///< a list of more paths; "-" is the standard input; empty: none
    bool nulSeparated = false;
    bool recursive = true;
    bool followLinks = false;
    bool everyFile = false;  ///< not only those whose first bytes are those of an image
    /// The paths are files that were found in folders before, and are treated like these: what is
    /// no image is passed over, and none is looked at before it is read.
    bool foundBefore = false;
    std::vector<Glob> included;  ///< of the files found in folders, one has to match; empty: all do
    std::vector<Glob> excluded;  ///< of files and folders found in folders
};

}  // namespace ifdsweep
