#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <nanobind/stl/optional.h>
#include <nanobind/stl/tuple.h>

#include "columns.h"
#include "field_names.h"
#include "formats.h"
#include "ifdsweep/messages.h"
#include "objects.h"
#include "pack/file_status.h"
#include "places.h"
#include "read_options.h"
#include "texts.h"
#include "values.h"

namespace ifdsweep::python {
namespace {

using Directories = std::span<const std::uint32_t>;

Directories directoriesOf(const File& file) {
    return directoriesIn(*file.file, file.mainStream().records);
}

Directories directoriesOf(const Stream& stream) {
    return directoriesIn(*stream.file, stream.row().records);
}

/// What a file and a stream are as sequences of directories.
template <class Owner>
nb::object directoryTuple(const Owner& owner) {
    const Directories directories = directoriesOf(owner);
    return tupleOf(directories.size(), [&](std::size_t index) {
        return nb::cast(Directory{owner.file, directories[index]});
    });
}

template <class Owner>
nb::object slice(const Owner& owner, const nb::slice& asked) {
    const Directories directories = directoriesOf(owner);
    const auto [start, stop, step, count] = asked.compute(directories.size());
    static_cast<void>(stop);
    return tupleOf(count, [&, begin = start, stride = step](std::size_t index) {
        const auto place = begin + static_cast<Py_ssize_t>(index) * stride;
        return nb::cast(Directory{owner.file, directories[static_cast<std::size_t>(place)]});
    });
}

template <class Owner>
nb::object item(const Owner& owner, nb::handle index) {
    if (PySlice_Check(index.ptr())) {
        throw nb::next_overload();
    }
    const Directories directories = directoriesOf(owner);
    const auto count = static_cast<Py_ssize_t>(directories.size());
    Py_ssize_t place = PyNumber_AsSsize_t(index.ptr(), PyExc_IndexError);
    if (place == -1 && PyErr_Occurred() != nullptr) {
        throw nb::python_error();
    }
    place += place < 0 ? count : 0;
    if (place < 0 || place >= count) {
        throw nb::index_error("there is no such directory");
    }
    return nb::cast(Directory{owner.file, directories[static_cast<std::size_t>(place)]});
}

/// A method of the tuple of all directories.
template <class Owner, const char* method>
nb::object byTuple(const Owner& owner, const nb::args& arguments) {
    return directoryTuple(owner).attr(method)(*arguments);
}
constexpr char kIndex[] = "index";
constexpr char kCount[] = "count";
constexpr char kContains[] = "__contains__";

/// Gives a class what sequences of directories have.
template <class Owner>
void addSequence(nb::class_<Owner>& type) {
    type.def("__len__", [](const Owner& owner) { return directoriesOf(owner).size(); })
        .def("__getitem__", item<Owner>, "index"_a,
             nb::sig("def __getitem__(self, index: typing.SupportsIndex, /) -> Directory"))
        .def("__getitem__", slice<Owner>, "part"_a,
             nb::sig("def __getitem__(self, part: slice, /) -> tuple[Directory, ...]"))
        .def(
            "__iter__", [](const Owner& owner) { return nb::iter(directoryTuple(owner)); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[Directory]"))
        .def(
            "__reversed__",
            [](const Owner& owner) {
                return nb::module_::import_("builtins").attr("reversed")(directoryTuple(owner));
            },
            nb::sig("def __reversed__(self) -> collections.abc.Iterator[Directory]"))
        .def("__contains__", byTuple<Owner, kContains>,
             nb::sig("def __contains__(self, directory: object, /) -> bool"))
        .def("index", byTuple<Owner, kIndex>,
             nb::sig("def index(self, directory: object, start: int = 0, stop: int = ..., /) -> "
                     "int"),
             "The place of the first directory that is equal; ValueError where there is none.")
        .def("count", byTuple<Owner, kCount>,
             nb::sig("def count(self, directory: object, /) -> int"),
             "How many directories are equal.");
    nb::module_::import_("collections.abc").attr("Sequence").attr("register")(type);
}

nb::object warningTuple(const FilePointer& file, std::span<const PackedStreamRow> streams) {
    nb::list warnings;
    for (const PackedStreamRow& stream : streams) {
        for (std::uint32_t number = 0; number < stream.warningCount; ++number) {
            warnings.append(Message{file, stream.firstWarning + number});
        }
    }
    return nb::tuple(warnings);
}

nb::object errorOf(const FilePointer& file, std::span<const PackedStreamRow> streams) {
    for (const PackedStreamRow& stream : streams) {
        if (stream.error != kNoRow) {
            return nb::cast(Message{file, stream.error});
        }
    }
    return nb::none();
}

nb::object textOrNone(const PackedFile& file, const PackedRun& run) {
    return run.size == 0 ? nb::object(nb::none()) : utf8Str(file.textOf(run));
}

/// A position that the caller gave may be none of a file's.
nb::object offsetObject(const PackedStreamRow& stream) {
    return made(PyLong_FromDouble(stream.initialOffset));
}

nb::object stampNumber(const File& file, std::int64_t PackedFileRow::*member) {
    const PackedFileRow& row = file.file->file();
    return row.hasStamp == 0 ? nb::object(nb::none()) : nb::int_(row.*member);
}

/// Of a file that has no stamp, the size that its records tell.
nb::object sizeOf(const File& file) {
    const PackedFileRow& row = file.file->file();
    if (row.hasStamp != 0) {
        return nb::int_(row.size);
    }
    const Directories directories = directoriesOf(file);
    const PackedValueRow* value =
        directories.empty()
            ? nullptr
            : fieldOf(Directory{file.file, directories[0]}, file.file->findName("FileSize"));
    return value == nullptr || value->kind != PackedKind::number
               ? nb::object(nb::none())
               : made(PyLong_FromDouble(PackedFile::numberOf(*value)));
}

nb::object modifiedOf(const File& file) {
    const PackedFileRow& row = file.file->file();
    if (row.hasStamp == 0) {
        return nb::none();
    }
    constexpr int kFirstYear = 1970;
    constexpr std::int64_t kNanosecondsInOne = 1000;
    const nb::module_ datetime = nb::module_::import_("datetime");
    const nb::object utc = datetime.attr("timezone").attr("utc");
    const nb::object epoch = datetime.attr("datetime")(kFirstYear, 1, 1, nb::arg("tzinfo") = utc);
    // Rounded down, as the number of microseconds before it.
    const std::int64_t microseconds =
        row.modified / kNanosecondsInOne - (row.modified % kNanosecondsInOne < 0 ? 1 : 0);
    try {
        return epoch + datetime.attr("timedelta")(nb::arg("microseconds") = microseconds);
    } catch (nb::python_error& error) {
        if (!error.matches(PyExc_OverflowError)) {
            throw;
        }
        return nb::none();  // of a year that has five digits
    }
}

/// A field of the first directory that is a text.
std::optional<std::string> textField(const File& file, std::string_view name) {
    const Directories directories = directoriesOf(file);
    if (directories.empty()) {
        return std::nullopt;
    }
    const PackedValueRow* value =
        fieldOf(Directory{file.file, directories[0]}, file.file->findName(name));
    if (value == nullptr || value->kind != PackedKind::text) {
        return std::nullopt;
    }
    const auto units = file.file->unitsOf(file.file->arrays()[value->content]);
    return std::string(units.begin(), units.end());  // the module's own words are ASCII
}

nb::object formatOf(const File& file) {
    const auto format = textField(file, "Format");
    return format ? nb::object(strOf(*format)) : nb::object(nb::none());
}

nb::object byteOrderOf(const File& file) {
    const auto order = textField(file, "ByteOrder");
    return !order                   ? nb::object(nb::none())
           : *order == "big-endian" ? nb::object(strOf("big"))
                                    : nb::object(strOf("little"));
}

nb::object streamsOf(const File& file) {
    return tupleOf(file.file->streams().size(), [&](std::size_t number) {
        return nb::cast(Stream{file.file, static_cast<std::uint32_t>(number)});
    });
}

/// Every directory that has a record, each before those below it.
nb::object walk(const File& file) {
    const auto rows = file.file->directories();
    nb::list found;
    for (std::uint32_t number = 0; number < rows.size(); ++number) {
        if (rows[number].records != kNoRow) {
            found.append(Directory{file.file, number});
        }
    }
    return nb::iter(found);
}

std::string_view statusText(const File& file) {
    return statusWord(statusOf(*file.file));
}

nb::object check(nb::handle self, bool warnings) {
    const File& file = nb::cast<const File&>(self);
    nb::object message = errorOf(file.file, file.file->streams());
    if (message.is_none() && warnings) {
        const nb::object all = warningTuple(file.file, file.file->streams());
        message = nb::len(all) == 0 ? nb::object(nb::none()) : nb::object(all[0]);
    }
    if (!message.is_none()) {
        const nb::object type = nb::module_::import_("ifdsweep").attr("ReadError");
        PyErr_SetObject(type.ptr(), type(self, message).ptr());
        throw nb::python_error();
    }
    return nb::borrow(self);
}

/// "1 warning (tagDataPastEOF)": how many, and the first kinds of them.
std::string warningSummary(const PackedFile& file, std::span<const PackedStreamRow> streams) {
    constexpr std::size_t kShownKinds = 3;
    std::size_t count = 0;
    std::vector<std::uint32_t> kinds;
    for (const PackedStreamRow& stream : streams) {
        count += stream.warningCount;
        for (const PackedMessageRow& message :
             file.messages().subspan(stream.firstWarning, stream.warningCount)) {
            if (kinds.size() <= kShownKinds &&
                std::find(kinds.begin(), kinds.end(), message.id) == kinds.end()) {
                kinds.push_back(message.id);
            }
        }
    }
    if (count == 0) {
        return "";
    }
    std::string text = ", " + std::to_string(count) + (count == 1 ? " warning (" : " warnings (");
    for (std::size_t number = 0; number < std::min(kinds.size(), kShownKinds); ++number) {
        text += (number == 0 ? "" : ", ") + shownText(shortMessageId(file.name(kinds[number])));
    }
    return text + (kinds.size() > kShownKinds ? ", …)" : ")");
}

std::string countText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " directory" : " directories");
}

std::string errorSummary(const PackedFile& file, std::span<const PackedStreamRow> streams) {
    for (const PackedStreamRow& stream : streams) {
        if (stream.error != kNoRow) {
            return ", error " +
                   shownText(shortMessageId(file.name(file.messages()[stream.error].id)));
        }
    }
    return "";
}

std::string representation(const File& file) {
    const PackedFile& packed = *file.file;
    constexpr std::size_t kShownPath = 200;
    std::string text = "<File " + shownText(packed.textOf(packed.file().path), kShownPath) + ": ";
    if (const auto format = textField(file, "Format")) {
        text += shownText(*format) + ", ";
    }
    return text + countText(directoriesOf(file).size()) + warningSummary(packed, packed.streams()) +
           errorSummary(packed, packed.streams()) + ">";
}

std::string representation(const Stream& stream) {
    const PackedFile& packed = *stream.file;
    const std::string_view name = packed.textOf(stream.row().name);
    const auto row = packed.streams().subspan(stream.number, 1);
    return "<Stream " + (name.empty() ? std::to_string(stream.number) : shownText(name)) + ": " +
           countText(directoriesOf(stream).size()) + warningSummary(packed, row) +
           errorSummary(packed, row) + ">";
}

std::string_view bytesOf(const File& file) {
    const auto bytes = file.file->bytes();
    return {static_cast<const char*>(static_cast<const void*>(bytes.data())), bytes.size()};
}

File parse(const nb::bytes& bytes) {
    return fileOf({static_cast<const std::byte*>(bytes.data()), bytes.size()});
}

constexpr const char* kFileDoc = R"(What came of one file: a sequence of its directories.

The directories are those of the primary chain of the first TIFF stream; nested ones hang below
them. Nothing in it changes, and everything that it gives stays valid without it. Equal files have
the same content, name and times.)";

constexpr const char* kStreamDoc = R"(A TIFF stream of a file: a sequence of its directories.

A TIFF file is its own stream; files such as HEIF and JPEG carry one or more
(``read(…, streams="all")``).)";

