#pragma once

// File sequence: many files read one after the other by whoever asks for them, each into a packed
// file, in the order of their names.
//
// Ownership: owns its reader and its names. Threads: `next` by one at a time; `stop` by any.
// Errors: as `next` says.

#include <atomic>
#include <optional>

#include "pack/packed_file.h"
#include "scan/file_scan.h"
#include "walk/input_files.h"

namespace ifdsweep {

class FileSequence {
public:
    /// @param scanOptions of which those of threads and the window mean nothing here
    /// Throws RunFailure when a list of names cannot be opened.
    explicit FileSequence(ScanOptions scanOptions);
    FileSequence(const FileSequence&) = delete;
    FileSequence& operator=(const FileSequence&) = delete;

    /// The next file; none at the end, and when it was stopped. A path that cannot be read is a
    /// file with an error; files in folders that are no images are passed over. Throws
    /// std::bad_alloc.
    [[nodiscard]] std::optional<PackedFile> next();

    /// Ends it, and gives up the file that is being read.
    void stop() noexcept { isStopped = true; }

private:
    std::atomic<bool> isStopped = false;
    const ScanOptions options;
    InputFiles names;
    FileReader read;
};

}  // namespace ifdsweep
