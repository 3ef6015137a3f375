#pragma once

// Unique texts: names or other runs of bytes of a packed file while they are gathered, each once,
// in the order in which they came, and the index by which they are found.
//
// Files have the texts of those before them, as a rule, and in much the same order. So what was
// gathered stays known by a number, and each text is first compared with the one that followed the
// same text the last time.
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
    [[nodiscard]] std::uint32_t rowOf(std::string_view text) { return rowOfNumber(numberOf(text)); }

    /// The same; `kNoRow` for an empty text.
    [[nodiscard]] std::uint32_t rowUnlessEmpty(std::string_view text) {
        return text.empty() ? kNoRow : rowOf(text);
    }

    /// The number of a text, be it one of the file or not.
    [[nodiscard]] std::uint32_t numberOf(std::string_view text);

    /// The row of a text by its number, as `numberOf` gave it since `forgotten` was what it is.
    [[nodiscard]] std::uint32_t rowOfNumber(std::uint32_t number) {
        Known& text = known[number];
        if (text.file != file) {
            text.row = addRow(number);
            text.file = file;
        }
        return text.row;
    }

    /// How often texts of earlier files were forgotten: their numbers mean nothing after that.
    [[nodiscard]] std::uint64_t forgotten() const { return timesForgotten; }

    /// Ends the file, for the three functions that follow.
    void end();

    /// Runs of `texts`, one after the other.
    [[nodiscard]] std::span<const PackedNameRow> rows() const { return runs; }
    /// As the table of a packed file has it.
    [[nodiscard]] std::span<const std::uint32_t> index() const { return cells; }
    [[nodiscard]] std::span<const char> texts() const { return letters; }

    /// How many texts the file has so far.
    [[nodiscard]] std::size_t size() const { return numbers.size(); }

private:
    /// A text of this file or of one before.
    struct Known {
        PackedRun run;  ///< of the letters of all that are known
        std::uint64_t hash;
        std::uint64_t file;      ///< the last one that has it
        std::uint32_t row;       ///< in that file
        std::uint32_t follower;  ///< the number of the text that was asked for after it; `kNoRow`
    };

    void clear();
    [[nodiscard]] std::uint32_t find(std::string_view text);
    [[nodiscard]] std::uint32_t add(std::string_view text, std::uint64_t hash);
    [[nodiscard]] std::uint32_t addRow(std::uint32_t number);
    void rebuildIndex(std::size_t cellCount);
    [[nodiscard]] std::string_view textOf(std::uint32_t number) const {
        const PackedRun& run = known[number].run;
        return {knownLetters.data() + run.begin, static_cast<std::size_t>(run.size)};
    }
    [[nodiscard]] bool isText(std::uint32_t number, std::string_view text) const {
        const PackedRun& run = known[number].run;
        return run.size == text.size() &&
               areSameBytes(knownLetters.data() + run.begin, text.data(), text.size());
    }

    std::vector<Known> known;
    std::vector<char> knownLetters;
    std::vector<std::uint32_t> knownCells;  ///< numbers by their hashes
    std::uint32_t last = kNoRow;            ///< number of the text that was asked for last
    std::uint64_t file = 1;                 ///< one more than were begun
    std::uint64_t timesForgotten = 0;
    std::vector<std::uint32_t> numbers;  ///< of the texts of this file, in its order

    std::vector<PackedNameRow> runs;
    std::vector<char> letters;
    std::vector<std::uint32_t> cells;
};

}  // namespace ifdsweep
