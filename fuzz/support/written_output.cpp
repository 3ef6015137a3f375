#include "written_output.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <nlohmann/json.hpp>

#include "files/file_names.h"
#include "fuzz_target.h"
#include "support/hidden_characters.h"
#include "text/text_decoding.h"
#include "values/value.h"
#include "write/framer.h"
#include "write/outcome_streams.h"

namespace fuzz {
namespace {

using nlohmann::json;

bool isSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

constexpr char16_t kMark = 1;

/// Lone surrogates may be written as escapes, which the parser refuses. Each escaped surrogate, and
/// each escaped U+0001, becomes U+0001 and its four digits.
std::string withMarkedSurrogates(std::string_view text) {
    std::string marked;
    for (std::size_t at = 0; at < text.size(); ++at) {
        marked += text[at];
        if (text[at] != '\\' || at + 1 == text.size()) {
            continue;
        }
        ++at;
        if (text[at] == 'u' && at + 4 < text.size()) {
            const std::string digits(text.substr(at + 1, 4));
            const auto unit = static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16));
            if (isSurrogate(unit) || unit == kMark) {
                marked += "u0001" + digits;
                at += 4;
                continue;
            }
        }
        marked += text[at];
    }
    return marked;
}

/// The UTF-16 units of a parsed string, marks undone.
std::u16string unitsOf(const json& text) {
    require(text.is_string(), "a text is a JSON string");
    // The parser has checked the UTF-8; this is the conversion that the file names have.
    const std::u16string marked = ifdsweep::fileNameFromSystem(text.get_ref<const std::string&>());
    std::u16string units;
    for (std::size_t at = 0; at < marked.size(); ++at) {
        if (marked[at] != kMark) {
            units += marked[at];
            continue;
        }
        const std::u16string digits = marked.substr(at + 1, 4);
        units += static_cast<char16_t>(
            std::stoul(std::string(digits.begin(), digits.end()), nullptr, 16));
        at += 4;
    }
    return units;
}

void requireNumber(const json& parsed, double number) {
    if (parsed.is_number()) {
        const auto back = parsed.get<double>();
        require(std::bit_cast<std::uint64_t>(back) == std::bit_cast<std::uint64_t>(number),
                "a number reads back the same");
        return;
    }
    const std::string name = parsed.get<std::string>();
    require(name == "NaN" ? std::isnan(number)
                          : (name == "Infinity" || name == "-Infinity") && std::isinf(number) &&
                                std::signbit(number) == (name[0] == '-'),
            "a number that is not finite has its name");
}

/// The members of an object, and no others.
void requireMembers(const json& object, const std::vector<const char*>& names) {
    require(object.is_object() && object.size() == names.size(), "an object has its members alone");
    for (const char* name : names) {
        require(object.contains(name), "an object has all its members");
    }
}

std::string bytesOfBase64(const std::string& text) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (const char character : text.substr(0, text.find('='))) {
        const std::size_t digit = kDigits.find(character);
        require(digit != std::string_view::npos, "base64 has its digits alone");
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<char>(bits >> count & 0xFF));
        }
    }
    return bytes;
}

/// The members of a file's object, which has the bytes of the name where it is no UTF-8.
void requireFileMembers(const json& object, const std::string& file,
                        std::vector<const char*> names) {
    const std::string_view bytes = file;
    if (!ifdsweep::isUtf8(bytes)) {
        names.push_back("fileBytes");
    }
    requireMembers(object, names);
    require(
        ifdsweep::isUtf8(bytes) || bytesOfBase64(object.at("fileBytes").get<std::string>()) == file,
        "the bytes of the file name read back the same");
}

void requireValue(const json& parsed, const ifdsweep::Value* value);

/// @param requireElement called with each parsed element and its index
template <class RequireElement>
void requireArray(const json& parsed, std::size_t count, RequireElement&& requireElement) {
    require(parsed.is_array() && parsed.size() == count, "an array has all its elements");
    for (std::size_t index = 0; index < count; ++index) {
        requireElement(parsed[index], index);
    }
}

void requireRecords(const json& parsed, const ifdsweep::Value& records) {
    requireArray(parsed.at("fields"), records.fieldCount(), [&](const json& name, std::size_t f) {
        require(name.get<std::string>() == records.fieldName(f), "a field has its name");
    });
    requireArray(
        parsed.at("data"), records.elementCount(), [&](const json& element, std::size_t index) {
            requireArray(element, records.fieldCount(), [&](const json& field, std::size_t f) {
                requireValue(field, records.field(index, f));
            });
        });
}

