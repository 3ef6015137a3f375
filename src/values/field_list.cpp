#include "values/field_list.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

namespace ifdsweep {

namespace {

std::size_t hashOf(std::string_view name) noexcept {
    return std::hash<std::string_view>{}(name);
}

bool isIdentifier(std::string_view name) noexcept {
    constexpr std::size_t kLongest = 63;  // so that room for one can be asked of any buffer
    return name.size() <= kLongest && std::all_of(name.begin(), name.end(), [](char character) {
               const char letter = static_cast<char>(character | 0x20);
               return (letter >= 'a' && letter <= 'z') || (character >= '0' && character <= '9') ||
                      character == '_';
           });
}

}  // namespace

FieldList::FieldList(std::span<const char* const> fieldNames)
    : names(fieldNames.begin(), fieldNames.end()),
      identifiersOnly(std::all_of(names.begin(), names.end(), isIdentifier)) {
    // A field number + 1 must fit in a table cell.
    if (names.size() >= std::numeric_limits<std::uint32_t>::max()) {
        throw std::bad_alloc();
    }
    table.resize(std::bit_ceil(2 * names.size() + 1));  // at most half full: probing ends
    successor.resize(names.size() + 1);
    for (std::size_t number = 0; number < names.size(); ++number) {
        successor[number] = static_cast<std::uint32_t>(number + 1);
        std::uint32_t& cell = table[cellOf(names[number])];
        if (cell == 0) {
            cell = static_cast<std::uint32_t>(number + 1);
        }
    }
}

bool FieldList::matches(std::span<const char* const> fieldNames) const noexcept {
    if (fieldNames.size() != names.size()) {
        return false;
    }
    for (std::size_t number = 0; number < names.size(); ++number) {
        if (std::strcmp(names[number].c_str(), fieldNames[number]) != 0) {
            return false;
        }
    }
    return true;
}

std::size_t FieldList::cellOf(std::string_view name) const noexcept {
    const std::size_t mask = table.size() - 1;
    std::size_t cell = hashOf(name) & mask;
    while (table[cell] != 0 && names[table[cell] - 1] != name) {
        cell = (cell + 1) & mask;
    }
    return cell;
}

std::size_t FieldList::find(std::string_view name) const noexcept {
    const std::uint32_t number = table[cellOf(name)];
    return number == 0 ? names.size() : number - 1;
}

std::size_t FieldList::findAfter(std::size_t lastField, const char* name) const noexcept {
    const std::size_t expected = successor[lastField];
    if (expected < names.size() && std::strcmp(names[expected].c_str(), name) == 0) {
        return expected;
    }
    const std::size_t number = find(name);
    if (number < names.size()) {
        successor[lastField] = static_cast<std::uint32_t>(number);
    }
    return number;
}

}  // namespace ifdsweep
