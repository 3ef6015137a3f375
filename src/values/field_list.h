#pragma once

// The field names of record arrays, shared by all record arrays that have the same ones, and how
// they are found. Names are copied.
//
// Ownership: shared by the record arrays that use it and the value store that made it.
// Threads: one thread at a time; finding a field learns the order in which fields are set.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ifdsweep {

class FieldList {
public:
    explicit FieldList(std::span<const char* const> fieldNames);

    [[nodiscard]] std::size_t size() const noexcept { return names.size(); }
    [[nodiscard]] std::string_view name(std::size_t number) const noexcept {
        return number < names.size() ? std::string_view(names[number]) : std::string_view();
    }

    /// What the list takes, about: what values count for it against their budget.
    [[nodiscard]] std::size_t memory() const noexcept {
        constexpr std::size_t kName = 64;  // a string with a block of its own
        return names.size() * kName + (table.size() + successor.size()) * sizeof table[0];
    }

    /// Whether every name consists of letters, digits and underscores of ASCII, at most 63.
    [[nodiscard]] bool areIdentifiers() const noexcept { return identifiersOnly; }

    /// Whether the list has exactly these names in this order.
    [[nodiscard]] bool matches(std::span<const char* const> fieldNames) const noexcept;

    /// The number of the first field of that name; `size()` when there is none.
    [[nodiscard]] std::size_t find(std::string_view name) const noexcept;

    /// The same, fast when fields are set in the order in which they were set in another element.
    /// @param lastField the field found before; `size()` when there is none
    [[nodiscard]] std::size_t findAfter(std::size_t lastField, const char* name) const noexcept;

private:
    /// The cell of a name, or the free one where it would be.
    [[nodiscard]] std::size_t cellOf(std::string_view name) const noexcept;

    std::vector<std::string> names;
    bool identifiersOnly;
    std::vector<std::uint32_t> table;              ///< open addressing: field number + 1, 0 free
    mutable std::vector<std::uint32_t> successor;  ///< by field: the one found after it last time
};

}  // namespace ifdsweep
