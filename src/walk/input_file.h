#pragma once

// Input file: one path to be read. Plain value; any thread.

#include <string>

namespace ifdsweep {

/// The path that stands for the standard input.
inline constexpr const char* kStandardInput = "-";

struct InputFile {
    std::string path;
    bool imagesOnly = false;  ///< left alone unless it begins as an image: found in a folder
    std::string failure;      ///< why the path cannot be read at all; empty when it can be tried
    bool isPath = true;       ///< false: the failure is one of a list, whose name stands as path
};

}  // namespace ifdsweep