constexpr const char* kCheckDoc = R"(This file, if it could be read.

Args:
    warnings: whether a warning is an error too.

Raises:
    ReadError: it has an error; its ``message`` is the first one.)";

constexpr const char* kColumnDoc = R"(A field of each directory as a NumPy array of shape (n,).

``int64`` where every directory has one integer; else ``float64`` where the field is numeric, with
NaN where a directory has none or several; else an array of objects. It is made anew each time.

Args:
    name: of a field, as a directory has it as a key.

Raises:
    ValueError: no field has this name.
    ModuleNotFoundError: NumPy is not installed.)";

constexpr const char* kStatusDoc = R"(How the reading ended, in one word.

``"ok"``; ``"warned"``; ``"error"``: it holds nothing that can be read; ``"unreadable"``: the system
does not give its bytes; ``"timeout"``, ``"memory"`` and ``"crashed"``: it took too much.)";

void addFileType(nb::module_& module) {
    auto type =
        nb::class_<File>(module, "File", nb::is_final(),
                         nb::sig("class File(collections.abc.Sequence[Directory])"), kFileDoc);
    addSequence(type);
    type.def_prop_ro(
            "path",
            [](const File& file) { return pathText(file.file->textOf(file.file->file().path)); },
            nb::sig("def path(self) -> str"),
            "The path as it was named; bytes that are no UTF-8 as ``os.fsdecode`` has them.")
        .def_prop_ro(
            "path_bytes",
            [](const File& file) {
                const auto path = file.file->bytesOf(file.file->file().path);
                return nb::bytes(path.data(), path.size());
            },
            nb::sig("def path_bytes(self) -> bytes"), "The path in the system's bytes.")
        .def_prop_ro("size", sizeOf, nb::sig("def size(self) -> int | None"),
                     "Its size in bytes; None where that is not known.")
        .def_prop_ro("modified", modifiedOf,
                     nb::sig("def modified(self) -> datetime.datetime | None"),
                     "When it was changed last, in UTC; None for what is no file of the system's.")
        .def_prop_ro(
            "modified_ns",
            [](const File& file) { return stampNumber(file, &PackedFileRow::modified); },
            nb::sig("def modified_ns(self) -> int | None"),
            "The same in nanoseconds since 1970-01-01 00:00:00 UTC.")
        .def_prop_ro(
            "changed_ns",
            [](const File& file) { return stampNumber(file, &PackedFileRow::changed); },
            nb::sig("def changed_ns(self) -> int | None"),
            "When its status was changed last, in nanoseconds since then.")
        .def_prop_ro(
            "inode",
            [](const File& file) {
                const PackedFileRow& row = file.file->file();
                return row.hasStamp == 0 ? nb::object(nb::none()) : nb::int_(row.inode);
            },
            nb::sig("def inode(self) -> int | None"), "Its number in the file system.")
        .def_prop_ro(
            "container",
            [](const File& file) { return textOrNone(*file.file, file.mainStream().container); },
            nb::sig("def container(self) -> str | None"),
            "What carries the stream, such as ``\"heif\"``; None for a TIFF file.")
        .def_prop_ro(
            "found",
            [](const File& file) { return textOrNone(*file.file, file.mainStream().found); },
            nb::sig("def found(self) -> str | None"),
            "What a file that has no TIFF header is, such as ``\"a text file\"``.")
        .def_prop_ro("format", formatOf, nb::sig("def format(self) -> str | None"),
                     "The format that the records tell, such as ``\"tif\"``.")
        .def_prop_ro("byte_order", byteOrderOf,
                     nb::sig("def byte_order(self) -> typing.Literal[\"little\", \"big\"] | None"),
                     "The byte order of a TIFF file; None for others.")
        .def_prop_ro(
            "offset", [](const File& file) { return offsetObject(file.mainStream()); },
            nb::sig("def offset(self) -> int"), "Where the stream begins, in bytes.")
        .def_prop_ro(
            "embedded", [](const File& file) { return file.mainStream().isEmbedded != 0; },
            "Whether the stream was put together in memory; positions then count in it.")
        .def_prop_ro("streams", streamsOf, nb::sig("def streams(self) -> tuple[Stream, ...]"),
                     "The streams that were read; at least one.")
        .def_prop_ro("directories", directoryTuple<File>,
                     nb::sig("def directories(self) -> tuple[Directory, ...]"),
                     "The directories of the first stream, at once.")
        .def("walk", walk, nb::sig("def walk(self) -> collections.abc.Iterator[Directory]"),
             "Every directory of every stream, nested ones too, each before those below it.")
        .def_prop_ro(
            "warnings",
            [](const File& file) { return warningTuple(file.file, file.file->streams()); },
            nb::sig("def warnings(self) -> tuple[Message, ...]"),
            "The warnings of all streams, in their order.")
        .def_prop_ro(
            "error", [](const File& file) { return errorOf(file.file, file.file->streams()); },
            nb::sig("def error(self) -> Message | None"),
            "The first error; None where all is read.")
        .def_prop_ro(
            "status", [](const File& file) { return strOf(statusText(file)); },
            nb::sig("def status(self) -> ifdsweep._types.Status"), kStatusDoc)
        .def("check", check, nb::kw_only(), "warnings"_a = false,
             nb::sig("def check(self, *, warnings: bool = False) -> File"), kCheckDoc)
        .def(
            "column",
            [](const File& file, const nb::str& name) {
                const std::string_view text = name.c_str();
                if (const std::string complaint = complaintAboutField(text); !complaint.empty()) {
                    refuseValue("name", complaint);
                }
                return columnOf(file.file, directoriesOf(file), text);
            },
            "name"_a, nb::sig("def column(self, name: str) -> numpy.typing.NDArray[typing.Any]"),
            kColumnDoc)
        .def(
            "to_dict", [](const File& file) { return naturalFile(*file.file); },
            nb::sig("def to_dict(self) -> dict[str, typing.Any]"),
            "Its object in the JSON of the program, as ``json.loads`` gives it.")
        .def(
            "to_json",
            [](const File& file, bool pretty) { return strOf(jsonOf(*file.file, pretty)); },
            nb::kw_only(), "pretty"_a = false,
            nb::sig("def to_json(self, *, pretty: bool = False) -> str"),
            "Its object in the JSON of the program, to the character.")
        .def(
            "to_facts", [](const File& file) { return strOf(factsOf(*file.file)); },
            nb::sig("def to_facts(self) -> str"), "What ``ifdsweep --format facts`` prints of it.")
        .def(
            "to_text", [](const File& file) { return strOf(textOf(*file.file)); },
            nb::sig("def to_text(self) -> str"),
            "What ``ifdsweep --format text`` prints of it, safe for terminals.")
        .def("__repr__", [](const File& file) { return strOf(representation(file)); })
        .def(
            "_repr_html_",
            [](nb::handle self) {
                return nb::module_::import_("ifdsweep._html").attr("file_html")(self);
            },
            nb::sig("def _repr_html_(self) -> str"))
        .def(
            "__eq__",
            [](const File& one, const File& other) {
                return one.file == other.file || bytesOf(one) == bytesOf(other);
            },
            nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("__hash__",
             [](const File& file) { return std::hash<std::string_view>()(bytesOf(file)); });
    addCopies(type);
    addPickling(
        type,
        [](const File& file) {
            const std::string_view bytes = bytesOf(file);
            return nb::bytes(bytes.data(), bytes.size());
        },
        parse);
}

void addStreamType(nb::module_& module) {
    auto type = nb::class_<Stream>(module, "Stream", nb::is_final(),
                                   nb::sig("class Stream(collections.abc.Sequence[Directory])"),
                                   kStreamDoc);
    addSequence(type);
    type.def_prop_ro(
            "container",
            [](const Stream& stream) { return textOrNone(*stream.file, stream.row().container); },
            nb::sig("def container(self) -> str | None"), "What carries it; None for a TIFF file.")
        .def_prop_ro(
            "name",
            [](const Stream& stream) { return textOrNone(*stream.file, stream.row().name); },
            nb::sig("def name(self) -> str | None"),
            "Its name in its file, such as ``\"Exif item 3\"``; None for a TIFF file.")
        .def_prop_ro(
            "offset", [](const Stream& stream) { return offsetObject(stream.row()); },
            nb::sig("def offset(self) -> int"), "Where it begins, in bytes.")
        .def_prop_ro(
            "embedded", [](const Stream& stream) { return stream.row().isEmbedded != 0; },
            "Whether it was put together in memory; positions then count in it.")
        .def_prop_ro("directories", directoryTuple<Stream>,
                     nb::sig("def directories(self) -> tuple[Directory, ...]"),
                     "Its directories, at once.")
        .def_prop_ro(
            "warnings",
            [](const Stream& stream) {
                return warningTuple(stream.file, stream.file->streams().subspan(stream.number, 1));
            },
            nb::sig("def warnings(self) -> tuple[Message, ...]"), "Its warnings.")
        .def_prop_ro(
            "error",
            [](const Stream& stream) {
                return errorOf(stream.file, stream.file->streams().subspan(stream.number, 1));
            },
            nb::sig("def error(self) -> Message | None"), "Its error; None where it is read.")
        .def("__repr__", [](const Stream& stream) { return strOf(representation(stream)); })
        .def(
            "__eq__",
            [](const Stream& one, const Stream& other) {
                return one.number == other.number &&
                       (one.file == other.file ||
                        one.file->bytes().size() == other.file->bytes().size()) &&
                       bytesOf(File{one.file}) == bytesOf(File{other.file});
            },
            nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("__hash__", [](const Stream& stream) {
            return std::hash<std::string_view>()(bytesOf(File{stream.file})) + stream.number;
        });
    addCopies(type);
    addRowPickling<Stream, &PackedFile::streams>(type);
}

}  // namespace

File fileOf(std::span<const std::byte> block) {
    std::optional<PackedFile> packed = PackedFile::parse(block);
    // One that was left alone has no stream, and nobody is given it.
    if (!packed || packed->streams().empty()) {
        throw nb::value_error("this is no packed file of this version");
    }
    return {std::make_shared<const PackedFile>(std::move(*packed))};
}

nb::object pathText(std::string_view systemBytes) {
    return made(PyUnicode_DecodeFSDefaultAndSize(systemBytes.data(),
                                                 static_cast<Py_ssize_t>(systemBytes.size())));
}

void addFileTypes(nb::module_& module) {
    addStreamType(module);
    addFileType(module);
}

}  // namespace ifdsweep::python
