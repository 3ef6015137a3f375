#include "sources.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include <nanobind/stl/string.h>

#include "interpreter_lock.h"
#include "texts.h"

namespace ifdsweep::python {
namespace {

/// Most bytes that an object is asked for at once: however long a value says it is, no more memory
/// than this is needed beside that of its bytes.
constexpr std::size_t kPiece = std::size_t{1} << 20;

[[noreturn]] void refuseResult(const char* method, nb::handle returned, const char* expected) {
    throw nb::type_error((std::string("source: ") + method + "() returned " + typeNameOf(returned) +
                          ", expected " + expected)
                             .c_str());
}

/// What a method returns, whose code may let go of the interpreter's lock.
template <class Method, class... Arguments>
nb::object called(const Method& method, const Arguments&... arguments) {
    return staying([&] { return nb::object(method(arguments...)); });
}

/// A number that a method returned, from 0 to a greatest.
std::uint64_t resultNumber(const char* method, nb::handle returned, std::uint64_t most) {
    if (PyLong_Check(returned.ptr()) == 0) {
        refuseResult(method, returned, "an int");
    }
    int isOutside = 0;
    const long long number = PyLong_AsLongLongAndOverflow(returned.ptr(), &isOutside);
    if (isOutside != 0 || number < 0 || static_cast<std::uint64_t>(number) > most) {
        throw nb::value_error((std::string("source: ") + method +
                               "() returned a number that is not from 0 to " + std::to_string(most))
                                  .c_str());
    }
    return static_cast<std::uint64_t>(number);
}

constexpr std::uint64_t kMostPosition = std::numeric_limits<std::int64_t>::max();

}  // namespace

nb::object attributeOf(nb::handle object, const char* name) {
    nb::object attribute = nb::steal(PyObject_GetAttrString(object.ptr(), name));
    if (!attribute.is_valid()) {
        if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) {
            throw nb::python_error();
        }
        PyErr_Clear();
    }
    return attribute;
}

bool isSeekable(nb::handle fileObject) {
    const nb::object says = attributeOf(fileObject, "seekable");
    return says.is_valid() ? nb::cast<bool>(nb::bool_(says()))
                           : attributeOf(fileObject, "seek").is_valid();
}

HeldBuffer::HeldBuffer(nb::handle object) {
    if (PyObject_GetBuffer(object.ptr(), &view, PyBUF_SIMPLE) == 0) {
        return;
    }
    if (PyErr_ExceptionMatches(PyExc_BufferError) != 0) {
        PyErr_Clear();
        throw nb::value_error("source: its bytes do not lie one after the other");
    }
    const nb::python_error error;
    // As NumPy has it, and views that were let go.
    if (error.matches(PyExc_ValueError)) {
        throw nb::value_error(("source: " + nb::cast<std::string>(nb::str(error.value()))).c_str());
    }
    throw error;
}

FileObjectSource::FileObjectSource(nb::object fileObject)
    : file(std::move(fileObject)), readInto(attributeOf(file, "readinto")) {
    ownPosition = seek(0, SEEK_CUR);
    byteCount = seek(0, SEEK_END);
}

FileObjectSource::~FileObjectSource() {
    if (!isDone) {
        try {
            finish();
        } catch (...) {
            // Something else went wrong before, and is on its way.
            failure = nullptr;
        }
    }
}

void FileObjectSource::finish() {
    isDone = true;
    try {
        static_cast<void>(seek(static_cast<std::int64_t>(ownPosition), SEEK_SET));
    } catch (...) {
        if (failure == nullptr) {
            throw;
        }
    }
    if (failure != nullptr) {
        std::rethrow_exception(std::exchange(failure, nullptr));
    }
}

std::uint64_t FileObjectSource::seek(std::int64_t offset, int whence) const {
    const nb::object position = called(file.attr("seek"), offset, whence);
    // Some objects of old do not say where they are.
    return position.is_none() ? resultNumber("tell", called(file.attr("tell")), kMostPosition)
                              : resultNumber("seek", position, kMostPosition);
}

std::size_t FileObjectSource::readPiece(std::span<std::byte> target) const {
    const auto copy = [target](const HeldBuffer& from, std::size_t count) {
        if (count > 0) {
            std::memcpy(target.data(), from.bytes().data(), count);
        }
        return count;
    };
    if (readInto.is_valid()) {
        // An object may keep what it was given to read into, or change its size: it is none of
        // our memory.
        const nb::object piece = nb::steal(
            PyByteArray_FromStringAndSize(nullptr, static_cast<Py_ssize_t>(target.size())));
        if (!piece.is_valid()) {
            throw nb::python_error();
        }
        std::memset(PyByteArray_AsString(piece.ptr()), 0, target.size());
        const std::uint64_t count =
            resultNumber("readinto", called(readInto, piece), target.size());
        const HeldBuffer filled(piece);
        if (filled.bytes().size() < count) {
            throw nb::value_error("source: readinto() took bytes away");
        }
        return copy(filled, static_cast<std::size_t>(count));
    }
    const nb::object bytes = called(file.attr("read"), target.size());
    if (PyObject_CheckBuffer(bytes.ptr()) == 0) {
        refuseResult("read", bytes, "bytes: is the file open in binary mode?");
    }
    const HeldBuffer filled(bytes);
    if (filled.bytes().size() > target.size()) {
        throw nb::value_error("source: read() returned more bytes than it was asked for");
    }
    return copy(filled, filled.bytes().size());
}

std::ptrdiff_t FileObjectSource::read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept {
    const std::uint64_t left = byteCount - std::min(position, byteCount);
    target = target.first(static_cast<std::size_t>(std::min<std::uint64_t>(target.size(), left)));
    if (failure != nullptr) {
        errno = EIO;
        return -1;
    }
    if (target.empty()) {
        return 0;
    }
    const LockTaken lock;
    try {
        static_cast<void>(seek(static_cast<std::int64_t>(position), SEEK_SET));
        std::size_t got = 0;
        while (got < target.size()) {
            const std::size_t piece =
                readPiece(target.subspan(got, std::min(kPiece, target.size() - got)));
            if (piece == 0) {
                break;
            }
            got += piece;
        }
        return static_cast<std::ptrdiff_t>(got);
    } catch (...) {
        failure = std::current_exception();
    }
    errno = EIO;
    return -1;
}

}  // namespace ifdsweep::python
