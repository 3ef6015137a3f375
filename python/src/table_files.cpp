#include "table_files.h"

#include <optional>
#include <stdexcept>
#include <utility>

namespace ifdsweep::python {
namespace {

/// What a method returns, or nothing when it raised.
template <class... Arguments>
nb::object called(nb::handle object, const char* method, const Arguments&... arguments) {
    const nb::str name(method);
    return nb::steal(staying([&] {
        return PyObject_CallMethodObjArgs(object.ptr(), name.ptr(), arguments.ptr()...,
                                          static_cast<PyObject*>(nullptr));
    }));
}

/// Closes an iterator; what it raises cannot be told to anyone, and what was raised before stays.
void closeQuietly(nb::handle iterator) noexcept {
    const nb::error_scope before;
    if (!called(iterator, "close").is_valid()) {
        staying([&] { PyErr_WriteUnraisable(iterator.ptr()); });
    }
}

}  // namespace

ThreadFiles::~ThreadFiles() {
    const LockLeft left;
    scan.close();
}

FilePointer ThreadFiles::next(Clock::time_point deadline) {
    std::optional<PackedFile> file;
    FileScan::Wait wait = FileScan::Wait::timeout;
    Clock::time_point now = Clock::now();
    while (wait == FileScan::Wait::timeout && now < deadline) {
        wait = scan.next(file, OwnScan::kSlice);
        now = Clock::now();
        if (now - lastLook >= std::chrono::milliseconds(OwnScan::kSlice)) {
            lastLook = now;
            checkSignals();
        }
    }
    wasEnd = wait == FileScan::Wait::end;
    return file ? std::make_shared<const PackedFile>(std::move(*file)) : nullptr;
}

FilePointer ReadFiles::next(Clock::time_point /*deadline*/) {
    std::optional<PackedFile> file = sequence.next();
    wasEnd = !file;
    return file ? std::make_shared<const PackedFile>(std::move(*file)) : nullptr;
}

IteratorFiles::IteratorFiles(nb::object fileIterator,
                             std::shared_ptr<const Interpreter> interpreter)
    : iterator(std::move(fileIterator)), python(std::move(interpreter)) {}

IteratorFiles::~IteratorFiles() {
    if (!python->runs()) {
        static_cast<void>(iterator.release());
        return;
    }
    const LockTaken lock;
    const nb::error_scope before;
    closeQuietly(iterator);
    PyObject* const last = iterator.release().ptr();
    staying([last] { Py_DECREF(last); });
}

FilePointer IteratorFiles::next(Clock::time_point deadline) {
    if (!python->runs()) {
        throw std::runtime_error("the interpreter has ended");
    }
    const LockTaken lock;
    if (deadline != Clock::time_point::max() && !isReady(deadline)) {
        return nullptr;
    }
    const nb::object file = called(iterator, "__next__");
    if (file.is_valid()) {
        return nb::cast<const File&>(file).file;
    }
    if (PyErr_ExceptionMatches(PyExc_StopIteration) == 0) {
        throw nb::python_error();
    }
    PyErr_Clear();
    wasEnd = true;
    return nullptr;
}

bool IteratorFiles::isReady(Clock::time_point deadline) const {
    const std::chrono::duration<double> left = deadline - Clock::now();
    if (left.count() <= 0) {
        return false;
    }
    const nb::object ready = called(iterator, "is_ready", nb::float_(left.count()));
    if (!ready.is_valid()) {
        throw nb::python_error();
    }
    return nb::cast<bool>(ready);
}

void IteratorFiles::stop() noexcept {
    if (python->runs()) {
        const LockTaken lock;
        closeQuietly(iterator);
    }
}

}  // namespace ifdsweep::python
