#include "table_scan.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "texts.h"

namespace ifdsweep::python {
namespace {

/// How long a thread that Ctrl-C does not reach waits for rows.
constexpr std::chrono::milliseconds kPatience{250};

/// A structure in a capsule, which releases it unless a consumer took it out before.
/// @param fill called with the structure, which is already the capsule's
template <class Structure, class Fill>
nb::capsule capsuleOf(const char* name, Fill&& fill) {
    auto owned = std::make_unique<Structure>();
    nb::capsule capsule(owned.get(), name, [](void* pointer) noexcept {
        const std::unique_ptr<Structure> held(static_cast<Structure*>(pointer));
        if (held->release != nullptr) {
            held->release(held.get());
        }
    });
    fill(*owned.release());
    return capsule;
}

/// What was raised, on one line: "ValueError: paths: …".
std::string shownError(const nb::python_error& error) {
    std::string text = typeNameOf(error.value());
    const nb::object message = nb::steal(PyObject_Str(error.value().ptr()));
    if (!message.is_valid()) {
        PyErr_Clear();
    } else if (nb::len(message) > 0) {
        text += ": " + nb::cast<std::string>(
                           message.attr("encode")("utf-8", "backslashreplace").attr("decode")());
    }
    return text;
}

/// Throws as a stream can tell it. Ctrl-C is not lost to a consumer that makes of it an error
/// like others: Python is told of it again.
[[noreturn]] void rethrowForStream(const nb::python_error& error, FailuresAre failures) {
    const LockTaken lock;
    const std::runtime_error shown(shownError(error));
    if (failures == FailuresAre::toldAlone && error.matches(PyExc_KeyboardInterrupt)) {
        // The iterator of the files goes with the frames, before: what is raised while an object
        // goes is lost.
        static_cast<void>(PyException_SetTraceback(error.value().ptr(), Py_None));
        PyErr_SetInterrupt();
    }
    throw shown;
}

}  // namespace

TableScan::TableScan(std::shared_ptr<const TableSchema> schema,
                     std::unique_ptr<TableFiles> tableFiles, const BatchLimits& batchLimits,
                     const FillLimits& fillLimits, std::int64_t firstFile)
    : tableSchema(std::move(schema)),
      files(std::move(tableFiles)),
      reader(
          *tableSchema, [this] { return files->next(deadline); }, batchLimits, fillLimits,
          firstFile) {}

std::optional<ColumnBatch> TableScan::next() {
    const LockLeft left;  // the lock below may be that of a thread that waits for Python's
    const std::lock_guard guard(lock);
    if (failure) {
        rethrowFailure();
    }
    if (wasClosed) {
        return std::nullopt;
    }
    try {
        std::optional<ColumnBatch> batch = readBatch();
        return wasClosed ? std::nullopt : std::move(batch);
    } catch (...) {
        failure = std::current_exception();
    }
    // Nothing of Python's runs when the rest is let go of, where Ctrl-C would go unheard.
    std::shared_ptr<TableFiles> ended;
    {
        const std::lock_guard pointerGuard(filesLock);
        ended.swap(files);
    }
    ended.reset();
    rethrowFailure();
}

std::optional<ColumnBatch> TableScan::readBatch() {
    using Clock = TableFiles::Clock;
    deadline = isPythonThread() ? Clock::time_point::max() : Clock::now() + kPatience;
    std::optional<ColumnBatch> batch = reader.next();
    if (!batch && !files->isAtEnd()) {
        batch.emplace();
        for (const Column& column : tableSchema->columns) {
            batch->columns.push_back(nullColumn(column.type, 0));
        }
    }
    return batch;
}

/// Throws what ended the scan. An error of Python's can be raised once: it is a copy.
void TableScan::rethrowFailure() const {
    try {
        std::rethrow_exception(failure);
    } catch (const nb::python_error& error) {
        throw nb::python_error(error);
    }
}

void TableScan::close() noexcept {
    wasClosed = true;
    if (const std::shared_ptr<TableFiles> open = currentFiles()) {
        open->stop();
    }
}

std::shared_ptr<TableFiles> TableScan::currentFiles() const {
    const std::lock_guard guard(filesLock);
    return files;
}

void TableScan::check() {
    const LockLeft left;
    const std::lock_guard guard(lock);
    if (failure) {
        rethrowFailure();
    }
}

nb::capsule streamCapsule(const std::shared_ptr<TableScan>& scan, FailuresAre failures) {
    return capsuleOf<ArrowArrayStream>("arrow_array_stream", [&](ArrowArrayStream& stream) {
        const auto next = [scan, failures] {
            try {
                std::optional<ColumnBatch> batch = scan->next();
                if (!batch && scan->isClosed()) {
                    throw std::runtime_error("the scan of this table was closed");
                }
                return batch;
            } catch (const nb::python_error& error) {
                rethrowForStream(error, failures);
            }
        };
        exportStream(scan->schema(), next, stream);
    });
}

nb::capsule schemaCapsule(const TableSchema& schema) {
    return capsuleOf<ArrowSchema>("arrow_schema",
                                  [&](ArrowSchema& filled) { exportSchema(schema, filled); });
}

nb::capsule batchCapsule(const ColumnBatch& batch) {
    return capsuleOf<ArrowArray>("arrow_array",
                                 [&](ArrowArray& filled) { exportBatch(batch, filled); });
}

}  // namespace ifdsweep::python
