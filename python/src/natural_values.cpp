#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>

#include "columns/entry_items.h"
#include "exact_values.h"
#include "messages.h"
#include "text/json_text.h"
#include "text/number_text.h"
#include "text/text_decoding.h"
#include "texts.h"
#include "values.h"

namespace ifdsweep::python {
namespace {

/// A whole number whose digits may be followed by a power.
nb::object largeNumber(double number) {
    std::array<char, kNumberRoom + 1> text{};
    const std::string_view digits(
        text.data(), static_cast<std::size_t>(formatFinite(text.data(), number) - text.data()));
    if (digits.find_first_of(".e") != std::string_view::npos) {
        return nb::float_(number);
    }
    constexpr int kDecimal = 10;
    return made(PyLong_FromString(text.data(), nullptr, kDecimal));
}

/// A number as its digits in the JSON are read back: whole where they have no point and no power.
nb::object naturalNumber(double number) {
    if (number > -kExactIntegers && number < kExactIntegers) {
        const auto whole = static_cast<std::int64_t>(number);
        const bool isWhole =
            static_cast<double>(whole) == number && (whole != 0 || !std::signbit(number));
        return made(isWhole ? PyLong_FromLongLong(whole) : PyFloat_FromDouble(number));
    }
    return std::isfinite(number) ? largeNumber(number) : nb::none();
}

nb::object base64Object(std::span<const std::uint8_t> bytes) {
    return strOf(written([&](Output& output) { appendBase64(output, bytes); }));
}

nb::str textOfRun(const PackedFile& file, const PackedRun& run) {
    return utf8Str(file.textOf(run));
}

/// A row as a list, every other shape as a list of rows; nothing at all as an empty list.
template <class Make>
nb::object naturalArray(const PackedArrayRow& array, Make&& make) {
    const std::size_t rows = array.rows;
    const std::size_t columns = array.columns;
    if (rows == 1 || rows * columns == 0) {
        return listOf(rows * columns, make);
    }
    return listOf(rows, [&](std::size_t row) {
        return listOf(columns, [&](std::size_t column) { return make(column * rows + row); });
    });
}

nb::object naturalNumbers(const PackedFile& file, const PackedValueRow& value,
                          const PackedArrayRow& array) {
    if (value.isOfEntry != 0) {
        const PackedEntryRow& entry = file.entries()[value.entry];
        // Nearly all: each a row of small integers.
        if (nb::object list = array.rows == 1 ? integerListOf(file, entry) : nb::object();
            list.is_valid()) {
            return list;
        }
        const EntryItems items(file, entry);
        return naturalArray(array, [&](std::size_t index) {
            return naturalNumber(items.number(index).value_or(0));
        });
    }
    const auto doubles = file.doublesOf(array);
    return naturalArray(array, [&](std::size_t index) { return naturalNumber(doubles[index]); });
}

nb::list naturalWarnings(const PackedFile& file, const PackedStreamRow& stream) {
    nb::list warnings;
    for (const PackedMessageRow& message :
         file.messages().subspan(stream.firstWarning, stream.warningCount)) {
        warnings.append(naturalMessage(file, message, false));
    }
    return warnings;
}

nb::object nestedValue(const PackedFile& file, PackedKind kind, const PackedArrayRow& array,
                       std::uint32_t name) {
    const RecursionGuard guard;
    if (kind == PackedKind::cells) {
        return naturalArray(array, [&](std::size_t index) {
            return naturalValue(file, file.values()[array.begin + index], name);
        });
    }
    return listOf(std::size_t{array.rows} * array.columns, [&](std::size_t element) {
        return nb::object(naturalRecord(file, array, static_cast<std::uint32_t>(element)));
    });
}

/// Adds what came of a stream.
void addReading(nb::dict& object, const PackedFile& file, const PackedStreamRow& stream) {
    object["records"] = stream.records == kNoRow
                            ? nb::object(nb::list())
                            : naturalValue(file, file.values()[stream.records], kNoRow);
    object["warnings"] = naturalWarnings(file, stream);
    object["error"] = stream.error == kNoRow
                          ? nb::object(nb::none())
                          : naturalMessage(file, file.messages()[stream.error], true);
}

void addEmbedded(nb::dict& object, const PackedStreamRow& stream) {
    if (stream.isEmbedded != 0) {
        object["embedded"] = true;
    }
}

nb::dict naturalStream(const PackedFile& file, const PackedStreamRow& stream) {
    nb::dict object;
    object["container"] = textOfRun(file, stream.container);
    object["stream"] = textOfRun(file, stream.name);
    object["offset"] = naturalNumber(stream.initialOffset);
    addEmbedded(object, stream);
    addReading(object, file, stream);
    return object;
}

}  // namespace

nb::object textObject(std::u16string_view units, std::string_view fieldName) {
    return naturalStr(units, textForm(units, fieldTextOrigin(fieldName)));
}

nb::dict naturalRecord(const PackedFile& file, const PackedArrayRow& records,
                       std::uint32_t element) {
    nb::dict object;
    const PackedFieldsRow& list = file.fieldLists()[records.fields];
    if (list.count == 0) {
        return object;
    }
    const auto names = file.fieldNames().subspan(list.first, list.count);
    const PackedValueRow* value = &file.fieldOf(records, element, 0);
    for (const std::uint32_t name : names) {
        const nb::object shown = naturalValue(file, *value++, name);
        if (PyDict_SetItem(object.ptr(), keyOf(file, name).ptr(), shown.ptr()) != 0) {
            throw nb::python_error();
        }
    }
    return object;
}

nb::object naturalValue(const PackedFile& file, const PackedValueRow& value, std::uint32_t name) {
    if (value.kind == PackedKind::none) {
        return nb::none();
    }
    if (value.kind == PackedKind::number) {
        return naturalNumber(PackedFile::numberOf(value));
    }
    const PackedArrayRow& array = file.arrays()[value.content];
    switch (value.kind) {
        case PackedKind::numbers:
            return naturalNumbers(file, value, array);
        case PackedKind::bytes:
            return base64Object(file.bytesOf(array));
        case PackedKind::text:
            return textObject(file.unitsOf(array), file.name(name));
        default:
            return nestedValue(file, value.kind, array, name);
    }
}

nb::dict naturalMessage(const PackedFile& file, const PackedMessageRow& message, bool isError) {
    nb::dict object;
    object["id"] = utf8Str(file.name(message.id));
    nb::list arguments;
    for (const nb::handle argument : messageArguments(file, message)) {
        arguments.append(argument);
    }
    object["arguments"] = arguments;
    object["text"] = utf8Str(messageTextOf(file, message));
    if (!isError) {
        if (message.path.size != 0) {
            object["path"] = textOfRun(file, message.path);
        }
        if (message.hasTag != 0) {
            object["tag"] = message.tag;
        }
        if (message.hasOffset != 0) {
            object["offset"] = static_cast<std::int64_t>(message.offset);
        }
        return object;
    }
    for (const PackedStreamRow& stream : file.streams()) {
        if (stream.found.size != 0 && stream.error != kNoRow &&
            &file.messages()[stream.error] == &message) {
            object["found"] = textOfRun(file, stream.found);
        }
    }
    return object;
}

nb::dict naturalFile(const PackedFile& file) {
    nb::dict object;
    const std::string_view path = file.textOf(file.file().path);
    object["file"] = utf8Str(path);
    if (!isUtf8(path)) {
        object["fileBytes"] = base64Object(file.bytesOf(file.file().path));
    }
    const auto streams = file.streams();
    if (streams.size() > 1) {
        object["streams"] = listOf(streams.size(), [&](std::size_t number) {
            return nb::object(naturalStream(file, streams[number]));
        });
        return object;
    }
    const PackedStreamRow& stream = streams.front();
    object["initialOffset"] = naturalNumber(stream.initialOffset);
    if (stream.container.size != 0) {
        object["container"] = textOfRun(file, stream.container);
        object["stream"] = textOfRun(file, stream.name);
        addEmbedded(object, stream);
    }
    addReading(object, file, stream);
    return object;
}

}  // namespace ifdsweep::python
