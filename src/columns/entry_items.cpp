#include "columns/entry_items.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <utility>

#include "pack/field_types.h"
#include "present/encoded_text.h"
#include "text/natural_text.h"
#include "text/text_decoding.h"

namespace ifdsweep {
namespace {

template <class Number>
Number at(const std::uint8_t* item) noexcept {
    Number number;
    std::memcpy(&number, item, sizeof number);
    return number;
}

template <class Integer>
std::optional<std::int64_t> signedOf(const std::uint8_t* item) noexcept {
    const auto number = at<Integer>(item);
    return std::in_range<std::int64_t>(number) ? std::optional(static_cast<std::int64_t>(number))
                                               : std::nullopt;
}

template <class Real>
std::optional<std::int64_t> wholeOf(const std::uint8_t* item) noexcept {
    const auto number = static_cast<double>(at<Real>(item));
    constexpr double kBound = 9223372036854775808.0;  // 2^63
    return std::trunc(number) == number && number >= -kBound && number < kBound
               ? std::optional(static_cast<std::int64_t>(number))
               : std::nullopt;
}

template <class Number>
std::optional<double> doubleOf(const std::uint8_t* item) noexcept {
    return static_cast<double>(at<Number>(item));
}

template <class Part>
EntryItems::Rational pairOf(const std::uint8_t* item) noexcept {
    return {at<Part>(item), at<Part>(item + sizeof(Part))};
}

template <class Part>
std::optional<double> quotientOf(const std::uint8_t* item) noexcept {
    const EntryItems::Rational pair = pairOf<Part>(item);
    return pair.denominator == 0 ? std::nullopt
                                 : std::optional(static_cast<double>(pair.numerator) /
                                                 static_cast<double>(pair.denominator));
}

struct TypeRow {
    std::string_view name{};
    ItemKind kind = ItemKind::none;
    std::optional<std::int64_t> (*integer)(const std::uint8_t* item) noexcept = nullptr;
    std::optional<double> (*number)(const std::uint8_t* item) noexcept = nullptr;
    EntryItems::Rational (*rational)(const std::uint8_t* item) noexcept = nullptr;
};

template <class Integer>
constexpr TypeRow integers(std::string_view name) {
    return {name, ItemKind::integers, signedOf<Integer>, doubleOf<Integer>};
}

template <class Real>
constexpr TypeRow reals(std::string_view name) {
    return {name, ItemKind::reals, wholeOf<Real>, doubleOf<Real>};
}

template <class Part>
constexpr TypeRow rationals(std::string_view name) {
    return {name, ItemKind::rationals, nullptr, quotientOf<Part>, pairOf<Part>};
}

/// By their codes.
constexpr std::array<TypeRow, 19> kTypes{{
    {},
    integers<std::uint8_t>("BYTE"),
    {"ASCII", ItemKind::characters},
    integers<std::uint16_t>("SHORT"),
    integers<std::uint32_t>("LONG"),
    rationals<std::uint32_t>("RATIONAL"),
    integers<std::int8_t>("SBYTE"),
    {"UNDEFINED", ItemKind::bytes, signedOf<std::uint8_t>, doubleOf<std::uint8_t>},
    integers<std::int16_t>("SSHORT"),
    integers<std::int32_t>("SLONG"),
    rationals<std::int32_t>("SRATIONAL"),
    reals<float>("FLOAT"),
    reals<double>("DOUBLE"),
    integers<std::uint32_t>("IFD"),
    {},
    {},
    integers<std::uint64_t>("LONG8"),
    integers<std::int64_t>("SLONG8"),
    integers<std::uint64_t>("IFD8"),
}};

constexpr TypeRow kDefault = reals<double>("");
constexpr std::uint16_t kDefaultType = 0;

const TypeRow& rowOf(std::uint16_t type) noexcept {
    return type == kDefaultType ? kDefault : kTypes[type < kTypes.size() ? type : 0];
}

std::size_t widthOf(std::uint16_t type) noexcept {
    return type == kDefaultType ? sizeof(double) : fieldTypeWidth(type);
}

std::u16string widened(std::string_view bytes) {
    std::u16string units(bytes.size(), u'\0');
    std::transform(bytes.begin(), bytes.end(), units.begin(), [](char byte) {
        return static_cast<char16_t>(static_cast<unsigned char>(byte));
    });
    return units;
}

std::string_view withoutNuls(std::string_view bytes) {
    return bytes.substr(0, bytes.find_last_not_of('\0') + 1);
}

/// Gathers code points as UTF-8.
struct Utf8Text {
    std::string text;
    bool isWhole = true;

