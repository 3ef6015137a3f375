#pragma once

// Input choice: which files a run reads. Plain values; any thread.

#include <string>
#include <vector>

namespace ifdsweep {

struct InputChoice {
    std::vector<std::string> paths;
    std::string listFile;  ///< a list of more paths; "-" is the standard input; empty: none
    bool nulSeparated = false;
    bool recursive = true;
    bool followLinks = false;
    bool everyFile = false;  ///< not only those whose first bytes are those of an image
    std::vector<std::string> included;
    std::vector<std::string> excluded;
};

}  // namespace ifdsweep
