#include "write/csv_cell.h"

#include <algorithm>

#include "text/formula_guard.h"
#include "text/natural_text.h"
#include "text/terminal_text.h"

namespace ifdsweep {

CellText cellTextOf(const WriteOptions& options) {
    return !options.rawCells     ? CellText::safe
           : options.forTerminal ? CellText::escaped
                                 : CellText::asItIs;
}

void appendQuoted(std::string& line, std::string_view cell) {
    const bool endsEarly = std::any_of(cell.begin(), cell.end(), [](char character) {
        return character == ',' || character == '"' || character == '\r' || character == '\n';
    });
    if (!endsEarly) {
        line.append(cell);
        return;
    }
    line.push_back('"');
    for (const char character : cell) {
        line.append(character == '"' ? 2 : 1, character);
    }
    line.push_back('"');
}

std::string_view CsvCell::ofText(std::string_view bytes) {
    renderedText.text.clear();
    if (text == CellText::asItIs) {
        rendered.append(bytes);
    } else {
        appendTerminalText(rendered, bytes);
    }
    rendered.flush();
    if (text == CellText::safe) {
        guardFormulas(renderedText.text);
    }
    return quoted();
}

std::string_view CsvCell::ofValue(std::string_view field, const Value& value) {
    renderedText.text.clear();
    appendPlainValue(rendered, &value, fieldTextOrigin(field), plainText);
    rendered.flush();
    if (text == CellText::safe && value.kind() != ValueKind::Double) {
        guardFormulas(renderedText.text);
    }
    return quoted();
}

std::string_view CsvCell::quoted() {
    cell.clear();
    appendQuoted(cell, renderedText.text);
    return cell;
}

}  // namespace ifdsweep
