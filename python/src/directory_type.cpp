#include <array>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <nanobind/stl/tuple.h>

#include "columns/directory_paths.h"
#include "exact_values.h"
#include "field_names.h"
#include "ifdsweep/tag_list.h"
#include "objects.h"
#include "pack/packed_layout.h"
#include "places.h"
#include "read_options.h"
#include "texts.h"
#include "values.h"

namespace ifdsweep::python {
namespace {

/// By the numbers of DirectoryKind.
constexpr std::array<std::string_view, 4> kKindNames{"TIFF", "GPS", "Interoperability", "Exif"};

constexpr std::uint16_t kSubIfds = 330;

std::string_view kindOf(const PackedDirectoryRow& row) {
    return kKindNames[row.kind];
}

/// A str as UTF-8; empty for every other object, and for one that has no UTF-8: no field has such a
/// name.
std::string_view utf8Of(nb::handle text) {
    Py_ssize_t size = 0;
    const char* bytes =
        PyUnicode_Check(text.ptr()) ? PyUnicode_AsUTF8AndSize(text.ptr(), &size) : nullptr;
    if (bytes == nullptr) {
        PyErr_Clear();
        return {};
    }
    return {bytes, static_cast<std::size_t>(size)};
}

const PackedValueRow* fieldNamed(const Directory& directory, std::string_view name) {
    return fieldOf(directory, directory.file->findName(name));
}

nb::object valueNamed(const Directory& directory, std::string_view text) {
    const std::uint32_t name = directory.file->findName(text);
    const PackedValueRow* value = fieldOf(directory, name);
    return value == nullptr ? nb::object()
                            : recordValue(directory.file, *value, &directory.row(), name);
}

nb::object item(const Directory& directory, nb::handle name) {
    nb::object value = valueNamed(directory, utf8Of(name));
    if (!value.is_valid()) {
        PyErr_SetObject(PyExc_KeyError, name.ptr());
        throw nb::python_error();
    }
    return value;
}

nb::object get(const Directory& directory, nb::handle name, const nb::object& fallback) {
    nb::object value = valueNamed(directory, utf8Of(name));
    return value.is_valid() ? value : nb::borrow(fallback);
}

nb::object namesOf(const Directory& directory) {
    const auto names = fieldNamesOf(directory);
    return tupleOf(names.size(),
                   [&](std::size_t index) { return keyOf(*directory.file, names[index]); });
}

/// A view of a mapping, as `collections.abc` has them.
template <const char* name>
nb::object viewOf(nb::handle self) {
    return nb::module_::import_("collections.abc").attr(name)(self);
}
constexpr char kKeysView[] = "KeysView";
constexpr char kItemsView[] = "ItemsView";
constexpr char kValuesView[] = "ValuesView";

/// The last entry of a tag that was not dropped, or else the last that was.
std::uint32_t entryOfTag(const Directory& directory, long tag) {
    std::uint32_t found = kNoRow;
    bool isDropped = true;
    forEachEntry(
        *directory.file, directory.row(), [&](std::uint32_t number, const PackedEntryRow& entry) {
            const bool isOne = entry.tag == tag && (isDropped || entry.droppedBy == kNoRow);
            if (isOne) {
                found = number;
                isDropped = entry.droppedBy != kNoRow;
            }
        });
    return found;
}

/// The last entry that was not dropped and whose tag has this name, be it a standard's or another
/// program's.
std::uint32_t entryOfName(const Directory& directory, std::string_view text) {
    const PackedFile& file = *directory.file;
    const std::uint32_t name = file.findName(text);
    const std::uint32_t found = entryByName(file, directory.row(), name);
    if (found != kNoRow) {
        return found;
    }
    const auto tag = tagNamed(static_cast<DirectoryKind>(directory.row().kind), text);
    const std::uint32_t ofTag = tag ? entryOfTag(directory, *tag) : kNoRow;
    return ofTag == kNoRow || file.entries()[ofTag].droppedBy != kNoRow ? kNoRow : ofTag;
}

std::uint32_t findEntry(const Directory& directory, nb::handle nameOrTag) {
    if (PyUnicode_Check(nameOrTag.ptr())) {
        return entryOfName(directory, utf8Of(nameOrTag));
    }
    if (!PyLong_Check(nameOrTag.ptr()) || PyBool_Check(nameOrTag.ptr())) {
        refuseType("name_or_tag", "a str or an int", nameOrTag);
    }
    int overflow = 0;
    return entryOfTag(directory, PyLong_AsLongAndOverflow(nameOrTag.ptr(), &overflow));
}

nb::object entryObject(const Directory& directory, nb::handle nameOrTag) {
    const std::uint32_t row = findEntry(directory, nameOrTag);
    return row == kNoRow ? nb::object(nb::none()) : nb::cast(Entry{directory.file, row});
}

nb::object arrayObject(const Directory& directory, nb::handle nameOrTag) {
    const std::uint32_t row = findEntry(directory, nameOrTag);
    if (row == kNoRow) {
        PyErr_SetObject(PyExc_KeyError, nameOrTag.ptr());
        throw nb::python_error();
    }
    return arrayOf(directory.file, directory.file->entries()[row]);
}

nb::object codeOf(const Directory& directory, nb::handle nameOrTag) {
    const std::uint32_t row = findEntry(directory, nameOrTag);
    if (row == kNoRow || !hasIntegers(directory.file->entries()[row])) {
        return nb::none();
    }
    return exactValue(directory.file, directory.file->entries()[row]);
}

bool isDefault(const Directory& directory, nb::handle nameOrTag) {
    const std::uint32_t row = findEntry(directory, nameOrTag);
    return row != kNoRow && directory.file->entries()[row].isDefault != 0;
}

/// The entries that something is true of.
template <class Predicate>
nb::object entriesThat(const Directory& directory, Predicate&& predicate) {
    std::vector<std::uint32_t> rows;
    forEachEntry(*directory.file, directory.row(),
                 [&](std::uint32_t number, const PackedEntryRow& entry) {
                     if (predicate(entry)) {
                         rows.push_back(number);
                     }
                 });
    return tupleOf(rows.size(), [&](std::size_t index) {
        return nb::cast(Entry{directory.file, rows[index]});
    });
}

nb::object entriesOf(const Directory& directory) {
    return entriesThat(directory, [](const PackedEntryRow& entry) { return entry.isDefault == 0; });
}

nb::object defaultsOf(const Directory& directory) {
    return entriesThat(directory, [](const PackedEntryRow& entry) { return entry.isDefault != 0; });
}

nb::object unknownOf(const Directory& directory) {
    return entriesThat(directory, [](const PackedEntryRow& entry) {
        return entry.isDefault == 0 && entry.name == kNoRow;
    });
}

template <DirectoryKind kind>
nb::object childOfKind(const Directory& directory) {
    nb::object found = nb::none();
    forEachChild(directory, [&](std::uint32_t number, const PackedDirectoryRow& row) {
        if (found.is_none() && row.kind == static_cast<std::uint8_t>(kind)) {
            found = nb::cast(Directory{directory.file, number});
        }
    });
    return found;
}

nb::object subIfdsOf(const Directory& directory) {
    nb::list found;
    forEachChild(directory, [&](std::uint32_t number, const PackedDirectoryRow& row) {
        if (row.pointerTag == kSubIfds) {
            found.append(Directory{directory.file, number});
        }
    });
    return nb::tuple(found);
}

nb::object parentOf(const Directory& directory) {
    const std::uint32_t parent = directory.row().parent;
    return parent == kNoRow ? nb::object(nb::none()) : nb::cast(Directory{directory.file, parent});
}

nb::object dictOf(const Directory& directory) {
    const RecordPlace record = recordOf(directory);
    return record.records == nullptr
               ? nb::dict()
               : naturalRecord(*directory.file, *record.records, record.element);
}

bool areEqual(const Directory& one, const Directory& other) {
    if (one.file == other.file && one.number == other.number) {
        return true;
    }
    const PackedDirectoryRow& left = one.row();
    const PackedDirectoryRow& right = other.row();
    return left.position == right.position && left.kind == right.kind &&
           directoryPath(*one.file, left) == directoryPath(*other.file, right) &&
           entriesOf(one).equal(entriesOf(other)) && defaultsOf(one).equal(defaultsOf(other)) &&
           dictOf(one).equal(dictOf(other));
}

std::size_t hashOf(const Directory& directory) {
    const PackedDirectoryRow& row = directory.row();
    return std::hash<std::uint64_t>()(row.position) ^
           std::hash<std::string>()(directoryPath(*directory.file, row));
}

/// "64 x 48 truecolor" of an image, as far as that is known; else the kind.
std::string summaryOf(const Directory& directory) {
    const auto wholeNumber = [&](std::string_view name) {
        const PackedValueRow* value = fieldNamed(directory, name);
        return value != nullptr && value->kind == PackedKind::number ? PackedFile::numberOf(*value)
                                                                     : 0.0;
    };
    const double width = wholeNumber("Width");
    const double height = wholeNumber("Height");
    if (!(width >= 1 && width < kExactIntegers && height >= 1 && height < kExactIntegers)) {
        return std::string(kindOf(directory.row()));
    }
    std::string text = std::to_string(static_cast<std::uint64_t>(width)) + " x " +
                       std::to_string(static_cast<std::uint64_t>(height));
    const PackedValueRow* colour = fieldNamed(directory, "ColorType");
    if (colour != nullptr && colour->kind == PackedKind::text) {
        const auto units = directory.file->unitsOf(directory.file->arrays()[colour->content]);
        text.append(" ").append(shownText(std::string(units.begin(), units.end())));
    }
    return text;
}

std::string representation(const Directory& directory) {
    std::size_t count = 0;
    forEachEntry(*directory.file, directory.row(), [&](std::uint32_t, const PackedEntryRow& entry) {
        count += entry.isDefault == 0;
    });
    return "<Directory " + shownText(directoryPath(*directory.file, directory.row())) + ": " +
           summaryOf(directory) + ", " + std::to_string(count) +
           (count == 1 ? " entry>" : " entries>");
}

nb::object internedKey(std::string_view text) {
    PyObject* key =
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
    if (key == nullptr) {
        throw nb::python_error();
    }
    PyUnicode_InternInPlace(&key);
    return nb::steal(key);
}

/// The names that fields can have, as keys. Made once and never changed; the keys are never freed.
class KnownKeys {
public:
    KnownKeys() {
        for (const TagListing& tag : listTags()) {
            Row& row = rows[placeOf(tag.name)];
            if (row.key == nullptr) {
                row = {tag.name, internedKey(tag.name).release().ptr()};
            }
        }
    }

