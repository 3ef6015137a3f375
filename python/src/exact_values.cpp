#include "exact_values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include <nanobind/ndarray.h>

#include "pack/field_types.h"
#include "text/number_text.h"
#include "text/text_decoding.h"
#include "texts.h"
#include "values.h"

namespace ifdsweep::python {
namespace {

template <class Item>
Item itemAt(const std::uint8_t* bytes, std::size_t index = 0) {
    Item item;
    std::memcpy(&item, bytes + index * sizeof item, sizeof item);
    return item;
}

template <class Integer>
nb::object integerObject(const std::uint8_t* bytes) {
    return nb::int_(itemAt<Integer>(bytes));
}

template <class Real>
nb::object realObject(const std::uint8_t* bytes) {
    return nb::float_(static_cast<double>(itemAt<Real>(bytes)));
}

template <class Integer>
nb::object rationalObject(const std::uint8_t* bytes) {
    return nb::make_tuple(itemAt<Integer>(bytes), itemAt<Integer>(bytes, 1));
}

/// The number of a default: whole where it is, as it is written.
nb::object defaultObject(const std::uint8_t* bytes) {
    const auto number = itemAt<double>(bytes);
    constexpr double kMostWhole = 9007199254740992.0;  // 2^53
    return std::trunc(number) == number && std::abs(number) <= kMostWhole
               ? nb::object(nb::int_(static_cast<std::int64_t>(number)))
               : nb::object(nb::float_(number));
}

template <class Number>
void appendNumber(std::string& text, Number number) {
    std::array<char, kNumberRoom> room;
    text.append(room.data(), std::to_chars(room.data(), room.data() + room.size(), number).ptr);
}

template <class Number>
void appendItem(std::string& text, const std::uint8_t* bytes) {
    appendNumber(text, itemAt<Number>(bytes));
}

template <class Integer>
void appendRational(std::string& text, const std::uint8_t* bytes) {
    appendNumber(text, itemAt<Integer>(bytes));
    text += '/';
    appendNumber(text, itemAt<Integer>(bytes, 1));
}

/// How the items of a field type are shown in Python. A type without `object` is one of bytes.
struct TypeRow {
    std::size_t width = 1;  ///< bytes of an item
    nb::object (*object)(const std::uint8_t* item) = nullptr;
    void (*append)(std::string& text, const std::uint8_t* item) = nullptr;
    nb::dlpack::dtype dtype = nb::dtype<std::uint8_t>();
    std::size_t parts = 1;  ///< numbers in an item
    /// Of integers of at most 32 bits.
    nb::object (*list)(const std::uint8_t* items, std::size_t count) = nullptr;
};

/// A list of integers that are the same as doubles.
template <class Integer>
nb::object integerList(const std::uint8_t* bytes, std::size_t count) {
    return listOf(count, [&](std::size_t index) {
        return made(PyLong_FromLong(itemAt<Integer>(bytes, index)));
    });
}

template <class Integer>
constexpr TypeRow integerRow() {
    TypeRow row{sizeof(Integer), integerObject<Integer>, appendItem<Integer>, nb::dtype<Integer>()};
    if constexpr (sizeof(Integer) <= sizeof(std::int32_t)) {
        row.list = integerList<Integer>;
    }
    return row;
}

template <class Integer>
constexpr TypeRow rationalRow() {
    return {2 * sizeof(Integer), rationalObject<Integer>, appendRational<Integer>,
            nb::dtype<Integer>(), 2};
}

template <class Real>
constexpr TypeRow realRow() {
    return {sizeof(Real), realObject<Real>, appendItem<Real>, nb::dtype<Real>()};
}

// clang-format off
constexpr std::uint16_t kAscii = 2;

/// By the codes of TIFF 6.0 and BigTIFF.
constexpr std::array<TypeRow, 19> kTypes{{
    {},
    integerRow<std::uint8_t>(),    // BYTE
    {},                            // ASCII
    integerRow<std::uint16_t>(),   // SHORT
    integerRow<std::uint32_t>(),   // LONG
    rationalRow<std::uint32_t>(),  // RATIONAL
    integerRow<std::int8_t>(),     // SBYTE
    {},                            // UNDEFINED
    integerRow<std::int16_t>(),    // SSHORT
    integerRow<std::int32_t>(),    // SLONG
    rationalRow<std::int32_t>(),   // SRATIONAL
    realRow<float>(),              // FLOAT
    realRow<double>(),             // DOUBLE
    integerRow<std::uint32_t>(),   // IFD
    {},
    {},
    integerRow<std::uint64_t>(),   // LONG8
    integerRow<std::int64_t>(),    // SLONG8
    integerRow<std::uint64_t>(),   // IFD8
}};
// clang-format on

constexpr TypeRow kDefault{sizeof(double), defaultObject, appendItem<double>, nb::dtype<double>()};

const TypeRow& typeOf(const PackedEntryRow& entry) {
    return entry.isDefault != 0 ? kDefault
                                : kTypes[entry.fieldType < kTypes.size() ? entry.fieldType : 0];
}

bool isThere(const PackedEntryRow& entry) {
    return entry.isLoaded != 0 || entry.isDefault != 0;
}

bool isText(const PackedEntryRow& entry) {
    return entry.fieldType == kAscii && entry.isDefault == 0;
}

/// The items of an entry. How many there are, its bytes say: a count may be wrong.
struct Items {
    Items(const PackedFile& file, const PackedEntryRow& entry)
        : type(typeOf(entry)), bytes(file.bytesOf(entry.bytes)), count(bytes.size() / type.width) {}

