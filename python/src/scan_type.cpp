#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "interpreter_lock.h"
#include "objects.h"
#include "own_scan.h"
#include "pack/packed_stream.h"
#include "read_options.h"
#include "scan/file_scan.h"
#include "walk/glob.h"

namespace ifdsweep::python {
namespace {

using Texts = std::vector<nb::bytes>;

std::string textOf(const nb::bytes& bytes) {
    return {bytes.c_str(), bytes.size()};
}

/// System bytes as Python represents them.
std::string representation(const nb::bytes& bytes) {
    const nb::object text = nb::steal(
        PyUnicode_DecodeFSDefaultAndSize(bytes.c_str(), static_cast<Py_ssize_t>(bytes.size())));
    const nb::object ascii = text.is_valid() ? nb::steal(PyObject_ASCII(text.ptr())) : text;
    if (!ascii.is_valid()) {
        throw nb::python_error();
    }
    return nb::cast<std::string>(ascii);
}

Glob glob(const char* argument, const nb::bytes& pattern, bool ignoreCase) {
    try {
        return Glob(textOf(pattern), ignoreCase ? LetterCase::any : LetterCase::distinct);
    } catch (const BadGlob& error) {
        refuseValue(argument, representation(pattern) + ": " + error.what());
    }
}

std::vector<Glob> globs(const char* argument, const Texts& patterns, bool ignoreCase) {
    std::vector<Glob> parsed;
    for (const nb::bytes& pattern : patterns) {
        parsed.push_back(glob(argument, pattern, ignoreCase));
    }
    return parsed;
}

/// Patterns of files.
std::vector<Glob> fileGlobs(const char* argument, const Texts& patterns, bool ignoreCase) {
    std::vector<Glob> parsed = globs(argument, patterns, ignoreCase);
    if (std::any_of(parsed.begin(), parsed.end(), std::mem_fn(&Glob::isForFolders))) {
        refuseValue(argument,
                    "a slash at the end is for folders, and files are included; what lies in "
                    "folders NAME is **/NAME/**");
    }
    return parsed;
}

/// The arguments of a scan, checked.
ScanOptions scanOptions(const Texts& paths, bool recursive, const Texts& include,
                        const Texts& exclude, bool ignoreCase, bool allFiles, bool follow,
                        unsigned threads, bool ordered, nb::handle offset, nb::handle first,
                        nb::handle max, nb::handle tags, nb::handle maxValue, nb::handle reading,
                        nb::handle readBudget, nb::handle valueBudget, nb::handle streams,
                        nb::handle check) {
    ReadSettings settings = readSettings(offset, first, max, tags, maxValue, reading, readBudget,
                                         valueBudget, streams, check);
    ScanOptions options;
    std::transform(paths.begin(), paths.end(), std::back_inserter(options.input.paths), textOf);
    options.input.recursive = recursive;
    options.input.followLinks = follow;
    options.input.everyFile = allFiles;
    options.input.included = fileGlobs("include", include, ignoreCase);
    options.input.excluded = globs("exclude", exclude, ignoreCase);
    options.read = settings.read;
    options.fields = std::move(settings.fields);
    options.threads = threads;
    options.isOrdered = ordered;
    return options;
}

/// A scan with threads that is begun at once.
class ThreadScan {
public:
    explicit ThreadScan(const ScanOptions& options) : scan(options) { scan.begin(); }
    ThreadScan(const ThreadScan&) = delete;
    ThreadScan& operator=(const ThreadScan&) = delete;
    ~ThreadScan() { close(); }

    File next() {
        std::optional<PackedFile> file;
        FileScan::Wait wait = scan.next(file, 0);
        while (wait == FileScan::Wait::timeout) {
            wait = waitFor(file);
        }
        if (wait == FileScan::Wait::end) {
            throw nb::stop_iteration();
        }
        return {std::make_shared<const PackedFile>(std::move(*file))};
    }

    void close() {
        const LockReleased released;
        scan.close();
    }

private:
    FileScan::Wait waitFor(std::optional<PackedFile>& file) {
        FileScan::Wait wait = FileScan::Wait::timeout;
        {
            const LockReleased released;
            wait = scan.next(file, OwnScan::kSlice);
        }
        if (wait == FileScan::Wait::timeout && PyErr_CheckSignals() != 0) {
            throw nb::python_error();
        }
        return wait;
    }

    OwnScan scan;
};

/// What a buffer holds, as the file that it is packed from.
File parse(nb::handle buffer) {
    Py_buffer view{};
    if (PyObject_GetBuffer(buffer.ptr(), &view, PyBUF_SIMPLE) != 0) {
        throw nb::python_error();
    }
    const std::unique_ptr<Py_buffer, void (*)(Py_buffer*)> held(&view, PyBuffer_Release);
    return fileOf({static_cast<const std::byte*>(view.buf), static_cast<std::size_t>(view.len)});
}

}  // namespace

void addScanType(nb::module_& module) {
    const nb::class_<ScanOptions> options(module, "ScanOptions",
                                          "The arguments of a scan, checked.");
    module.def("scan_options", scanOptions, nb::kw_only(), nb::arg("paths"), nb::arg("recursive"),
               nb::arg("include"), nb::arg("exclude"), nb::arg("ignore_case"), nb::arg("all_files"),
               nb::arg("follow"), nb::arg("threads"), nb::arg("ordered"), nb::arg("offset").none(),
               nb::arg("first").none(), nb::arg("max").none(), nb::arg("tags").none(),
               nb::arg("max_value").none(), nb::arg("reading").none(),
               nb::arg("read_budget").none(), nb::arg("value_budget").none(),
               nb::arg("streams").none(), nb::arg("check").none(),
               nb::sig("def scan_options(*, paths: list[bytes], threads: int, "
                       "**arguments: object) -> ScanOptions"),
               "Checks the arguments of a scan. The others are named as those of `scan`; paths and "
               "patterns are system bytes.");
    nb::class_<ThreadScan>(module, "ThreadScan", "A scan with threads of this process.")
        .def(nb::init<const ScanOptions&>())
        .def(
            "__iter__", [](nb::handle self) { return nb::borrow(self); },
            nb::sig("def __iter__(self) -> ThreadScan"))
        .def("__next__", &ThreadScan::next, "The next file.")
        .def("close", &ThreadScan::close, "Ends the scan, also for who waits for a file.");
    module.attr("PACKED_HEAD") = nb::bytes(kPackedStreamHead.data(), kPackedStreamHead.size());
    module.def("parse_packed", parse, nb::arg("block"),
               nb::sig("def parse_packed(block: object) -> File"),
               "The file of a packed block (`--format packed`); ValueError for other bytes.");
}

}  // namespace ifdsweep::python
