#pragma once

// Table files: where the files of a table come from, one after the other, for whoever takes the
// table's batches: threads that know nothing of Python, too.
//
// Ownership: each owns its scan. Threads: `next` by one at a time, `stop` by any; both with the
// interpreter's lock or without. Errors: nb::python_error for what Python raises.

#include <chrono>
#include <memory>
#include <utility>

#include <nanobind/nanobind.h>

#include "interpreter_lock.h"
#include "objects.h"
#include "own_scan.h"
#include "scan/file_sequence.h"

namespace ifdsweep::python {

class TableFiles {
public:
    using Clock = std::chrono::steady_clock;

    TableFiles() = default;
    TableFiles(const TableFiles&) = delete;
    TableFiles& operator=(const TableFiles&) = delete;
    virtual ~TableFiles() = default;

    /// The next file; null at the end, and where there is none yet when the time is over.
    [[nodiscard]] virtual FilePointer next(Clock::time_point deadline) = 0;

    /// Whether `next` met the end.
    [[nodiscard]] bool isAtEnd() const noexcept { return wasEnd; }

    /// Ends the reading, also for who waits for a file.
    virtual void stop() noexcept = 0;

protected:
    bool wasEnd = false;
};

/// Files that threads of this process read, from when the first is asked for.
class ThreadFiles final : public TableFiles {
public:
    explicit ThreadFiles(ScanOptions options) : scan(std::move(options)) {}
    ~ThreadFiles() override;

    [[nodiscard]] FilePointer next(Clock::time_point deadline) override;
    void stop() noexcept override { scan.close(); }

private:
    OwnScan scan;
    Clock::time_point lastLook{};  ///< at signals
};

/// Files that the thread that asks for them reads.
class ReadFiles final : public TableFiles {
public:
    explicit ReadFiles(ScanOptions options) : sequence(std::move(options)) {}

    [[nodiscard]] FilePointer next(Clock::time_point deadline) override;
    void stop() noexcept override { sequence.stop(); }

private:
    FileSequence sequence;
};

/// Files of an iterator of Python's that has `close`, and `is_ready`, which waits so many seconds
/// for the next file.
class IteratorFiles final : public TableFiles {
public:
    /// @param interpreter without which the iterator is left as it is
    IteratorFiles(nb::object fileIterator, std::shared_ptr<const Interpreter> interpreter);
    ~IteratorFiles() override;

    [[nodiscard]] FilePointer next(Clock::time_point deadline) override;
    void stop() noexcept override;

private:
    [[nodiscard]] bool isReady(Clock::time_point deadline) const;

    nb::object iterator;
    std::shared_ptr<const Interpreter> python;
};

}  // namespace ifdsweep::python
