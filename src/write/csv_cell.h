#pragma once

// CSV cell: a text or a value as it stands between two commas (RFC 4180): the numbers of a value
// between spaces, the rows of a matrix between "; ", text in UTF-8, the texts of a list between
// ", ", bytes in base64. Records have no cell.
//
// A safe cell is one that no program does anything with but show it: text has the escapes of
// terminal text, and is guarded against being run as a formula. Numbers stay as they are.
//
// Ownership: owns the text that it makes. Threads: one at a time.

#include <cstdint>
#include <string>
#include <string_view>

#include "ifdsweep/write.h"
#include "io/output.h"
#include "values/value.h"
#include "write/text_value.h"

namespace ifdsweep {

/// What becomes of text in a cell.
enum class CellText : std::uint8_t {
    safe,     ///< escaped, and guarded against formulas
    escaped,  ///< as a terminal shows it
    asItIs,
};

/// What becomes of text by the settings of a table.
[[nodiscard]] CellText cellTextOf(const WriteOptions& options);

/// Appends a cell as it is, between quotes when it holds what would end it.
void appendQuoted(std::string& line, std::string_view cell);

class CsvCell {
public:
    explicit CsvCell(CellText cellText)
        : text(cellText),
          plainText(cellText == CellText::asItIs ? PlainText::asItIs : PlainText::escaped),
          rendered(renderedText) {
        rendered.setForTerminal(cellText != CellText::asItIs);
    }

    /// The cell of a text in UTF-8, such as a file name; valid until the next call, as the other.
    [[nodiscard]] std::string_view ofText(std::string_view bytes);

    /// The cell of what a function appends, which has no text of the file but in JSON.
    /// @param append called with an Output
    template <class Append>
    [[nodiscard]] std::string_view ofRendered(Append&& append) {
        renderedText.text.clear();
        append(rendered);
        rendered.flush();
        return quoted();
    }

    /// The cell of a value; empty where there is nothing to show.
    /// @param field its name
    [[nodiscard]] std::string_view ofValue(std::string_view field, const Value& value);

private:
    [[nodiscard]] std::string_view quoted();

    CellText text;
    PlainText plainText;
    StringSink renderedText;
    Output rendered;
    std::string cell;
};

}  // namespace ifdsweep
