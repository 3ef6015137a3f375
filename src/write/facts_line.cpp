#include "write/facts_line.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <span>

#include "text/json_text.h"
#include "text/number_output.h"
#include "text/text_decoding.h"
#include "write/json_members.h"

namespace ifdsweep {
namespace {

template <class Item>
Item itemAt(std::span<const std::uint8_t> bytes, std::size_t index) {
    Item item;
    std::memcpy(&item, bytes.data() + index * sizeof item, sizeof item);
    return item;
}

template <class Integer>
void appendWhole(Output& output, Integer value) {
    char* text = output.reserve(kNumberRoom);
    output.commit(std::to_chars(text, text + kNumberRoom, value).ptr);
}

template <class Integer>
void appendIntegers(Output& output, std::span<const std::uint8_t> bytes) {
    appendJsonArray(output, bytes.size() / sizeof(Integer),
                    [&](std::size_t index) { appendWhole(output, itemAt<Integer>(bytes, index)); });
}

template <class Integer>
void appendRationals(Output& output, std::span<const std::uint8_t> bytes) {
    appendJsonArray(output, bytes.size() / (2 * sizeof(Integer)), [&](std::size_t index) {
        output.append('[');
        appendWhole(output, itemAt<Integer>(bytes, 2 * index));
        output.append(',');
        appendWhole(output, itemAt<Integer>(bytes, 2 * index + 1));
        output.append(']');
    });
}

/// A number with the shortest digits that read back the same; what is none, by its name.
template <class Real>
void appendReal(Output& output, Real value) {
    if (std::isfinite(value)) {
        appendWhole(output, value);
        return;
    }
    output.append('"');
    output.append(nonFiniteName(static_cast<double>(value)));
    output.append('"');
}

template <class Real>
void appendReals(Output& output, std::span<const std::uint8_t> bytes) {
    appendJsonArray(output, bytes.size() / sizeof(Real),
                    [&](std::size_t index) { appendReal(output, itemAt<Real>(bytes, index)); });
}

void appendBytes(Output& output, std::span<const std::uint8_t> bytes) {
    output.append(R"({"base64":)");
    appendJsonBase64(output, bytes);
    output.append('}');
}

/// Text without the NUL that ends it, which the count tells of; what is no UTF-8, as bytes.
void appendText(Output& output, std::span<const std::uint8_t> bytes) {
    std::string_view text(static_cast<const char*>(static_cast<const void*>(bytes.data())),
                          bytes.size());
    if (!isUtf8(text)) {
        appendBytes(output, bytes);
        return;
    }
    if (text.ends_with('\0')) {
        text.remove_suffix(1);
    }
    appendJsonString(output, text);
}

struct TypeRow {
    std::string_view name;
    void (*append)(Output& output, std::span<const std::uint8_t> bytes);
};

// clang-format off
/// The field types of TIFF 6.0 and BigTIFF by their codes; a row without a name is no type.
constexpr std::array<TypeRow, 19> kTypes{{
    {},
    {"BYTE",      appendIntegers<std::uint8_t>},
    {"ASCII",     appendText},
    {"SHORT",     appendIntegers<std::uint16_t>},
    {"LONG",      appendIntegers<std::uint32_t>},
    {"RATIONAL",  appendRationals<std::uint32_t>},
    {"SBYTE",     appendIntegers<std::int8_t>},
    {"UNDEFINED", appendBytes},
    {"SSHORT",    appendIntegers<std::int16_t>},
    {"SLONG",     appendIntegers<std::int32_t>},
    {"SRATIONAL", appendRationals<std::int32_t>},
    {"FLOAT",     appendReals<float>},
    {"DOUBLE",    appendReals<double>},
    {"IFD",       appendIntegers<std::uint32_t>},
    {},
    {},
    {"LONG8",     appendIntegers<std::uint64_t>},
    {"SLONG8",    appendIntegers<std::int64_t>},
    {"IFD8",      appendIntegers<std::uint64_t>},
}};

/// By the numbers of the kinds.
constexpr std::array<std::string_view, 4> kKindNames{"TIFF", "GPS", "Interoperability", "Exif"};
// clang-format on

const TypeRow* typeRow(std::uint16_t code) {
    return code < kTypes.size() && !kTypes[code].name.empty() ? &kTypes[code] : nullptr;
}

void appendNumberMember(Output& output, std::string_view name, std::uint64_t number) {
    appendName(output, name);
    appendWhole(output, number);
}

void appendDefault(Output& output, const EntryFacts& entry) {
    appendName(output, "default");
    output.append("true");
    appendName(output, "value");
    appendJsonArray(output, entry.defaults.size(),
                    [&](std::size_t index) { appendReal(output, entry.defaults[index]); });
}

void appendStored(Output& output, const EntryFacts& entry) {
    const TypeRow* type = typeRow(entry.fieldType);
    appendName(output, "type");
    if (type != nullptr) {
        appendJsonString(output, type->name);
    } else {
        appendWhole(output, entry.fieldType);
    }
    appendNumberMember(output, "count", entry.count);
    appendNumberMember(output, "entryOffset", entry.position);
    if (type != nullptr) {
        appendNumberMember(output, "valueOffset", entry.valuePosition);
        appendName(output, "inline");
        output.append(entry.isInline ? "true" : "false");
    }
    appendName(output, "value");
    if (entry.isLoaded && type != nullptr) {
        type->append(output, entry.bytes);
    } else {
        output.append("null");
    }
}

}  // namespace

std::string_view kindName(DirectoryKind kind) noexcept {
    return kKindNames[static_cast<std::size_t>(kind)];
}

void appendLineStart(Output& output, std::string_view file, const StreamOrigin& stream) {
    output.append('{');
    appendFileMembers(output, file);
    appendOriginMembers(output, stream);
}

void appendDirectoryMembers(Output& output, std::string_view path, DirectoryKind kind) {
    appendTextMember(output, "path", path);
    appendTextMember(output, "kind", kindName(kind));
}

void appendEntryMembers(Output& output, const EntryFacts& entry) {
    appendNumberMember(output, "tag", entry.tag);
    if (!entry.name.empty()) {
        appendTextMember(output, "name", entry.name);
    }
    if (entry.isDefault) {
        appendDefault(output, entry);
    } else {
        appendStored(output, entry);
    }
    if (!entry.valueName.empty()) {
        appendTextMember(output, "valueName", entry.valueName);
    }
    if (!entry.droppedBy.empty()) {
        appendTextMember(output, "droppedBy", entry.droppedBy);
    }
}

}  // namespace ifdsweep
