#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "interpreter_lock.h"
#include "io/descriptor.h"
#include "objects.h"
#include "pack/file_status.h"
#include "read_options.h"
#include "scan/packing_reader.h"
#include "sources.h"
#include "texts.h"

namespace ifdsweep::python {
namespace {

using namespace nb::literals;

constexpr const char* kSourceTypes =
    "a path, bytes, another object with a buffer or a binary file object";

/// A str in system bytes.
std::string stringOf(const nb::bytes& bytes) {
    return {bytes.c_str(), bytes.size()};
}

std::string systemBytes(nb::handle text) {
    const auto bytes = nb::steal<nb::bytes>(PyUnicode_EncodeFSDefault(text.ptr()));
    if (!bytes.is_valid()) {
        throw nb::python_error();
    }
    return stringOf(bytes);
}

bool isPath(nb::handle source) {
    return nb::isinstance<nb::str>(source) || nb::hasattr(source.type(), "__fspath__");
}

bool isUsableName(std::string_view name) {
    return !name.empty() && name.find('\0') == std::string_view::npos;
}

/// What a source is called that is no path.
/// @param given the argument, or None
/// @param own   its own name, or an invalid object
std::string nameOf(nb::handle given, nb::handle own, const char* other) {
    if (!given.is_none()) {
        if (!nb::isinstance<nb::str>(given)) {
            refuseType("name", "a str or None", given);
        }
        std::string name = systemBytes(given);
        if (!isUsableName(name)) {
            throw nb::value_error("name: expected a text that is not empty and holds no NUL");
        }
        return name;
    }
    if (own.is_valid() && nb::isinstance<nb::str>(own)) {
        const auto bytes = nb::steal<nb::bytes>(PyUnicode_EncodeFSDefault(own.ptr()));
        PyErr_Clear();
        if (bytes.is_valid()) {
            std::string name = stringOf(bytes);
            if (isUsableName(name)) {
                return name;
            }
        }
    }
    return other;
}

/// Reads without the interpreter's lock.
/// @param serve called with the host before
template <class Serve>
FilePointer readServed(ReadSettings settings, const std::string& name, Serve&& serve) {
    const LockReleased unlocked;
    PackingReader reader(settings.read, std::move(settings.fields));
    serve(reader.host());
    return std::make_shared<const PackedFile>(reader.read(name));
}

/// Why the system gives no bytes of a path, as in errno.
int systemError(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
        return errno;
    }
    if (S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    char byte = 0;
    return S_ISREG(status.st_mode) && ::pread(file.get(), &byte, 1, 0) < 0 ? errno : EIO;
}

FilePointer readPath(nb::handle source, ReadSettings settings) {
    const nb::object path = nb::steal(PyOS_FSPath(source.ptr()));
    if (!path.is_valid()) {
        throw nb::python_error();
    }
    const std::string name =
        nb::isinstance<nb::str>(path) ? systemBytes(path) : stringOf(nb::borrow<nb::bytes>(path));
    if (name.find('\0') != std::string::npos) {
        throw nb::value_error("source: embedded null byte");
    }
    FilePointer file = readServed(std::move(settings), name, [](Host& /*host*/) {});
    if (statusOf(*file) == FileStatus::unreadable) {
        errno = systemError(name);
        PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, path.ptr());
        throw nb::python_error();
    }
    return file;
}

FilePointer readBuffer(nb::handle source, ReadSettings settings, const std::string& name) {
    const HeldBuffer buffer(source);
    return readServed(std::move(settings), name,
                      [&](Host& host) { host.serve(name, buffer.bytes()); });
}

FilePointer readFileObject(nb::handle source, ReadSettings settings, const std::string& name) {
    if (nb::isinstance(source, nb::module_::import_("io").attr("TextIOBase"))) {
        throw nb::type_error("source: the file is open in text mode, expected binary mode");
    }
    if (!isSeekable(source)) {
        const nb::object content = source.attr("read")();
        if (PyObject_CheckBuffer(content.ptr()) == 0) {
            throw nb::type_error((std::string("source: read() returned ") + typeNameOf(content) +
                                  ", expected bytes: is the file open in binary mode?")
                                     .c_str());
        }
        return readBuffer(content, std::move(settings), name);
    }
    const auto bytes = std::make_shared<FileObjectSource>(nb::borrow(source));
    FilePointer file =
        readServed(std::move(settings), name, [&](Host& host) { host.serve(name, bytes); });
    bytes->finish();
    return file;
}

FilePointer readAny(nb::handle source, nb::handle name, ReadSettings settings) {
    if (isPath(source)) {
        if (!name.is_none()) {
            throw nb::value_error("name: goes with a source that is no path");
        }
        return readPath(source, std::move(settings));
    }
    if (PyObject_CheckBuffer(source.ptr()) != 0) {
        return readBuffer(source, std::move(settings), nameOf(name, {}, "<bytes>"));
    }
    if (!attributeOf(source, "read").is_valid()) {
        refuseType("source", kSourceTypes, source);
    }
    return readFileObject(source, std::move(settings),
                          nameOf(name, attributeOf(source, "name"), "<file>"));
}

// On one line, as it must be.
constexpr const char* kSignature =
    "def read(source: ifdsweep._types.Source, offset: int | None, first: int, max: int, "
    "tags: str | collections.abc.Iterable[str | int] | None, max_value: int | None, "
    "reading: str, read_budget: int | str | None, value_budget: int | str | None, "
    "streams: str, check: bool, name: str | None, /) -> File";

constexpr const char* kDoc = "Read one file; `ifdsweep.read` tells of the arguments.";

}  // namespace

void addReadFunction(nb::module_& module) {
    module.def(
        "read",
        [](nb::handle source, nb::handle offset, nb::handle first, nb::handle max, nb::handle tags,
           nb::handle maxValue, nb::handle reading, nb::handle readBudget, nb::handle valueBudget,
           nb::handle streams, nb::handle check, nb::handle name) {
            return File{readAny(source, name,
                                readSettings(offset, first, max, tags, maxValue, reading,
                                             readBudget, valueBudget, streams, check))};
        },
        nb::arg().none(), nb::arg().none(), nb::arg().none(), nb::arg().none(), nb::arg().none(),
        nb::arg().none(), nb::arg().none(), nb::arg().none(), nb::arg().none(), nb::arg().none(),
        nb::arg().none(), nb::arg().none(), nb::sig(kSignature), kDoc);
}

}  // namespace ifdsweep::python
