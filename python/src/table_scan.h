#pragma once

// Table scan: the batches of a table while its files are read, for whoever takes them: Python, or a
// library by an Arrow stream.
//
// Ownership: owns the reader and where its files come from; a stream shares it. Threads: any, each
// with the interpreter's lock or without. Errors: as `TableReader` and `TableFiles` say; what ended
// the scan is thrown again by each later call.

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>

#include <nanobind/nanobind.h>

#include "columns/arrow_export.h"
#include "columns/table_reader.h"
#include "table_files.h"

namespace ifdsweep::python {

class TableScan {
public:
    TableScan(std::shared_ptr<const TableSchema> tableSchema,
              std::unique_ptr<TableFiles> tableFiles, const BatchLimits& batchLimits,
              const FillLimits& fillLimits, std::int64_t firstFile);

    [[nodiscard]] const std::shared_ptr<const TableSchema>& schema() const noexcept {
        return tableSchema;
    }

    /// The next batch; none at the end and when it is closed. A thread of a library's own, which
    /// Ctrl-C does not reach, is given what rows there are after a while, or an empty batch.
    [[nodiscard]] std::optional<ColumnBatch> next();

    /// Ends the scan, also for who waits for a batch: there are no more.
    void close() noexcept;
    [[nodiscard]] bool isClosed() const noexcept { return wasClosed; }

    /// Throws what ended the scan, if anything did.
    void check();

private:
    [[nodiscard]] std::optional<ColumnBatch> readBatch();
    [[noreturn]] void rethrowFailure() const;
    /// Where the files come from; null after a failure.
    [[nodiscard]] std::shared_ptr<TableFiles> currentFiles() const;

    const std::shared_ptr<const TableSchema> tableSchema;
    mutable std::mutex filesLock;  ///< of the pointer, for those who have not the other lock
    std::shared_ptr<TableFiles> files;
    TableFiles::Clock::time_point deadline{};  ///< of the batch that is read
    TableReader reader;
    std::mutex lock;  ///< of the members around it
    std::exception_ptr failure;
    std::atomic<bool> wasClosed{false};
};

/// Whether who takes a stream asks the scan for what ended it.
enum class FailuresAre : std::uint8_t { askedFor, toldAlone };

/// A stream of the batches that are left, in a capsule.
[[nodiscard]] nb::capsule streamCapsule(const std::shared_ptr<TableScan>& scan,
                                        FailuresAre failures);

/// The schema of a table, in a capsule.
[[nodiscard]] nb::capsule schemaCapsule(const TableSchema& schema);

/// A batch, in a capsule.
[[nodiscard]] nb::capsule batchCapsule(const ColumnBatch& batch);

}  // namespace ifdsweep::python
