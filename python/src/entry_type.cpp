#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>

#include "columns/directory_paths.h"
#include "columns/entry_items.h"
#include "exact_values.h"
#include "objects.h"
#include "pack/unpack.h"
#include "texts.h"
#include "values.h"
#include "write/facts_line.h"

namespace ifdsweep::python {
namespace {

/// A name row as a str; None where there is none.
nb::object nameObject(const Entry& entry, std::uint32_t PackedEntryRow::*name) {
    const std::uint32_t row = entry.row().*name;
    return row == kNoRow ? nb::object(nb::none()) : utf8Str(entry.file->name(row));
}

template <std::uint32_t PackedEntryRow::*name>
nb::object nameOf(const Entry& entry) {
    return nameObject(entry, name);
}

bool isStored(const Entry& entry) {
    return entry.row().isDefault == 0;
}

std::string_view typeNameOf(const Entry& entry) {
    return fieldTypeName(entry.row().fieldType);
}

nb::object typeOf(const Entry& entry) {
    if (!isStored(entry)) {
        return nb::none();
    }
    const std::string_view name = typeNameOf(entry);
    return name.empty() ? nb::object(nb::int_(entry.row().fieldType)) : strOf(name);
}

std::optional<std::uint64_t> positionOf(const Entry& entry) {
    return isStored(entry) ? std::optional(entry.row().position) : std::nullopt;
}

/// How long a value of an unknown type is, and with it where it lies, is not known.
std::optional<std::uint64_t> valuePositionOf(const Entry& entry) {
    return isStored(entry) && !typeNameOf(entry).empty() ? std::optional(entry.row().valuePosition)
                                                         : std::nullopt;
}

nb::object bytesOf(const Entry& entry) {
    if (!isStored(entry) || entry.row().isLoaded == 0) {
        return nb::none();
    }
    const auto bytes = entry.file->bytesOf(entry.row().bytes);
    return nb::bytes(bytes.data(), bytes.size());
}

/// What tells entries apart, but for the directory that they stand in.
auto contentOf(const Entry& entry) {
    const PackedFile& file = *entry.file;
    const PackedEntryRow& row = entry.row();
    return std::tuple(row.tag, row.fieldType, row.count, row.position, row.valuePosition,
                      row.isInline, row.isDefault, row.isLoaded, file.name(row.name),
                      file.name(row.valueName), file.name(row.droppedBy), file.textOf(row.bytes));
}

bool areEqual(const Entry& one, const Entry& other) {
    return contentOf(one) == contentOf(other);
}

/// Of the value only the beginning: equal entries have equal numbers all the same.
std::size_t hashOf(const Entry& entry) {
    const PackedEntryRow& row = entry.row();
    const auto number = [](auto value) { return std::hash<std::uint64_t>()(value); };
    constexpr std::size_t kHashedBytes = 64;
    constexpr std::size_t kFactor = 1099511628211U;
    std::size_t hash = number(row.tag);
    for (const std::size_t part :
         {number(row.fieldType), number(row.count), number(row.position),
          std::hash<std::string_view>()(entry.file->textOf(row.bytes).substr(0, kHashedBytes))}) {
        hash = (hash ^ part) * kFactor;
    }
    return hash;
}

std::string representation(const Entry& entry) {
    const PackedEntryRow& row = entry.row();
    std::string text = "<Entry ";
    text += row.name == kNoRow ? std::to_string(row.tag) : shownText(entry.file->name(row.name));
    text += ": ";
    const std::string_view type = typeNameOf(entry);
    text += !isStored(entry) ? "default"
            : type.empty()   ? "type " + std::to_string(row.fieldType)
                             : std::string(type);
    if (row.count != 1) {
        text.append("[").append(std::to_string(row.count)).append("]");
    }
    const bool isThere = row.isLoaded != 0 || !isStored(entry);
    text += ", " + (isThere ? shownText(textOfEntry(*entry.file, row)) : "not loaded");
    if (row.droppedBy != kNoRow) {
        const std::string_view id = entry.file->name(row.droppedBy);
        text += ", dropped by " + shownText(id.substr(id.rfind(':') + 1));
    }
    return text + ">";
}

nb::object dictOf(const Entry& entry) {
    const PackedFile& file = *entry.file;
    const PackedEntryRow& row = entry.row();
    const PackedDirectoryRow& directory = file.directories()[row.directory];
    const PackedStreamRow& stream = file.streams()[directory.stream];
    const std::string line = written([&](Output& output) {
        appendLineStart(output, file.textOf(file.file().path),
                        {.container = std::string(file.textOf(stream.container)),
                         .name = std::string(file.textOf(stream.name)),
                         .isEmbedded = stream.isEmbedded != 0});
        appendDirectoryMembers(output, directoryPath(file, directory),
                               static_cast<DirectoryKind>(directory.kind));
        appendEntryMembers(output, entryFacts(file, row));
        output.append('}');
    });
    return nb::module_::import_("json").attr("loads")(strOf(line));
}

constexpr const char* kClassDoc =
    R"(One stored entry of a directory, exact to the byte, or the default of a field that it lacks.

Equal entries show the same, whatever directory they stand in.)";

constexpr const char* kValueDoc = R"(The value as it is stored.

``int``, ``float``, ``(numerator, denominator)``; a tuple of them unless there is exactly one.
ASCII is one ``str`` without the NUL at its end, or ``bytes`` where it is no UTF-8; UNDEFINED is
``bytes``. None where it was not loaded.)";

