#pragma once

// Values: what rows of a packed file are in Python.
//
// Threads: with the interpreter's lock. Errors: nb::python_error.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "objects.h"

namespace ifdsweep::python {

/// Below this every whole double is the number itself (2^53).
inline constexpr double kExactIntegers = 9007199254740992.0;

/// What a function of the interpreter made; throws what it raised.
[[nodiscard]] inline nb::object made(PyObject* object) {
    if (object == nullptr) {
        throw nb::python_error();
    }
    return nb::steal(object);
}

/// Ends a recursion that goes too deep with RecursionError.
class RecursionGuard {
public:
    RecursionGuard() {
        if (Py_EnterRecursiveCall(" while a value is made") != 0) {
            throw nb::python_error();
        }
    }
    ~RecursionGuard() { Py_LeaveRecursiveCall(); }
    RecursionGuard(const RecursionGuard&) = delete;
    RecursionGuard& operator=(const RecursionGuard&) = delete;
};

/// A tuple of so many objects.
/// @param make called with each index in turn
template <class Make>
[[nodiscard]] nb::object tupleOf(std::size_t count, Make&& make) {
    nb::object tuple = made(PyTuple_New(static_cast<Py_ssize_t>(count)));
    for (std::size_t index = 0; index < count; ++index) {
        static_cast<void>(PyTuple_SetItem(tuple.ptr(), static_cast<Py_ssize_t>(index),
                                          nb::object(make(index)).release().ptr()));
    }
    return tuple;
}

/// A list of so many objects.
/// @param make called with each index in turn
template <class Make>
[[nodiscard]] nb::object listOf(std::size_t count, Make&& make) {
    nb::object list = made(PyList_New(static_cast<Py_ssize_t>(count)));
    for (std::size_t index = 0; index < count; ++index) {
        static_cast<void>(PyList_SetItem(list.ptr(), static_cast<Py_ssize_t>(index),
                                         nb::object(make(index)).release().ptr()));
    }
    return list;
}

/// The name of a field as a key: one object for all that are equal.
[[nodiscard]] nb::object keyOf(const PackedFile& file, std::uint32_t name);

/// The text of a field in its natural reading.
[[nodiscard]] nb::object textObject(std::u16string_view units, std::string_view fieldName);

/// The value of a field as the mapping of a directory gives it (record_values.cpp): None, int,
/// float, str, bytes, Directory, a mapping, or a tuple of them. Numbers of an entry that has
/// integers are exact.
/// @param directory that the field is of; null for records that are none
/// @param name      of the field, in the table of names
[[nodiscard]] nb::object recordValue(const FilePointer& file, const PackedValueRow& value,
                                     const PackedDirectoryRow* directory, std::uint32_t name);

/// The value of a field as a reader of the JSON gets it (natural_values.cpp): None, int, float,
/// str, list, dict.
[[nodiscard]] nb::object naturalValue(const PackedFile& file, const PackedValueRow& value,
                                      std::uint32_t name);

/// The object of one record of an array of records, as the JSON has it.
[[nodiscard]] nb::dict naturalRecord(const PackedFile& file, const PackedArrayRow& records,
                                     std::uint32_t element);

/// The object of the file as the JSON has it.
[[nodiscard]] nb::dict naturalFile(const PackedFile& file);

/// The object of a message as the JSON has it.
[[nodiscard]] nb::dict naturalMessage(const PackedFile& file, const PackedMessageRow& message,
                                      bool isError);

/// The stored value of an entry, exact (exact_values.cpp): items of its type, one or a tuple; None
/// where it is not there.
[[nodiscard]] nb::object exactValue(const FilePointer& file, const PackedEntryRow& entry);

/// A read-only NumPy array on the bytes of an entry, which keeps its file alive.
[[nodiscard]] nb::object arrayOf(const FilePointer& file, const PackedEntryRow& entry);

/// Text of system bytes as Python has it: what is no UTF-8 is escaped by surrogates.
[[nodiscard]] nb::object pathText(std::string_view systemBytes);

/// The last entry of a field in a directory that was not dropped; `kNoRow` for none.
/// @param name of the field, or of the entry
[[nodiscard]] std::uint32_t entryByName(const PackedFile& file, const PackedDirectoryRow& directory,
                                        std::uint32_t name);

}  // namespace ifdsweep::python