    void codePoint(char32_t point) {
        std::array<char, 4> room;
        text.append(room.data(), encodeUtf8(room.data(), point));
    }
    void strayByte(std::uint8_t byte) {
        isWhole = false;
        codePoint(windows1252CodePoint(byte));
    }
    void loneSurrogate(char16_t /*unit*/) { codePoint(U'\uFFFD'); }
};

std::optional<std::string> textOf(const std::optional<DecodedText>& decoded) {
    if (!decoded) {
        return std::nullopt;
    }
    Utf8Text text;
    const std::u16string_view units(decoded->units);
    decodeNaturalText(units.substr(0, units.find_last_not_of(u'\0') + 1), decoded->form, text);
    return std::move(text.text);
}

std::optional<int> takeDigits(std::string_view& text, std::size_t count) noexcept {
    int number = 0;
    const std::string_view digits = text.substr(0, count);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool areAll = digits.size() == count && digits.front() != '-' &&
                        end == digits.data() + digits.size() && error == std::errc();
    text.remove_prefix(digits.size());
    return areAll ? std::optional(number) : std::nullopt;
}

bool take(std::string_view& text, std::string_view anyOf) noexcept {
    const bool isThere = !text.empty() && anyOf.find(text.front()) != std::string_view::npos;
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

}  // namespace

std::string_view fieldTypeName(std::uint16_t fieldType) noexcept {
    return fieldType < kTypes.size() ? kTypes[fieldType].name : std::string_view();
}

EntryItems::EntryItems(const PackedFile& file, const PackedEntryRow& entry) noexcept
    : type(entry.isDefault != 0 ? kDefaultType : entry.fieldType) {
    const std::size_t width = widthOf(type);
    if (width == 0 || (entry.isLoaded == 0 && entry.isDefault == 0) ||
        (entry.isDefault == 0 && entry.fieldType == kDefaultType)) {
        return;
    }
    const std::span<const std::uint8_t> bytes = file.bytesOf(entry.bytes);
    begin = bytes.data();
    count = bytes.size() / width;
}

ItemKind EntryItems::kind() const noexcept {
    return begin == nullptr ? ItemKind::none : rowOf(type).kind;
}

std::optional<std::int64_t> EntryItems::integer(std::size_t index) const noexcept {
    const TypeRow& row = rowOf(type);
    return index < count && row.integer != nullptr ? row.integer(begin + index * widthOf(type))
                                                   : std::nullopt;
}

std::optional<double> EntryItems::number(std::size_t index) const noexcept {
    const TypeRow& row = rowOf(type);
    return index < count && row.number != nullptr ? row.number(begin + index * widthOf(type))
                                                  : std::nullopt;
}

EntryItems::Rational EntryItems::rational(std::size_t index) const noexcept {
    const TypeRow& row = rowOf(type);
    return index < count && row.rational != nullptr ? row.rational(begin + index * widthOf(type))
                                                    : Rational{};
}

std::string EntryItems::digits(std::size_t index) const {
    if (const auto number = integer(index)) {
        return std::to_string(*number);
    }
    return index < count && widthOf(type) == sizeof(std::uint64_t)
               ? std::to_string(at<std::uint64_t>(begin + index * sizeof(std::uint64_t)))
               : std::string();
}

std::string_view EntryItems::bytes() const noexcept {
    return {static_cast<const char*>(static_cast<const void*>(begin)), count * widthOf(type)};
}

CharacterText characterText(std::string_view bytes) {
    const std::string_view characters = withoutNuls(bytes);
    if (isAscii(characters)) {
        return {std::string(characters), true};
    }
    Utf8Text text;
    text.text.reserve(characters.size());
    decodeUtf8Text(characters, text);
    if (text.isWhole) {
        return {std::move(text.text), true};
    }
    text.text.clear();
    for (const char byte : characters) {
        text.codePoint(windows1252CodePoint(static_cast<std::uint8_t>(byte)));
    }
    return {std::move(text.text), false};
}

std::optional<std::string> wideText(std::string_view bytes) {
    return textOf(decodeUtf16Bytes(widened(bytes)));
}

std::optional<std::string> codedText(std::string_view bytes) {
    return textOf(decodeCodedText(widened(bytes), CodePresence::optional));
}

std::optional<std::int64_t> clockTime(std::string_view text) noexcept {
    const auto year = takeDigits(text, 4);
    const bool hasYear = take(text, ":-/");
    const auto month = takeDigits(text, 2);
    const bool hasMonth = take(text, ":-/");
    const auto day = takeDigits(text, 2);
    const bool hasDay = take(text, " T");
    const auto hour = takeDigits(text, 2);
    const bool hasHour = take(text, ":");
    const auto minute = takeDigits(text, 2);
    const bool hasMinute = take(text, ":");
    const auto second = takeDigits(text, 2);
    const bool isWhole = hasYear && hasMonth && hasDay && hasHour && hasMinute && year && month &&
                         day && hour && minute && second &&
                         text.find_first_not_of(' ') == std::string_view::npos;
    if (!isWhole || *hour > 23 || *minute > 59 || *second > 60) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(*year),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok() || *year == 0) {
        return std::nullopt;
    }
    const std::chrono::microseconds moment =
        std::chrono::sys_days(date).time_since_epoch() + std::chrono::hours(*hour) +
        std::chrono::minutes(*minute) + std::chrono::seconds(*second);
    return moment.count();
}

bool isOpenClock(std::string_view text) noexcept {
    return text.find_first_not_of(" 0:-/T") == std::string_view::npos;
}

std::optional<std::int64_t> zoneMinutes(std::string_view text) noexcept {
    while (take(text, " ")) {
    }
    while (text.ends_with(' ')) {
        text.remove_suffix(1);
    }
    if (text == "Z" || text == "z") {
        return 0;
    }
    const bool isWest = text.starts_with('-');
    const bool hasSign = take(text, "+-");
    const auto hours = takeDigits(text, 2);
    take(text, ":");
    const auto minutes = takeDigits(text, 2);
    if (!hasSign || !hours || !minutes || !text.empty() || *hours > 14 || *minutes > 59) {
        return std::nullopt;
    }
    const std::int64_t all = *hours * std::int64_t{60} + *minutes;
    return isWest ? -all : all;
}

}  // namespace ifdsweep
