#pragma once

// Line wrapper: lines for a terminal of so many columns. A line that would go beyond the last one
// goes on below, under the place where its value begins. It is broken at spaces, which are left
// out there, and after an escaped line feed; a word that no line has room for is cut, but never
// within an escape, a control sequence or a character.
//
// What is written here is text as the text writer makes it: control sequences for colours, escapes
// that begin with a backslash, and UTF-8 (terminal_text.h).
//
// Ownership: borrows its destination. Threads: one at a time.

#include <cstddef>
#include <string>
#include <string_view>

#include "io/output.h"

namespace ifdsweep {

class LineWrapper final : public ByteSink {
public:
    /// The least room for values beside their names, in which every number can stand.
    static constexpr std::size_t kLeastRoom = 24;

    /// @param columns of the terminal, from 1 on
    LineWrapper(Output& wrappedOutput, std::size_t columns)
        : destination(wrappedOutput), width(columns) {}

    void write(std::string_view bytes) override;

    /// The line goes on under the place that it has arrived at. Where that leaves too little room,
    /// what is written next, as a whole, stays beside it if it fits and goes below if not.
    void hang();

    /// The line is not broken: a file name can be copied whole.
    void keepWhole() { isWhole = true; }

private:
    /// What is never cut: a character, an escape, a control sequence.
    struct Unit {
        std::size_t size = 0;  ///< bytes; 0 when they are not all there
        std::size_t columns = 0;
    };

    [[nodiscard]] static Unit unitAt(std::string_view bytes);
    [[nodiscard]] bool fits(std::string_view bytes, std::size_t room) const;
    void take(std::string_view unit, std::size_t columns);
    void takeSpace();
    void endWord();
    void endLine();
    void spill(std::string_view unit, std::size_t columns);
    void appendSpaces();
    void goOnBelow();

    Output& destination;
    std::size_t width;
    std::size_t column = 0;  ///< where the line is
    std::size_t below = 0;   ///< where its next one begins
    std::size_t spaces = 0;  ///< not written yet; they follow `column`
    std::string word{};      ///< follows the spaces
    std::size_t wordColumns = 0;
    std::string cut{};          ///< the beginning of a unit that the next bytes go on with
    bool isIndentation = true;  ///< nothing but spaces yet
    bool isLongWord = false;    ///< one that is cut
    bool isUndecided = false;   ///< whether what comes goes below
    bool isWhole = false;
};

}  // namespace ifdsweep
