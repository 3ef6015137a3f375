#pragma once

// Word index: finds the row of a text among the different texts of a column. The text that came
// last is found at once, for in most columns it comes again.
//
// Ownership: owns its table; the texts lie elsewhere. Threads: one at a time. Errors:
// std::bad_alloc.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "pack/packed_layout.h"
#include "pack/packed_rows.h"

namespace ifdsweep {

class WordIndex {
public:
    /// The row of a text, found or added.
    /// @param count how many texts there are
    /// @param textOf gives the text of a row
    /// @param add adds the text behind the others; what it throws ends the call
    template <class TextOf, class Add>
    [[nodiscard]] std::uint32_t rowOf(std::string_view text, std::size_t count,
                                      const TextOf& textOf, const Add& add) {
        const auto isText = [&](std::uint32_t row) {
            const std::string_view other = textOf(row);
            return other.size() == text.size() &&
                   areSameBytes(other.data(), text.data(), text.size());
        };
        if (last < count && isText(last)) {
            return last;
        }
        if (nameCells(count + 1) > cells.size()) {
            rebuild(count, textOf);
        }
        const std::size_t mask = cells.size() - 1;
        std::size_t cell = static_cast<std::size_t>(hashOfName(text)) & mask;
        while (cells[cell] != kNoRow && !isText(cells[cell])) {
            cell = (cell + 1) & mask;
        }
        if (cells[cell] == kNoRow) {
            add();
            cells[cell] = static_cast<std::uint32_t>(count);
        }
        last = cells[cell];
        return last;
    }

    /// Forgets all texts.
    void clear() noexcept {
        cells.clear();
        last = kNoRow;
    }

private:
    template <class TextOf>
    void rebuild(std::size_t count, const TextOf& textOf) {
        std::vector<std::uint32_t> larger(static_cast<std::size_t>(nameCells(count + 1)), kNoRow);
        const std::size_t mask = larger.size() - 1;
        for (std::uint32_t row = 0; row < count; ++row) {
            std::size_t cell = static_cast<std::size_t>(hashOfName(textOf(row))) & mask;
            while (larger[cell] != kNoRow) {
                cell = (cell + 1) & mask;
            }
            larger[cell] = row;
        }
        cells = std::move(larger);
    }

    std::vector<std::uint32_t> cells;
    std::uint32_t last = kNoRow;
};

}  // namespace ifdsweep
