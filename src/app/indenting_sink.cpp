#include "app/indenting_sink.h"

namespace app {

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
    destination.append('\n');
    destination.append(2 * depth, ' ');
}

void IndentingSink::writeOutside(char character) {
    const bool closes = character == '}' || character == ']';
    if (closes) {
        --depth;
    }
    if (opened != closes) {
        // Behind an opening bracket unless it is empty, and before a closing one.
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

}  // namespace app
