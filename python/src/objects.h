#pragma once

// Objects: what the classes of the package hold. Each is a place in a packed file that it shares
// with the others, so that all are immutable, made in no time, and outlive each other.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <tuple>
#include <type_traits>

#include <nanobind/nanobind.h>
#include <nanobind/stl/tuple.h>

#include "pack/packed_file.h"

namespace ifdsweep::python {

namespace nb = nanobind;
using namespace nanobind::literals;

using FilePointer = std::shared_ptr<const PackedFile>;

struct File {
    FilePointer file;
    [[nodiscard]] const PackedStreamRow& mainStream() const { return file->streams()[0]; }
};

/// The file of a packed block of whatever origin. Throws nb::value_error for other bytes.
[[nodiscard]] File fileOf(std::span<const std::byte> block);

/// One TIFF stream of a file.
struct Stream {
    FilePointer file;
    std::uint32_t number = 0;  ///< of its row
    [[nodiscard]] const PackedStreamRow& row() const { return file->streams()[number]; }
};

/// One of the records that are directories.
struct Directory {
    FilePointer file;
    std::uint32_t number = 0;  ///< of its row
    [[nodiscard]] const PackedDirectoryRow& row() const { return file->directories()[number]; }
};

struct Entry {
    FilePointer file;
    std::uint32_t number = 0;
    [[nodiscard]] const PackedEntryRow& row() const { return file->entries()[number]; }
};

struct Message {
    FilePointer file;
    std::uint32_t number = 0;
    [[nodiscard]] const PackedMessageRow& row() const { return file->messages()[number]; }
};

/// Gives a class of immutable objects its copies: the object itself.
template <class Type>
void addCopies(nb::class_<Type>& type) {
    type.def(
            "__copy__", [](nb::handle self) { return nb::borrow(self); },
            nb::sig("def __copy__(self) -> typing.Self"))
        .def(
            "__deepcopy__", [](nb::handle self, nb::handle /*memo*/) { return nb::borrow(self); },
            nb::sig("def __deepcopy__(self, memo: object, /) -> typing.Self"));
}

/// Has objects of a class pickled by a state, since functions of the module cannot be pickled.
/// @param stateOf  gives the state of an object
/// @param objectOf gives the object of a state, which may be of any origin
template <class Type, class StateOf, class ObjectOf>
void addPickling(nb::class_<Type>& type, StateOf stateOf, ObjectOf objectOf) {
    using State = std::invoke_result_t<StateOf, const Type&>;
    type.def("__getstate__", stateOf, nb::sig("def __getstate__(self) -> typing.Any"))
        .def(
            "__setstate__",
            [objectOf](Type& object, const State& state) {
                std::construct_at(&object, objectOf(state));
            },
            nb::sig("def __setstate__(self, state: typing.Any, /) -> None"));
}

/// The same of a class of rows: their state is their file and their number.
/// @param Rows gives the table of the file that the number counts in
template <class Type, auto rows>
void addRowPickling(nb::class_<Type>& type) {
    using State = std::tuple<File, std::uint32_t>;
    addPickling(
        type,
        [](const Type& row) {
            return State{{row.file}, row.number};
        },
        [](const State& state) {
            const auto& [file, number] = state;
            if (number >= ((*file.file).*rows)().size()) {
                throw nb::index_error("the file has no such row");
            }
            return Type{file.file, number};
        });
}

void addFileTypes(nb::module_& module);      // file_type.cpp: File, Stream
void addDirectoryType(nb::module_& module);  // directory_type.cpp
void addEntryType(nb::module_& module);      // entry_type.cpp
void addListingType(nb::module_& module);    // listing_type.cpp
void addMessageType(nb::module_& module);    // message_type.cpp
void addReadFunction(nb::module_& module);   // read_function.cpp
void addScanType(nb::module_& module);       // scan_type.cpp
void addTableType(nb::module_& module);      // table_type.cpp

}  // namespace ifdsweep::python
