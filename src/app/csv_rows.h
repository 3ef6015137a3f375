#pragma once

// Rows of a table whose columns are not known yet: each is a packed list of texts (file, directory,
// then names and cells in turn), kept in a file one behind the other.
//
// Ownership: files are borrowed. Threads: one at a time.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/descriptor.h"
#include "app/packed.h"

namespace app {

/// Reads a file of rows from its beginning; rows are read in large pieces, one row at least.
/// @param visit called with the texts of each row, valid until it returns
template <class Visit>
void forEachRow(int file, Visit&& visit) {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    std::vector<std::string_view> texts;
    std::uint64_t position = 0;
    std::size_t wanted = kPiece;
    while (true) {
        const std::string piece = readPiece(file, position, wanted);
        std::string_view rest = piece;
        std::string_view row;
        while (packed::takeWholeText(rest, row)) {
            texts.clear();
            while (!row.empty()) {
                texts.push_back(packed::takeText(row));
            }
            visit(texts);
        }
        if (piece.size() < wanted) {
            return;
        }
        position += piece.size() - rest.size();
        const bool sizeIsKnown = rest.size() >= packed::kNumberSize;
        wanted =
            sizeIsKnown ? std::max(kPiece, packed::numberAt(rest) + packed::kNumberSize) : kPiece;
    }
}

}  // namespace app