    /// Null where it is none of them.
    [[nodiscard]] PyObject* find(std::string_view name) const { return rows[placeOf(name)].key; }

private:
    struct Row {
        std::string_view name;
        PyObject* key = nullptr;
    };

    /// Where a name is, or would be.
    [[nodiscard]] std::size_t placeOf(std::string_view name) const {
        std::size_t place = static_cast<std::size_t>(hashOfName(name)) % kRows;
        while (rows[place].key != nullptr && !isNamed(rows[place], name)) {
            place = (place + 1) % kRows;
        }
        return place;
    }

    [[nodiscard]] static bool isNamed(const Row& row, std::string_view name) {
        return row.name.size() == name.size() &&
               areSameBytes(row.name.data(), name.data(), name.size());
    }

    static constexpr std::size_t kRows = 2048;  // several times as many as there are names
    std::vector<Row> rows{kRows};
};

/// The class has a property for each name that a field can have, if it is no name of its own.
void addFieldProperties(nb::class_<Directory>& type) {
    std::set<std::string, std::less<>> names;
    for (const TagListing& tag : listTags()) {
        const std::string name(tag.name);
        if (!names.insert(name).second || nb::hasattr(type, name.c_str())) {
            continue;
        }
        const std::string signature = "def " + name + "(self) -> ifdsweep._types.Value";
        const std::string doc = (tag.id ? "Tag " + std::to_string(*tag.id) : std::string("Field")) +
                                "; None if absent.";
        type.def_prop_ro(
            name.c_str(),
            [text = tag.name](const Directory& directory) {
                nb::object value = valueNamed(directory, text);
                return value.is_valid() ? value : nb::object(nb::none());
            },
            nb::sig(signature.c_str()), doc.c_str());
    }
}

constexpr const char* kClassDoc = R"(A directory: a mapping of its fields by their names.

A field that the directory has and that is empty is None; one that it does not have raises KeyError.
As attributes (``directory.Width``) both are None.

Numbers are ``int`` where the file has integers and ``float`` where it has rationals or floating
point; several are a tuple, rows of them a tuple of tuples. Enumerated values are their names
(``code`` gives the number), nested directories tuples of ``Directory``.

Equal directories stand in the same place and show the same.)";

}  // namespace

