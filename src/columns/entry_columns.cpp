#include "columns/entry_columns.h"

#include <array>
#include <optional>
#include <string>
#include <utility>

namespace ifdsweep {
namespace {

bool areCharacters(const EntryItems& items) {
    return items.kind() == ItemKind::characters || items.kind() == ItemKind::bytes;
}

bool areIntegers(const EntryItems& items, const PackedEntryRow& entry) {
    return items.kind() == ItemKind::integers || items.kind() == ItemKind::bytes ||
           entry.isDefault != 0;
}

bool areNumbers(const EntryItems& items) {
    return items.kind() == ItemKind::integers || items.kind() == ItemKind::rationals ||
           items.kind() == ItemKind::reals;
}

/// Whether a double is the item itself: not so for the largest integers. A quotient is as good as
/// its rational.
bool isExact(const EntryItems& items, std::size_t index, double number) {
    constexpr double kBound = 9223372036854775808.0;  // 2^63
    return items.kind() != ItemKind::integers ||
           (number < kBound && items.integer(index) == static_cast<std::int64_t>(number));
}

bool fits(ItemType type, std::int64_t number) {
    switch (type) {
        case ItemType::int16:
            return std::in_range<std::int16_t>(number);
        case ItemType::int32:
            return std::in_range<std::int32_t>(number);
        default:
            return true;
    }
}

Taken takeInteger(const EntryValue& value) {
    const auto number = areIntegers(value.items, value.entry) && value.items.size() == 1
                            ? value.items.integer(0)
                            : std::nullopt;
    if (!number || !fits(value.column.type().item, *number)) {
        return Taken::misfit;
    }
    value.column.setInteger(value.row, *number);
    return Taken::whole;
}

Taken takeNumber(const EntryValue& value) {
    if (!areNumbers(value.items) || value.items.size() != 1) {
        return Taken::misfit;
    }
    const auto number = value.items.number(0);
    if (!number) {
        return Taken::invalid;
    }
    value.column.setNumber(value.row, *number);
    return isExact(value.items, 0, *number) ? Taken::whole : Taken::partly;
}

Taken takeItem(const EntryValue& value) {
    return value.column.type().item == ItemType::float64 ? takeNumber(value) : takeInteger(value);
}

Taken takeIntegers(const EntryValue& value) {
    const ItemType type = value.column.type().item;
    const auto fitsHere = [&value, type](std::size_t index) {
        const auto number = value.items.integer(index);
        return number && fits(type, *number);
    };
    if (!areIntegers(value.items, value.entry)) {
        return Taken::misfit;
    }
    for (std::size_t index = 0; index < value.items.size(); ++index) {
        if (!fitsHere(index)) {
            return Taken::misfit;
        }
    }
    value.column.beginList(value.row);
    for (std::size_t index = 0; index < value.items.size(); ++index) {
        value.column.items().appendInteger(*value.items.integer(index));
    }
    return Taken::whole;
}

Taken takeNumbers(const EntryValue& value) {
    if (!areNumbers(value.items)) {
        return Taken::misfit;
    }
    Taken taken = Taken::whole;
    value.column.beginList(value.row);
    for (std::size_t index = 0; index < value.items.size(); ++index) {
        if (const auto number = value.items.number(index)) {
            value.column.items().appendNumber(*number);
            if (taken == Taken::whole && !isExact(value.items, index, *number)) {
                taken = Taken::partly;
            }
        } else {
            value.column.items().appendNull();
            taken = Taken::invalid;
        }
    }
    return taken;
}

Taken takeItems(const EntryValue& value) {
    return value.column.type().item == ItemType::float64 ? takeNumbers(value) : takeIntegers(value);
}

Taken takeCharacters(const EntryValue& value) {
    if (!areCharacters(value.items)) {
        return Taken::misfit;
    }
    const CharacterText characters = characterText(value.items.bytes());
    value.column.setText(value.row, characters.text);
    return characters.wasUtf8 ? Taken::whole : Taken::partly;
}

template <auto decode>
Taken takeDecoded(const EntryValue& value) {
    const auto text = isOneByteWide(value.items) ? decode(value.items.bytes()) : std::nullopt;
    if (!text) {
        return Taken::misfit;
    }
    value.column.setText(value.row, *text);
    return Taken::partly;  // without its character code, or the halves of characters
}

Taken takeBytes(const EntryValue& value) {
    if (!isOneByteWide(value.items)) {
        return Taken::misfit;
    }
    value.column.setText(value.row, value.items.bytes());
    return Taken::whole;
}

Taken takeWord(const EntryValue& value) {
    if (value.name.empty()) {
        return value.items.size() == 1 ? Taken::nothing : Taken::misfit;
    }
    value.column.setText(value.row, value.name);
    return Taken::partly;  // codes may have a name in common
}

/// The integer that a text comes to.
template <auto parse>
Taken takeParsed(const EntryValue& value) {
    if (!areCharacters(value.items)) {
        return Taken::misfit;
    }
    const std::string text = characterText(value.items.bytes()).text;
    if (const auto number = parse(text)) {
        value.column.setInteger(value.row, *number);
        return Taken::partly;  // which is written in several ways
    }
    return isOpenClock(text) ? Taken::nothing : Taken::invalid;
}

/// A default is a factor already.
Taken takeFactor(const EntryValue& value) {
    constexpr std::array<double, 6> kFactors{0, 0.1, 0.01, 0.001, 0.0001, 0.00001};
    const auto number =
        areNumbers(value.items) && value.items.size() == 1 ? value.items.number(0) : std::nullopt;
    for (std::size_t code = 1; code < kFactors.size(); ++code) {
        if (number == static_cast<double>(code)) {
            value.column.setNumber(value.row, kFactors[code]);
            return Taken::whole;
        }
    }
    return takeNumber(value);
}

/// In the order of `TagValue`.
constexpr std::array<Taken (*)(const EntryValue&), 11> kWays{
    nullptr,
    takeItem,
    takeItems,
    takeCharacters,
    takeDecoded<wideText>,
    takeDecoded<codedText>,
    takeBytes,
    takeWord,
    takeParsed<clockTime>,
    takeParsed<zoneMinutes>,
    takeFactor,
};
static_assert(kWays.size() == static_cast<std::size_t>(TagValue::factor) + 1);

}  // namespace

bool isOneByteWide(const EntryItems& items) noexcept {
    return items.bytes().size() == items.size();
}

bool isTooLong(const EntryItems& items, const FillLimits& limits) noexcept {
    return items.bytes().size() > limits.valueBytes ||
           (!isOneByteWide(items) && items.size() > limits.valueItems);
}

Taken takeValue(TagValue takes, const EntryValue& value) {
    return kWays[static_cast<std::size_t>(takes)](value);
}

}  // namespace ifdsweep
