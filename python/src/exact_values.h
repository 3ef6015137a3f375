#pragma once

// Exact values: what the bytes of an entry are, by its field type (values.h has those of Python).

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "objects.h"

namespace ifdsweep::python {

/// The value for people: the name of an enumerated one, text as it is, the first numbers of many;
/// empty where it is not there. Untouched text of the file: not for a terminal.
[[nodiscard]] std::string textOfEntry(const PackedFile& file, const PackedEntryRow& entry);

/// The numerators and denominators of a rational type as Fractions, and None for each whose
/// denominator is zero; None where the value is not there. Throws nb::type_error for other types.
[[nodiscard]] nb::object fractionsOf(const PackedFile& file, const PackedEntryRow& entry);

/// Whether the items of an entry are whole numbers: those of an integer type, and of a default.
[[nodiscard]] bool hasIntegers(const PackedEntryRow& entry);

/// Whether they are rationals or floating point numbers.
[[nodiscard]] bool hasReals(const PackedEntryRow& entry);

/// One item of an entry that has it (values.h: `exactValue`).
[[nodiscard]] nb::object itemObject(const PackedFile& file, const PackedEntryRow& entry,
                                    std::size_t index);

/// The items of an entry of integers of at most 32 bits as a list; no object for other types.
[[nodiscard]] nb::object integerListOf(const PackedFile& file, const PackedEntryRow& entry);

}  // namespace ifdsweep::python
