#include "write/indenting_sink.h"

#include <algorithm>

namespace ifdsweep {

void IndentingSink::write(std::string_view bytes) {
    for (const char character : bytes) {
        if (!inString) {
            writeOutside(character);
            continue;
        }
        destination.append(character);
        inString = escaped || character != '"';
        escaped = !escaped && character == '\\';
    }
}

void IndentingSink::breakLine() {
    const std::size_t shallow = std::min(depth, kShallow);
    const std::size_t deep = std::min(2 * (depth - shallow), deepSpaces);
    deepSpaces -= deep;
    destination.append('\n');
    destination.append(2 * shallow + deep, ' ');
}

void IndentingSink::writeOutside(char character) {
    const bool closes = character == '}' || character == ']';
    if (closes) {
        --depth;
    }
    if (opened != closes) {
        // After an opening bracket unless it is empty, and before a closing one.
        breakLine();
    }
    opened = character == '{' || character == '[';
    if (opened) {
        ++depth;
    }
    destination.append(character);
    if (character == ',') {
        breakLine();
    } else if (character == ':') {
        destination.append(' ');
    }
    inString = character == '"';
}

}  // namespace ifdsweep
