#include "write/line_wrapper.h"

#include <algorithm>
#include <utility>

#include "text/display_width.h"
#include "text/text_decoding.h"

namespace ifdsweep {
namespace {

constexpr std::size_t kStep = 2;  // what a line that goes on is indented by

/// The size of an escape, of which the first bytes are there.
std::size_t escapeSize(std::string_view bytes) {
    switch (bytes[1]) {
        case 'x':
            return 4;
        case 'u':
            return 6;
        case 'U':
            return 10;
        default:
            return 2;
    }
}

}  // namespace

LineWrapper::Unit LineWrapper::unitAt(std::string_view bytes) {
    constexpr std::size_t kLongest = 16;
    const Unit whatever =
        bytes.size() < kLongest ? Unit{} : Unit{1, 1};  // for what no writer makes
    const char first = bytes.front();
    if (first == '\x1b') {
        const std::size_t end = bytes.substr(0, kLongest).find('m');
        return end == bytes.npos ? whatever : Unit{end + 1, 0};
    }
    if (first == '\\') {
        const std::size_t size = bytes.size() < 2 ? 0 : escapeSize(bytes);
        return size > bytes.size() ? Unit{} : Unit{size, size};
    }
    const Utf8Step step = decodeUtf8(bytes);
    return step.length == 0 ? whatever : Unit{step.length, displayColumns(step.codePoint)};
}

void LineWrapper::write(std::string_view bytes) {
    std::string joined;
    if (!cut.empty()) {
        joined = std::exchange(cut, {}).append(bytes);
        bytes = joined;
    }
    if (std::exchange(isUndecided, false) &&
        !fits(bytes, width - std::min(width, column + spaces))) {
        goOnBelow();
    }
    while (!bytes.empty()) {
        if (bytes.front() == '\n') {
            endLine();
            bytes.remove_prefix(1);
        } else if (bytes.front() == ' ') {
            takeSpace();
            bytes.remove_prefix(1);
        } else if (const auto [size, columns] = unitAt(bytes); size > 0) {
            take(bytes.substr(0, size), columns);
            bytes.remove_prefix(size);
        } else {
            cut = bytes;
            return;
        }
    }
}

/// Whether the rest of a line needs no more than the room.
bool LineWrapper::fits(std::string_view bytes, std::size_t room) const {
    while (!bytes.empty() && bytes.front() != '\n') {
        const auto [size, columns] = unitAt(bytes);
        if (columns > room || size == 0) {
            return false;
        }
        room -= columns;
        bytes.remove_prefix(size);
    }
    return !bytes.empty();
}

void LineWrapper::hang() {
    endWord();
    if (width >= column + spaces + kLeastRoom) {
        appendSpaces();
        below = column;
    } else {
        isUndecided = true;
    }
}

void LineWrapper::take(std::string_view unit, std::size_t columns) {
    if (std::exchange(isIndentation, false)) {
        // However deep a directory is nested, there is room for a number.
        constexpr std::size_t kRest = kLeastRoom + kStep;
        spaces = isWhole ? spaces : std::min(spaces, width - std::min(width, kRest));
        below = spaces + kStep;
    }
    if (isWhole) {
        appendSpaces();
        destination.append(unit);
        return;
    }
    if (isLongWord) {
        spill(unit, columns);
        return;
    }
    word.append(unit);
    wordColumns += columns;
    if (below + wordColumns > width) {
        const std::string begun = std::exchange(word, {});
        wordColumns = 0;
        isLongWord = true;
        if (column + spaces < width) {
            appendSpaces();
        } else {
            goOnBelow();
        }
        for (std::string_view rest = begun; !rest.empty();) {
            const Unit next = unitAt(rest);
            // Nothing more of a unit comes behind what was taken whole.
            const auto [size, unitColumns] = next.size > 0 ? next : Unit{1, 1};
            spill(rest.substr(0, size), unitColumns);
            rest.remove_prefix(size);
        }
    } else if (unit == "\\n") {
        endWord();
    }
}

void LineWrapper::takeSpace() {
    endWord();
    ++spaces;
}

void LineWrapper::endWord() {
    isLongWord = false;
    if (word.empty()) {
        return;
    }
    if (column + spaces + wordColumns > width && column >= below) {
        if (column > below) {
            goOnBelow();
        }
        spaces = 0;
    }
    appendSpaces();
    destination.append(word);
    column += wordColumns;
    word.clear();
    wordColumns = 0;
}

void LineWrapper::endLine() {
    endWord();
    spaces = isWhole ? spaces : std::min(spaces, width - std::min(width, column));
    appendSpaces();
    destination.append('\n');
    column = 0;
    below = 0;
    isIndentation = true;
    isWhole = false;
}

/// A unit of a word that is cut at the end of the line.
void LineWrapper::spill(std::string_view unit, std::size_t columns) {
    if (column + columns > width && column > below) {
        goOnBelow();
    }
    destination.append(unit);
    column += columns;
}

void LineWrapper::appendSpaces() {
    destination.append(spaces, ' ');
    column += std::exchange(spaces, 0);
}

void LineWrapper::goOnBelow() {
    destination.append('\n');
    destination.append(below, ' ');
    column = below;
    spaces = 0;
}

}  // namespace ifdsweep
