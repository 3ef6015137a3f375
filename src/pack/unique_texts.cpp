#include "pack/unique_texts.h"

#include "pack/reused_rows.h"

namespace ifdsweep {

void UniqueTexts::begin() {
    constexpr std::size_t kMostExpected = 1024;
    used = 0;
    if (runs.size() > kMostExpected) {
        clear();
    }
}

void UniqueTexts::clear() {
    emptyForReuse(runs);
    emptyForReuse(letters);
    cells.assign(nameCells(0), kNoRow);
    ++timesForgotten;
}

void UniqueTexts::end() {
    if (used < runs.size()) {
        forgetUnused();
    }
}

/// Forgets the texts that this file has not had so far.
void UniqueTexts::forgetUnused() {
    runs.resize(used);
    letters.resize(textsEnd());
    rebuildIndex(static_cast<std::size_t>(nameCells(used)));
    ++timesForgotten;
}

std::size_t UniqueTexts::cellOf(std::string_view text, std::uint64_t hash) const {
    const std::size_t mask = cells.size() - 1;
    std::size_t cell = static_cast<std::size_t>(hash) & mask;
    while (cells[cell] != kNoRow && !isText(cells[cell], text)) {
        cell = (cell + 1) & mask;
    }
    return cell;
}

std::uint32_t UniqueTexts::rowOf(std::string_view text) {
    if (used < runs.size() && isText(used, text)) {
        return used++;  // the one expected
    }
    const std::uint64_t hash = hashOfName(text);
    const std::uint32_t row = cells[cellOf(text, hash)];
    return row < used ? row : add(text, hash);
}

std::uint32_t UniqueTexts::add(std::string_view text, std::uint64_t hash) {
    if (used < runs.size()) {
        forgetUnused();
    }
    const std::uint32_t row = nextRow(runs);
    const auto cellCount = static_cast<std::size_t>(nameCells(row + std::uint64_t{1}));
    if (cellCount != cells.size()) {
        rebuildIndex(cellCount);
    }
    const std::size_t begin = textsEnd();
    letters.resize(begin);  // nothing of a text that found no memory
    letters.insert(letters.end(), text.begin(), text.end());
    runs.push_back({begin, text.size()});
    cells[cellOf(text, hash)] = row;
    ++used;
    return row;
}

bool UniqueTexts::addAgain(std::span<const std::uint32_t> rowsBefore) {
    for (const std::uint32_t row : rowsBefore) {
        if (row > used) {
            return false;
        }
        used += row == used ? 1 : 0;
    }
    return true;
}

void UniqueTexts::rebuildIndex(std::size_t cellCount) {
    cells.assign(cellCount, kNoRow);
    const std::size_t mask = cellCount - 1;
    for (std::uint32_t row = 0; row < runs.size(); ++row) {
        std::size_t cell = static_cast<std::size_t>(hashOfName(textOf(row))) & mask;
        while (cells[cell] != kNoRow) {
            cell = (cell + 1) & mask;
        }
        cells[cell] = row;
    }
}

}  // namespace ifdsweep
