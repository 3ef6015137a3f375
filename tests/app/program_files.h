#pragma once

// The files that the program's tests read: written into a folder of their own, with fixed times.

#include <filesystem>

namespace programfiles {

/// Writes every file into an existing folder.
void writeAll(const std::filesystem::path& folder);

}  // namespace programfiles
