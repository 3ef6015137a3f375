#pragma once

// File report: what the program tells about one file beside its output. Plain values that pass
// from a worker process to the main one. Any thread.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "io/packed.h"

namespace ifdsweep {

struct FileReport {
    enum class Ending : std::uint8_t {
        read,
        failed,
        skipped,  ///< found in a folder and no image
    };

    Ending ending = Ending::read;
    std::uint64_t directories = 0;  ///< of the primary chain
    std::string failure;  ///< the text and the short id of the error; escaped by who shows it
    /// How often each kind of warning was given that is not ignored, by full id.
    std::vector<std::pair<std::string, std::uint64_t>> warnings;
    /// Whether the format shows anything of the file; what that is comes beside the report.
    bool isShown = false;

    /// Whether a warning tells of something wrong: one about values or streams that nobody asked
    /// for does not.
    [[nodiscard]] bool isWarned() const;
};

/// The report of a file that failed.
[[nodiscard]] FileReport failureReport(std::string failure);

/// Appends a report, packed.
void packReport(std::string& bytes, const FileReport& report);

/// Takes a packed report, whoever packed it; the unpacker fails when there is none.
[[nodiscard]] FileReport unpackReport(Unpacker& bytes);

}  // namespace ifdsweep
