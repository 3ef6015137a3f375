#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include <nanobind/stl/optional.h>

#include "ifdsweep/messages.h"
#include "messages.h"
#include "objects.h"
#include "pack/unpack.h"
#include "text/terminal_text.h"
#include "texts.h"
#include "values.h"

namespace ifdsweep::python {
namespace {

std::span<const PackedArgumentRow> argumentsOf(const PackedFile& file,
                                               const PackedMessageRow& message) {
    return file.arguments().subspan(message.firstArgument, message.argumentCount);
}

std::span<const PackedArgumentRow> argumentsOf(const Message& message) {
    return argumentsOf(*message.file, message.row());
}

std::string_view idOf(const Message& message) {
    return message.file->name(message.row().id);
}

nb::object argumentObject(const PackedFile& file, const PackedArgumentRow& argument) {
    switch (argument.kind) {
        case PackedArgumentKind::bytes:
            return utf8Str(file.textOf(argument.text));
        case PackedArgumentKind::units: {
            const std::u16string_view units = file.unitsOf(argument.text);
            return naturalStr(units, textForm(units, TextOrigin::fileName));
        }
        case PackedArgumentKind::integer:
            break;
    }
    return nb::int_(argument.integer);
}

std::string textOf(const Message& message) {
    return messageTextOf(*message.file, message.row());
}

std::string shownTextOf(const Message& message) {
    return written([&](Output& output) { appendTerminalText(output, textOf(message)); });
}

std::string representation(const Message& message) {
    return "<Message " + shownText(shortMessageId(idOf(message))) + ": " +
           shownText(textOf(message), 200) + ">";
}

bool isError(const Message& message) {
    const auto streams = message.file->streams();
    return std::any_of(streams.begin(), streams.end(), [&](const PackedStreamRow& stream) {
        return stream.error == message.number;
    });
}

nb::object pathObject(const Message& message) {
    const std::string_view path = message.file->textOf(message.row().path);
    return path.empty() ? nb::object(nb::none()) : utf8Str(path);
}

std::optional<std::uint16_t> tagOf(const Message& message) {
    return message.row().hasTag != 0 ? std::optional(message.row().tag) : std::nullopt;
}

std::optional<std::uint64_t> positionOf(const Message& message) {
    return message.row().hasOffset != 0 ? std::optional(message.row().offset) : std::nullopt;
}

std::string explanationOf(const Message& message) {
    const MessageDescription description = describeMessage(idOf(message));
    return description.complaint.empty() ? explanationText(description) : description.complaint;
}

/// What an argument is made of, as it is stored.
auto contentOf(const PackedFile& file, const PackedArgumentRow& argument) {
    return std::tuple(argument.kind, argument.integer, file.textOf(argument.text));
}

bool areEqual(const Message& one, const Message& other) {
    const auto mine = argumentsOf(one);
    const auto others = argumentsOf(other);
    return idOf(one) == idOf(other) && tagOf(one) == tagOf(other) &&
           positionOf(one) == positionOf(other) &&
           one.file->textOf(one.row().path) == other.file->textOf(other.row().path) &&
           std::equal(mine.begin(), mine.end(), others.begin(), others.end(),
                      [&](const PackedArgumentRow& left, const PackedArgumentRow& right) {
                          return contentOf(*one.file, left) == contentOf(*other.file, right);
                      });
}

std::size_t hashOf(const Message& message) {
    return std::hash<std::string_view>()(idOf(message)) ^
           std::hash<std::uint64_t>()(positionOf(message).value_or(0));
}

constexpr const char* kClassDoc = R"(A warning, or the error that ended the reading of a stream.

Equal messages have the same id, arguments and place.)";

}  // namespace

nb::tuple messageArguments(const PackedFile& file, const PackedMessageRow& message) {
    nb::list objects;
    for (const PackedArgumentRow& argument : argumentsOf(file, message)) {
        objects.append(argumentObject(file, argument));
    }
    return nb::tuple(objects);
}

std::string messageTextOf(const PackedFile& file, const PackedMessageRow& message) {
    return messageText(unpackMessage(file, message));
}

void addMessageType(nb::module_& module) {
    auto type =
        nb::class_<Message>(module, "Message", nb::is_final(), kClassDoc)
            .def_prop_ro(
                "id", [](const Message& message) { return strOf(idOf(message)); },
                nb::sig("def id(self) -> str"), "The full id, which never changes.")
            .def_prop_ro(
                "short_id",
                [](const Message& message) { return strOf(shortMessageId(idOf(message))); },
                nb::sig("def short_id(self) -> str"),
                "What stands behind the last colon of the id, such as ``\"tagDataPastEOF\"``.")
            .def_prop_ro(
                "arguments",
                [](const Message& message) {
                    return messageArguments(*message.file, message.row());
                },
                nb::sig("def arguments(self) -> tuple[int | str, ...]"),
                "The numbers and texts in it, in an order that the id fixes.")
            .def_prop_ro(
                "text", [](const Message& message) { return utf8Str(textOf(message)); },
                nb::sig("def text(self) -> str"),
                "The message with its arguments put in, control characters included; "
                "``str()`` shows them as escapes.")
            .def_prop_ro("path", pathObject, nb::sig("def path(self) -> str | None"),
                         "The directory that it is about, such as ``\"0/SubIFDs[1]/0\"``.")
            .def_prop_ro("tag", tagOf, nb::sig("def tag(self) -> int | None"),
                         "The tag of the entry that it is about.")
            .def_prop_ro("position", positionOf, nb::sig("def position(self) -> int | None"),
                         "Where the entry or directory lies, in bytes from the start of the file.")
            .def(
                "explain", [](const Message& message) { return strOf(explanationOf(message)); },
                nb::sig("def explain(self) -> str"),
                "What it means and what to do, on four lines: id, text, explanation, advice.")
            .def(
                "to_dict",
                [](const Message& message) {
                    return naturalMessage(*message.file, message.row(), isError(message));
                },
                nb::sig("def to_dict(self) -> dict[str, typing.Any]"), "The object of the JSON.")
            .def(
                "__str__", [](const Message& message) { return strOf(shownTextOf(message)); },
                nb::sig("def __str__(self) -> str"))
            .def(
                "__repr__", [](const Message& message) { return strOf(representation(message)); },
                nb::sig("def __repr__(self) -> str"))
            .def("__eq__", areEqual, nb::is_operator(),
                 nb::sig("def __eq__(self, other: object, /) -> bool"))
            .def("__hash__", hashOf);
    addCopies(type);
    addRowPickling<Message, &PackedFile::messages>(type);
}

}  // namespace ifdsweep::python