    [[nodiscard]] const std::uint8_t* at(std::size_t index) const {
        return bytes.data() + index * type.width;
    }

    const TypeRow& type;
    std::span<const std::uint8_t> bytes;
    std::size_t count;
};

std::string_view textOf(std::span<const std::uint8_t> bytes) {
    return {static_cast<const char*>(static_cast<const void*>(bytes.data())), bytes.size()};
}

nb::bytes bytesObject(std::span<const std::uint8_t> bytes) {
    return nb::bytes(bytes.data(), bytes.size());
}

/// Text without the NUL that ends it, which the count tells of; what is no UTF-8, as bytes.
nb::object textObject(std::span<const std::uint8_t> bytes) {
    std::string_view text = textOf(bytes);
    if (!isUtf8(text)) {
        return bytesObject(bytes);
    }
    text.remove_suffix(text.ends_with('\0') ? 1 : 0);
    return strOf(text);
}

constexpr std::size_t kShownItems = 16;

std::string numbersText(const Items& items) {
    std::string text;
    for (std::size_t index = 0; index < std::min(items.count, kShownItems); ++index) {
        text.append(index == 0 ? "" : " ");
        items.type.append(text, items.at(index));
    }
    if (items.count > kShownItems) {
        text.append(" … (").append(std::to_string(items.count)).append(" values)");
    }
    return text;
}

std::string bytesText(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text = std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte" : " bytes");
    std::string_view before = ": ";
    for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), kShownItems))) {
        text.append(before).append({kDigits[byte >> 4], kDigits[byte & 15]});
        before = " ";
    }
    return text.append(bytes.size() > kShownItems ? " …" : "");
}

}  // namespace

nb::object exactValue(const FilePointer& file, const PackedEntryRow& entry) {
    if (!isThere(entry)) {
        return nb::none();
    }
    const Items items(*file, entry);
    if (isText(entry)) {
        return textObject(items.bytes);
    }
    if (items.type.object == nullptr) {
        return bytesObject(items.bytes);
    }
    const auto object = [&](std::size_t index) { return items.type.object(items.at(index)); };
    return items.count == 1 ? object(0) : tupleOf(items.count, object);
}

bool hasIntegers(const PackedEntryRow& entry) {
    return isThere(entry) && (entry.isDefault != 0 || isIntegerType(entry.fieldType));
}

bool hasReals(const PackedEntryRow& entry) {
    return entry.isDefault == 0 && typeOf(entry).object != nullptr &&
           !isIntegerType(entry.fieldType);
}

nb::object itemObject(const PackedFile& file, const PackedEntryRow& entry, std::size_t index) {
    const Items items(file, entry);
    return items.type.object(items.at(index));
}

nb::object integerListOf(const PackedFile& file, const PackedEntryRow& entry) {
    const Items items(file, entry);
    return items.type.list == nullptr ? nb::object() : items.type.list(items.at(0), items.count);
}

nb::object arrayOf(const FilePointer& file, const PackedEntryRow& entry) {
    if (!isThere(entry)) {
        throw nb::value_error("the value of this entry was not loaded");
    }
    static_cast<void>(nb::module_::import_("numpy"));  // says so itself where it is not installed
    const Items items(*file, entry);
    const auto number = static_cast<std::uint32_t>(&entry - file->entries().data());
    const nb::object owner = nb::cast(Entry{file, number});
    const std::array<std::size_t, 2> shape{items.count, items.type.parts};
    return nb::cast(nb::ndarray<nb::numpy, nb::ro>(items.bytes.data(),
                                                   items.type.parts == 1 ? 1 : 2, shape.data(),
                                                   owner, nullptr, items.type.dtype));
}

nb::object fractionsOf(const PackedFile& file, const PackedEntryRow& entry) {
    const Items items(file, entry);
    if (items.type.parts != 2) {
        throw nb::type_error("fractions: the entry is of no rational type");
    }
    if (!isThere(entry)) {
        return nb::none();
    }
    const nb::object fraction = nb::module_::import_("fractions").attr("Fraction");
    return tupleOf(items.count, [&](std::size_t index) -> nb::object {
        const nb::object pair = items.type.object(items.at(index));
        return nb::cast<std::int64_t>(pair[1]) == 0 ? nb::object(nb::none())
                                                    : fraction(pair[0], pair[1]);
    });
}

std::string textOfEntry(const PackedFile& file, const PackedEntryRow& entry) {
    const std::string_view name = file.name(entry.valueName);
    if (!name.empty()) {
        return std::string(name);
    }
    if (!isThere(entry)) {
        return "";
    }
    const Items items(file, entry);
    if (isText(entry)) {
        const std::string_view text = textOf(items.bytes);
        return decodedBytes(text.substr(0, text.find_last_not_of('\0') + 1));
    }
    return items.type.append == nullptr ? bytesText(items.bytes) : numbersText(items);
}

}  // namespace ifdsweep::python