void requireValue(const json& parsed, const ifdsweep::Value* value) {
    if (value == nullptr) {
        require(parsed.is_null(), "nothing is null");
        return;
    }
    constexpr std::array kClasses{"double", "uint8", "char", "cell", "struct"};
    require(
        parsed.at("class").get<std::string>() == kClasses[static_cast<std::size_t>(value->kind())],
        "a value has its class");
    const json& data = parsed.at("data");
    require(parsed.at("size") == json::array({value->rows(), value->columns()}),
            "a value has its size");
    switch (value->kind()) {
        case ifdsweep::ValueKind::Double:
            requireArray(data, value->elementCount(), [&](const json& number, std::size_t index) {
                requireNumber(number, value->doubles()[index]);
            });
            break;
        case ifdsweep::ValueKind::Uint8:
            requireArray(data, value->elementCount(), [&](const json& number, std::size_t index) {
                require(number == value->bytes()[index], "a byte reads back the same");
            });
            break;
        case ifdsweep::ValueKind::Char:
            require(unitsOf(data) == value->text(), "every unit of a text survives");
            break;
        case ifdsweep::ValueKind::Cell:
            requireArray(data, value->elementCount(), [&](const json& cell, std::size_t index) {
                requireValue(cell, value->cell(index));
            });
            break;
        case ifdsweep::ValueKind::Struct:
            requireRecords(parsed, *value);
            break;
    }
}

void requireTypedArgument(const json& parsed, const qxMessageArgument& argument) {
    if (const auto* integer = boost::get<std::int64_t>(&argument)) {
        require(parsed.is_number_integer() && parsed.get<std::int64_t>() == *integer,
                "an integer argument is whole");
        return;
    }
    const auto& text = boost::get<qxMessageText>(argument);
    const std::u16string units = unitsOf(parsed);
    if (const auto* expected = boost::get<std::u16string>(&text)) {
        require(units == *expected, "every unit of an argument survives");
        return;
    }
    const auto& bytes = boost::get<std::string>(text);
    require(std::equal(
                units.begin(), units.end(), bytes.begin(), bytes.end(),
                [](char16_t unit, char byte) { return unit == static_cast<unsigned char>(byte); }),
            "every byte of an argument survives");
}

void requireTypedMessage(const json& parsed, const qxMessage& message) {
    requireMembers(parsed, {"id", "arguments"});
    require(parsed.at("id").get<std::string>() == message.id(), "a message has its id");
    requireArray(parsed.at("arguments"), message.arguments().size(),
                 [&](const json& argument, std::size_t index) {
                     requireTypedArgument(argument, message.arguments()[index]);
                 });
}

/// Takes the members away that tell where a stream comes from.
void takeOrigin(json& object, const ifdsweep::StreamOrigin& stream) {
    require(object.contains("container") != stream.container.empty() &&
                object.contains("stream") != stream.container.empty() &&
                object.contains("embedded") == (stream.isEmbedded && !stream.container.empty()),
            "a stream in a container tells its origin");
    if (stream.container.empty()) {
        return;
    }
    require(object.at("container") == stream.container, "a container has its name");
    // A mark is not undone here.
    const bool isComparable = ifdsweep::isUtf8(std::string_view(stream.name)) &&
                              stream.name.find(static_cast<char>(kMark)) == std::string::npos;
    require(!isComparable || object.at("stream").get<std::string>() == stream.name,
            "a stream has its name");
    for (const char* const name : {"container", "stream", "embedded"}) {
        object.erase(name);
    }
}

void requireTypedLine(std::string_view line, const ifdsweep::Outcome& outcome) {
    json parsed = json::parse(withMarkedSurrogates(line), nullptr, false);
    require(!parsed.is_discarded(), "the typed line is JSON");
    takeOrigin(parsed, outcome.stream);
    requireFileMembers(parsed, outcome.file, {"file", "arguments", "result", "warnings", "error"});
    require(ifdsweep::fileNameToSystem(unitsOf(parsed.at("file"))) == outcome.file,
            "the file name reads back the same");
    const json& arguments = parsed.at("arguments");
    requireMembers(arguments, {"initialOffset", "firstIfdIndex", "maxIfdCount"});
    requireNumber(arguments.at("initialOffset"), outcome.initialOffset);
    requireNumber(arguments.at("firstIfdIndex"), outcome.firstIfdIndex);
    requireNumber(arguments.at("maxIfdCount"), outcome.maxIfdCount);
    requireValue(parsed.at("result"), outcome.result.get());
    requireArray(parsed.at("warnings"), outcome.warnings.size(),
                 [&](const json& warning, std::size_t index) {
                     requireTypedMessage(warning, outcome.warnings[index].message);
                 });
    if (outcome.error) {
        requireTypedMessage(parsed.at("error"), *outcome.error);
    } else {
        require(parsed.at("error").is_null(), "no error is null");
    }
}

