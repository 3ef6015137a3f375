#include "pack/unique_texts.h"

#include "pack/reused_rows.h"

namespace ifdsweep {
namespace {

/// Puts a number into the first free cell from that of its hash on.
void putCell(std::vector<std::uint32_t>& cells, std::uint64_t hash, std::uint32_t number) {
    const std::size_t mask = cells.size() - 1;
    std::size_t cell = static_cast<std::size_t>(hash) & mask;
    while (cells[cell] != kNoRow) {
        cell = (cell + 1) & mask;
    }
    cells[cell] = number;
}

}  // namespace

void UniqueTexts::begin() {
    constexpr std::size_t kMostKnown = 1024;
    constexpr std::size_t kMostLetters = std::size_t{64} << 10;
    if (known.size() > kMostKnown || knownLetters.size() > kMostLetters) {
        clear();
    }
    emptyForReuse(numbers);
    emptyForReuse(runs);
    emptyForReuse(letters);
    emptyForReuse(cells);
    last = kNoRow;
    ++file;
}

void UniqueTexts::clear() {
    ++timesForgotten;
    // Whatever finds no memory here, there are cells for the texts that are known.
    std::vector<std::uint32_t> few(static_cast<std::size_t>(nameCells(0)), kNoRow);
    emptyForReuse(known);
    emptyForReuse(knownLetters);
    knownCells.swap(few);
    known.reserve(knownCells.size() / 2);
}

std::uint32_t UniqueTexts::numberOf(std::string_view text) {
    const std::uint32_t expected = last == kNoRow ? kNoRow : known[last].follower;
    if (expected != kNoRow && isText(expected, text)) {
        last = expected;
        return expected;
    }
    const std::uint32_t number = find(text);
    if (last != kNoRow) {
        known[last].follower = number;
    }
    last = number;
    return number;
}

std::uint32_t UniqueTexts::find(std::string_view text) {
    const std::uint64_t hash = hashOfName(text);
    const std::size_t mask = knownCells.size() - 1;
    std::size_t cell = static_cast<std::size_t>(hash) & mask;
    while (knownCells[cell] != kNoRow) {
        if (isText(knownCells[cell], text)) {
            return knownCells[cell];
        }
        cell = (cell + 1) & mask;
    }
    return add(text, hash);
}

std::uint32_t UniqueTexts::add(std::string_view text, std::uint64_t hash) {
    const std::uint32_t number = nextRow(known);
    const auto cellCount = static_cast<std::size_t>(nameCells(number + std::uint64_t{1}));
    if (cellCount != knownCells.size()) {
        rebuildIndex(cellCount);
    }
    const std::size_t begin = known.empty() ? 0 : known.back().run.begin + known.back().run.size;
    knownLetters.resize(begin);  // nothing of a text that found no memory
    knownLetters.insert(knownLetters.end(), text.begin(), text.end());
    known.push_back({{begin, text.size()}, hash, 0, kNoRow, kNoRow});
    putCell(knownCells, hash, number);
    return number;
}

std::uint32_t UniqueTexts::addRow(std::uint32_t number) {
    const std::uint32_t row = nextRow(numbers);
    numbers.push_back(number);
    return row;
}

void UniqueTexts::end() {
    runs.clear();
    runs.reserve(numbers.size());
    letters.clear();
    letters.reserve(knownLetters.size());
    cells.assign(static_cast<std::size_t>(nameCells(numbers.size())), kNoRow);
    for (std::uint32_t row = 0; row < numbers.size(); ++row) {
        const std::string_view text = textOf(numbers[row]);
        runs.push_back({letters.size(), text.size()});
        letters.insert(letters.end(), text.begin(), text.end());
        putCell(cells, known[numbers[row]].hash, row);
    }
}

void UniqueTexts::rebuildIndex(std::size_t cellCount) {
    knownCells.assign(cellCount, kNoRow);
    for (std::uint32_t number = 0; number < known.size(); ++number) {
        putCell(knownCells, known[number].hash, number);
    }
}

}  // namespace ifdsweep
