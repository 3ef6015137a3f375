#pragma once

// File scan: many files read by threads of this process, each into a packed file, in the order of
// their names or as they come. No more than a window of them is read ahead.
//
// A thread takes a chunk of names at a time: one, and more as long as they take no time to speak
// of. What it read of them can be had at once; whoever waits for it is woken when the chunk is
// done, or looks again after 2 ms, so that handing over costs a small file next to nothing.
//
// Ownership: owns its threads, which block all signals and have ended when it is gone: a file that
// is being read is given up at its next directory or entry. In a process that was forked from that
// of the scan there are no such threads: leave its copy alone there. Threads: `next` by one at a
// time; `stop` by any. Errors: as `next` says.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "ifdsweep/read.h"
#include "pack/packed_file.h"
#include "read/tag_choice.h"
#include "scan/packing_reader.h"
#include "walk/input_choice.h"

namespace ifdsweep {

struct ScanOptions {
    InputChoice input;                  ///< "-" is the name of a file here
    ReadOptions read{};                 ///< without sink and filter
    std::vector<ChosenField> fields{};  ///< those that are read; empty: all
    unsigned threads = 1;               ///< most; at least 1
    bool isOrdered = true;              ///< in the order of the names
    /// The most files that are read or being read ahead; at least 1. One that is waited for is
    /// read whatever lies behind it.
    std::size_t windowFiles = 256;
    /// No file is begun while so many bytes lie ahead; but for those that are being read by then
    /// no more do.
    std::size_t windowBytes = std::size_t{256} << 20;
    /// Gives each thread what it reads with; none: a `PackingReader`.
    std::function<FileReader()> makeReader{};
};

class FileScan {
public:
    /// Throws RunFailure when a list of names cannot be opened, std::system_error when not even
    /// one thread can be started.
    explicit FileScan(ScanOptions scanOptions);
    ~FileScan();
    FileScan(const FileScan&) = delete;
    FileScan& operator=(const FileScan&) = delete;

    /// What came of waiting for the next file.
    enum class Wait : std::uint8_t { file, end, timeout };

    /// Waits for the next file, at most as long. A path that cannot be read is a file with an
    /// error; files in folders that are no images are passed over. What a thread of the scan threw
    /// comes through once, in place of the files that are left, and is the end.
    [[nodiscard]] Wait next(std::optional<PackedFile>& file, std::uint32_t milliseconds);

    /// Begins no more files, gives up those that are being read, and has `next` tell the end.
    void stop() noexcept;

private:
    class Parts;
    const std::unique_ptr<Parts> parts;
};

}  // namespace ifdsweep
