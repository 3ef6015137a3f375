#pragma once

// A set of rows of one dictionary, such as the names that occur in a chain. A value type that owns
// its bits; one thread at a time may change it, any may read it.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "dict/tag_names.h"

namespace ifdsweep::module {

class RowSet {
public:
    constexpr void add(std::size_t row) { words[row / 64] |= std::uint64_t{1} << row % 64; }

    [[nodiscard]] constexpr bool contains(std::size_t row) const {
        return (words[row / 64] >> row % 64 & 1U) != 0;
    }

    [[nodiscard]] constexpr bool empty() const { return words == Words{}; }

    /// Calls `use` with every row in ascending order.
    template <class Use>
    constexpr void forEach(Use use) const {
        for (std::size_t word = 0; word < words.size(); ++word) {
            for (std::uint64_t left = words[word]; left != 0; left &= left - 1) {
                use(64 * word + static_cast<std::size_t>(std::countr_zero(left)));
            }
        }
    }

private:
    using Words = std::array<std::uint64_t, (kMaximumNames + 63) / 64>;
    Words words{};
};

}  // namespace ifdsweep::module
