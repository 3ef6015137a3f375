#pragma once

// Own scan: a scan with threads, which the process that made it alone has: in one that was forked
// from it, the copy is left as it is.
//
// Ownership: owns the scan, and shares it with who waits for a file. Threads: `next` by one at a
// time, `close` by any; neither needs the interpreter's lock. Errors: as `FileScan` says;
// std::runtime_error in another process.

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include <sys/types.h>

#include "pack/packed_file.h"
#include "scan/file_scan.h"

namespace ifdsweep::python {

class OwnScan {
public:
    /// How long Ctrl-C may go without notice, in milliseconds.
    static constexpr std::uint32_t kSlice = 50;

    explicit OwnScan(ScanOptions scanOptions);
    OwnScan(const OwnScan&) = delete;
    OwnScan& operator=(const OwnScan&) = delete;
    ~OwnScan() { close(); }

    /// Has its threads begin, if they have not: or else the first call of `next` does.
    void begin() { static_cast<void>(current()); }

    /// Waits for the next file, at most as long; the end when it is closed.
    [[nodiscard]] FileScan::Wait next(std::optional<PackedFile>& file, std::uint32_t milliseconds);

    /// Ends the scan, also for who waits for a file, and gives up the files that are being read.
    void close() noexcept;

private:
    [[nodiscard]] bool isForked() const noexcept;
    [[nodiscard]] std::shared_ptr<FileScan> current();

    const pid_t process;
    const ScanOptions options;
    std::mutex lock;  ///< of the members below
    std::shared_ptr<FileScan> scan;
    bool isClosed = false;
};

}  // namespace ifdsweep::python
