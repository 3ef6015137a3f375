#pragma once

// Unique texts: names or other runs of bytes of a packed file while they are gathered, each once,
// in the order in which they came, and the index by which they are found.
//
// One file has the texts of the one before, as a rule, and in the same order. So what was gathered
// stays, and is taken again text by text; the first text that is not the one expected ends that.
//
// Ownership: copies the texts. Threads: one at a time. Errors: std::bad_alloc.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "pack/packed_layout.h"
#include "pack/packed_rows.h"

namespace ifdsweep {

class UniqueTexts {
public:
    UniqueTexts() { clear(); }

    /// Begins a file.
    void begin();

    /// The row of a text, which is added if it is new.
    [[nodiscard]] std::uint32_t rowOf(std::string_view text);

    /// The same; `kNoRow` for an empty text.
    [[nodiscard]] std::uint32_t rowUnlessEmpty(std::string_view text) {
        return text.empty() ? kNoRow : rowOf(text);
    }

    /// Adds texts by the rows that they had before; false where they would have other rows now.
    /// @param rowsBefore as `rowOf` gave them since `forgotten` was what it is
    [[nodiscard]] bool addAgain(std::span<const std::uint32_t> rowsBefore);

    /// How often texts of an earlier file were forgotten: their rows mean nothing after that.
    [[nodiscard]] std::uint64_t forgotten() const { return timesForgotten; }

    /// Ends the file: from now on the functions below give its texts and no others.
    void end();

    /// Runs of `texts`, one after the other.
    [[nodiscard]] std::span<const PackedNameRow> rows() const { return runs; }
    /// As the table of a packed file has it.
    [[nodiscard]] std::span<const std::uint32_t> index() const { return cells; }
    [[nodiscard]] std::span<const char> texts() const { return letters; }

    /// How many texts the file has so far.
    [[nodiscard]] std::uint32_t size() const { return used; }

private:
    void clear();
    void forgetUnused();
    void rebuildIndex(std::size_t cellCount);
    [[nodiscard]] std::size_t cellOf(std::string_view text, std::uint64_t hash) const;
    [[nodiscard]] std::uint32_t add(std::string_view text, std::uint64_t hash);
    [[nodiscard]] std::string_view textOf(std::uint32_t row) const {
        return {letters.data() + runs[row].begin, static_cast<std::size_t>(runs[row].size)};
    }
    [[nodiscard]] std::size_t textsEnd() const {
        return runs.empty() ? 0 : static_cast<std::size_t>(runs.back().begin + runs.back().size);
    }
    [[nodiscard]] bool isText(std::uint32_t row, std::string_view text) const {
        return runs[row].size == text.size() &&
               areSameBytes(letters.data() + runs[row].begin, text.data(), text.size());
    }

    std::vector<PackedNameRow> runs;
    std::vector<char> letters;
    std::vector<std::uint32_t> cells;
    std::uint32_t used = 0;  ///< rows of this file; the others are those of one before
    std::uint64_t timesForgotten = 0;
};

}  // namespace ifdsweep