nb::object keyOf(const PackedFile& file, std::uint32_t name) {
    const std::string_view text = file.name(name);
    static const KnownKeys kKnown;
    PyObject* const key = kKnown.find(text);
    return key != nullptr ? nb::borrow(key) : internedKey(text);
}

void addDirectoryType(nb::module_& module) {
    auto type = nb::class_<Directory>(
        module, "Directory", nb::is_final(),
        nb::sig("class Directory(collections.abc.Mapping[str, ifdsweep._types.Value])"), kClassDoc);
    type.def("__getitem__", item, "name"_a,
             nb::sig("def __getitem__(self, name: str, /) -> ifdsweep._types.Value"))
        .def("__len__", [](const Directory& directory) { return fieldNamesOf(directory).size(); })
        .def(
            "__iter__", [](const Directory& directory) { return nb::iter(namesOf(directory)); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[str]"))
        .def(
            "__contains__",
            [](const Directory& directory, nb::handle name) {
                return fieldNamed(directory, utf8Of(name)) != nullptr;
            },
            "name"_a.none(), nb::sig("def __contains__(self, name: object, /) -> bool"))
        .def("get", get, "name"_a.none(), "default"_a.none() = nb::none(),
             nb::sig("def get(self, name: str, default: typing.Any = None, /) -> typing.Any"),
             "The value of a field; the default where there is no such field.")
        .def("keys", viewOf<kKeysView>, nb::sig("def keys(self) -> collections.abc.KeysView[str]"),
             "The names of the fields.")
        .def("items", viewOf<kItemsView>,
             nb::sig("def items(self) -> collections.abc.ItemsView[str, ifdsweep._types.Value]"),
             "The names and values of the fields.")
        .def("values", viewOf<kValuesView>,
             nb::sig("def values(self) -> collections.abc.ValuesView[ifdsweep._types.Value]"),
             "The values of the fields.")
        .def("entry", entryObject, "name_or_tag"_a.none(),
             nb::sig("def entry(self, name_or_tag: str | int, /) -> Entry | None"),
             "The stored entry, or the default, of a field or tag; the last one of several. None "
             "where there is none.\n\n"
             "A name may be the field's, or what standards and other programs call the tag, such "
             "as\n``\"ISO\"`` or ``\"LensModel\"``, which no field has.")
        .def(
            "code", codeOf, "name_or_tag"_a.none(),
            nb::sig("def code(self, name_or_tag: str | int, /) -> typing.Any"),
            "The number of an enumerated value, as stored or as the default has it: an ``int``, or "
            "a tuple of several. None where there is no integer.")
        .def("array", arrayObject, "name_or_tag"_a.none(),
             nb::sig("def array(self, name_or_tag: str | int, /) -> "
                     "numpy.typing.NDArray[typing.Any]"),
             "The value of an entry as a read-only NumPy array, not copied (``Entry.array``).\n\n"
             "Raises:\n    KeyError: there is no such entry.")
        .def("is_default", isDefault, "name_or_tag"_a.none(),
             nb::sig("def is_default(self, name_or_tag: str | int, /) -> bool"),
             "Whether the value of a field is a default and not in the file.")
        .def_prop_ro(
            "kind", [](const Directory& directory) { return strOf(kindOf(directory.row())); },
            nb::sig("def kind(self) -> str"),
            "What it describes: ``\"TIFF\"``, ``\"Exif\"``, ``\"GPS\"`` or "
            "``\"Interoperability\"``.")
        .def_prop_ro(
            "path",
            [](const Directory& directory) {
                return utf8Str(directoryPath(*directory.file, directory.row()));
            },
            nb::sig("def path(self) -> str"),
            "Its place among the directories, such as ``\"0/SubIFDs[1]/0\"``.")
        .def_prop_ro(
            "index", [](const Directory& directory) { return directory.row().index; },
            "Its place in its chain.")
        .def_prop_ro(
            "position", [](const Directory& directory) { return directory.row().position; },
            "Where it lies, in bytes from the start of the file, or of the stream where that is "
            "embedded.")
        .def_prop_ro("parent", parentOf, nb::sig("def parent(self) -> Directory | None"),
                     "The directory whose pointer leads here; None in the primary chain.")
        .def_prop_ro("exif", childOfKind<DirectoryKind::exif>,
                     nb::sig("def exif(self) -> Directory | None"), "Its Exif directory.")
        .def_prop_ro("gps", childOfKind<DirectoryKind::gps>,
                     nb::sig("def gps(self) -> Directory | None"), "Its GPS directory.")
        .def_prop_ro("interop", childOfKind<DirectoryKind::interoperability>,
                     nb::sig("def interop(self) -> Directory | None"),
                     "Its Interoperability directory, which as a rule an Exif directory has.")
        .def_prop_ro("subifds", subIfdsOf, nb::sig("def subifds(self) -> tuple[Directory, ...]"),
                     "The directories that its SubIFDs lead to, chain by chain.")
        .def_prop_ro("entries", entriesOf, nb::sig("def entries(self) -> tuple[Entry, ...]"),
                     "Every entry in the file, in its order, unknown and dropped ones too.")
        .def_prop_ro("defaults", defaultsOf, nb::sig("def defaults(self) -> tuple[Entry, ...]"),
                     "The defaults of baseline fields that the directory lacks.")
        .def_prop_ro("unknown", unknownOf, nb::sig("def unknown(self) -> tuple[Entry, ...]"),
                     "The entries whose tags have no name.")
        .def("to_dict", dictOf, nb::sig("def to_dict(self) -> dict[str, typing.Any]"),
             "Its object in the JSON of the program, as ``json.loads`` gives it.")
        .def("__repr__",
             [](const Directory& directory) { return strOf(representation(directory)); })
        .def(
            "_ipython_key_completions_",
            [](const Directory& directory) { return nb::list(namesOf(directory)); },
            nb::sig("def _ipython_key_completions_(self) -> list[str]"))
        .def(
            "_repr_html_",
            [](nb::handle self) {
                return nb::module_::import_("ifdsweep._html").attr("directory_html")(self);
            },
            nb::sig("def _repr_html_(self) -> str"))
        .def("__eq__", areEqual, nb::is_operator(),
             nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("__hash__", hashOf);
    addCopies(type);
    addRowPickling<Directory, &PackedFile::directories>(type);
    addFieldProperties(type);
    nb::module_::import_("collections.abc").attr("Mapping").attr("register")(type);
}

}  // namespace ifdsweep::python