constexpr const char* kArrayDoc =
    R"(The value as a read-only NumPy array, not copied, which keeps the file's memory alive.

``uint8`` to ``int64``, ``float32`` and ``float64`` by the type, of shape (n,); rationals are
``uint32`` or ``int32`` of shape (n, 2); ASCII and UNDEFINED are ``uint8``; a default is
``float64``.

Raises:
    ValueError: the value was not loaded.
    ModuleNotFoundError: NumPy is not installed.)";

constexpr const char* kFractionsDoc =
    R"(The value of a rational type as fractions, None for each whose denominator is zero.

None where it was not loaded.

Raises:
    TypeError: the type is no rational one.)";

constexpr const char* kTextDoc = R"(The value on one line for people.

The name of an enumerated value, text in UTF-8 or else Windows-1252, the first numbers or bytes of
many; empty where it was not loaded. Text is as the file has it, control characters included.)";

}  // namespace

void addEntryType(nb::module_& module) {
    using Row = PackedEntryRow;
    auto type =
        nb::class_<Entry>(module, "Entry", nb::is_final(), kClassDoc)
            .def_prop_ro(
                "tag", [](const Entry& entry) { return entry.row().tag; }, "The tag number.")
            .def_prop_ro("name", nameOf<&Row::name>, nb::sig("def name(self) -> str | None"),
                         "The name of the tag in the dictionary of its directory; None for none.")
            .def_prop_ro("type", typeOf, nb::sig("def type(self) -> str | int | None"),
                         "The field type, such as ``\"SHORT\"``; the code of one that is unknown; "
                         "None of a default.")
            .def_prop_ro(
                "count", [](const Entry& entry) { return entry.row().count; },
                "The number of values, as stored.")
            .def_prop_ro(
                "position", positionOf, nb::sig("def position(self) -> int | None"),
                "Where the entry lies, in bytes from the start of the file; None of a default.")
            .def_prop_ro("value_position", valuePositionOf,
                         nb::sig("def value_position(self) -> int | None"),
                         "Where the value lies; None of a default and of an unknown type.")
            .def_prop_ro(
                "inline", [](const Entry& entry) { return entry.row().isInline != 0; },
                "Whether the value lies in the entry.")
            .def_prop_ro(
                "is_default", [](const Entry& entry) { return !isStored(entry); },
                "Whether this is the default of a field that the directory lacks.")
            .def_prop_ro(
                "is_loaded", [](const Entry& entry) { return entry.row().isLoaded != 0; },
                "Whether the value was read.")
            .def_prop_ro("value_name", nameOf<&Row::valueName>,
                         nb::sig("def value_name(self) -> str | None"),
                         "The readable name of an enumerated value.")
            .def_prop_ro("dropped_by", nameOf<&Row::droppedBy>,
                         nb::sig("def dropped_by(self) -> str | None"),
                         "The id of the warning by which the entry was left out of its directory.")
            .def_prop_ro(
                "value", [](const Entry& entry) { return exactValue(entry.file, entry.row()); },
                nb::sig("def value(self) -> ifdsweep._types.EntryValue"), kValueDoc)
            .def_prop_ro(
                "fractions",
                [](const Entry& entry) { return fractionsOf(*entry.file, entry.row()); },
                nb::sig("def fractions(self) -> tuple[fractions.Fraction | None, ...] | None"),
                kFractionsDoc)
            .def(
                "array", [](const Entry& entry) { return arrayOf(entry.file, entry.row()); },
                nb::sig("def array(self) -> numpy.typing.NDArray[typing.Any]"), kArrayDoc)
            .def_prop_ro(
                "bytes", bytesOf, nb::sig("def bytes(self) -> builtins.bytes | None"),
                "The bytes of the value in the machine's byte order; None where it was not "
                "loaded and of a default.")
            .def_prop_ro(
                "text",
                [](const Entry& entry) { return strOf(textOfEntry(*entry.file, entry.row())); },
                nb::sig("def text(self) -> str"), kTextDoc)
            .def_prop_ro(
                "directory",
                [](const Entry& entry) {
                    return Directory{entry.file, entry.row().directory};
                },
                nb::sig("def directory(self) -> Directory"), "The directory that it stands in.")
            .def("to_dict", dictOf, nb::sig("def to_dict(self) -> dict[str, typing.Any]"),
                 "The line of ``ifdsweep --format facts`` that tells of it.")
            .def("__repr__", representation)
            .def("__eq__", areEqual, nb::is_operator(),
                 nb::sig("def __eq__(self, other: object, /) -> bool"))
            .def("__hash__", hashOf);
    addCopies(type);
    addRowPickling<Entry, &PackedFile::entries>(type);
}

}  // namespace ifdsweep::python
