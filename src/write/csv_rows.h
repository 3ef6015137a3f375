#pragma once

// Rows of a table whose columns are not known yet: each is a packed list of texts (the cells that
// say where, with the commas between them, then names and cells in turn), kept in a file one after
// the other.
//
// Ownership: files are borrowed. Threads: one at a time.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>

#include "io/descriptor.h"
#include "io/output.h"
#include "io/packed.h"
#include "io/run_failure.h"

namespace ifdsweep {

/// Reads a file of rows from its beginning; rows are read in large pieces, one row at least.
/// @param visit called with the texts of each row, an odd number, valid until it returns
/// Throws RunFailure when the file holds anything else.
template <class Visit>
void forEachRow(int file, Visit&& visit) {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    constexpr const char* kDamagedRows = "the rows that wait for the table's columns are damaged";
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        throw OutputError(errno);
    }
    const auto fileSize = static_cast<std::uint64_t>(status.st_size);
    std::vector<std::string_view> texts;
    std::uint64_t position = 0;
    std::size_t wanted = kPiece;
    while (true) {
        const std::string piece = readPiece(file, position, wanted);
        std::string_view rest = piece;
        std::string_view row;
        while (packed::takeWholeText(rest, row)) {
            texts.clear();
            Unpacker cells(row);
            while (!cells.isAtEnd()) {
                texts.push_back(cells.text());
            }
            if (cells.hasFailed() || texts.size() % 2 == 0) {
                throw RunFailure(kDamagedRows);
            }
            visit(texts);
        }
        if (piece.size() < wanted) {
            if (!rest.empty()) {
                throw RunFailure(kDamagedRows);
            }
            return;
        }
        position += piece.size() - rest.size();
        const bool sizeIsKnown = rest.size() >= packed::kNumberSize;
        const std::uint64_t rowSize = sizeIsKnown ? packed::numberAt(rest) : 0;
        if (rowSize > fileSize) {
            throw RunFailure(kDamagedRows);
        }
        wanted = std::max(kPiece, rowSize + packed::kNumberSize);
    }
}

}  // namespace ifdsweep
