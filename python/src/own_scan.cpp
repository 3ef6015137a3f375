#include "own_scan.h"

#include <stdexcept>
#include <utility>

#include <unistd.h>

namespace ifdsweep::python {

OwnScan::OwnScan(ScanOptions scanOptions) : process(::getpid()), options(std::move(scanOptions)) {}

FileScan::Wait OwnScan::next(std::optional<PackedFile>& file, std::uint32_t milliseconds) {
    if (isForked()) {
        throw std::runtime_error("a scan is for the process that began it");
    }
    const std::shared_ptr<FileScan> open = current();
    return open ? open->next(file, milliseconds) : FileScan::Wait::end;
}

void OwnScan::close() noexcept {
    if (isForked()) {
        return;
    }
    std::shared_ptr<FileScan> ended;
    {
        const std::lock_guard guard(lock);
        isClosed = true;
        ended = std::move(scan);
    }
    if (ended) {
        ended->stop();
    }
}

bool OwnScan::isForked() const noexcept {
    return ::getpid() != process;
}

std::shared_ptr<FileScan> OwnScan::current() {
    const std::lock_guard guard(lock);
    if (!scan && !isClosed) {
        scan = {std::make_unique<FileScan>(options).release(), [owner = process](FileScan* ended) {
                    std::unique_ptr<FileScan> owned(ended);
                    if (::getpid() != owner) {
                        static_cast<void>(owned.release());
                    }
                }};
    }
    return scan;
}

}  // namespace ifdsweep::python