void requireNaturalStream(const json& object, const ifdsweep::Outcome& outcome) {
    require(object.at("warnings").size() == outcome.warnings.size(), "every warning is there");
    require(object.at("error").is_null() != outcome.error.has_value(), "an error is there");
    if (outcome.result != nullptr && outcome.result->kind() == ifdsweep::ValueKind::Struct) {
        require(object.at("records").size() == outcome.result->elementCount(),
                "every record is there");
    }
}

}  // namespace

std::string written(ifdsweep::Format format, const ifdsweep::Outcome& outcome,
                    ifdsweep::WriteOptions options, ifdsweep::Colour colour) {
    options.format = format;
    options.colour = colour;
    ifdsweep::StringSink sink;
    ifdsweep::Output output(sink);
    const auto writer = ifdsweep::makeResultWriter(options, output);
    ifdsweep::Framer framer(output, ifdsweep::frameOf(options));
    framer.begin();
    framer.add(writer->shows(outcome), [&] { writer->writeFile(outcome); });
    framer.end();
    output.flush();
    return std::move(sink.text);
}

std::string written(ifdsweep::Format format, const ifdsweep::Outcome& outcome,
                    ifdsweep::Colour colour) {
    ifdsweep::WriteOptions settings;
    settings.forTerminal = true;
    return written(format, outcome, settings, colour);
}

void requireTypedReadsBack(std::string_view lines, const ifdsweep::Outcome& outcome) {
    ifdsweep::forEachStream(outcome, [&lines](const ifdsweep::Outcome& stream) {
        const std::size_t end = lines.find('\n');
        require(end != std::string_view::npos, "a stream is one line");
        requireTypedLine(lines.substr(0, end), stream);
        lines.remove_prefix(end + 1);
    });
    require(lines.empty(), "there are no other lines");
}

void requireNaturalJson(std::string_view text, const ifdsweep::Outcome& outcome) {
    json parsed = json::parse(text, nullptr, false);
    require(parsed.is_array() && parsed.size() == 1, "the output is a JSON array of one file");
    json& file = parsed[0];
    require(!ifdsweep::isUtf8(std::string_view(outcome.file)) ||
                file.at("file").get<std::string>() == outcome.file,
            "a file name that is UTF-8 reads back the same");
    if (outcome.others.empty()) {
        takeOrigin(file, outcome.stream);
        requireFileMembers(file, outcome.file,
                           {"file", "initialOffset", "records", "warnings", "error"});
        requireNaturalStream(file, outcome);
        return;
    }
    requireFileMembers(file, outcome.file, {"file", "streams"});
    require(file.at("streams").size() == 1 + outcome.others.size(), "every stream is there");
    std::size_t number = 0;
    ifdsweep::forEachStream(outcome, [&](const ifdsweep::Outcome& stream) {
        json& object = file.at("streams")[number++];
        takeOrigin(object, stream.stream);
        requireMembers(object, {"offset", "records", "warnings", "error"});
        requireNaturalStream(object, stream);
    });
}

void requireJsonLines(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        require(end != std::string_view::npos, "the last line ends");
        require(json::parse(text.substr(0, end), nullptr, false).is_object(),
                "every line is a JSON object");
        text.remove_prefix(end + 1);
    }
}

void requireTerminalSafe(std::string_view text) {
    // Bytes that are no UTF-8 become lone surrogates.
    const std::u16string units = ifdsweep::fileNameFromSystem(text);
    char16_t beforeUnit = 0;
    for (const char16_t unit : units) {
        const bool endsPair = beforeUnit >= 0xD800 && beforeUnit <= 0xDBFF;
        require(endsPair || unit < 0xDC00 || unit > 0xDFFF, "valid UTF-8");
        beforeUnit = unit;
    }
    require(!fixture::firstUnsafe(units), "no character that is obeyed, reorders or is not seen");
}

std::string withoutColours(std::string_view text) {
    std::string plain(text);
    for (const std::string_view colour :
         {"\x1b[1m", "\x1b[1;34m", "\x1b[36m", "\x1b[33m", "\x1b[0m"}) {
        for (std::size_t at = plain.find(colour); at != std::string::npos;
             at = plain.find(colour, at)) {
            plain.erase(at, colour.size());
        }
    }
    return plain;
}

}  // namespace fuzz
