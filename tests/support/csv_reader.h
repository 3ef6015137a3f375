#pragma once

// A reader of tables that knows RFC 4180 and nothing else. Plain function; any thread.

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace fixture {

using Row = std::vector<std::string>;

/// The rows of a table; throws for everything that RFC 4180 does not allow.
inline std::vector<Row> rowsOf(std::string_view table) {
    std::vector<Row> rows;
    std::size_t at = 0;
    const auto take = [&](char character) {
        const bool isThere = at < table.size() && table[at] == character;
        at += isThere ? 1 : 0;
        return isThere;
    };
    while (at < table.size()) {
        Row row;
        do {
            std::string cell;
            if (take('"')) {
                for (bool isOpen = true; isOpen;) {
                    if (at == table.size()) {
                        throw std::runtime_error("a quote is not closed");
                    }
                    if (!take('"')) {
                        cell.push_back(table[at++]);
                    } else if (take('"')) {
                        cell.push_back('"');
                    } else {
                        isOpen = false;
                    }
                }
            } else {
                while (at < table.size() &&
                       std::string_view(",\r\n\"").find(table[at]) == std::string_view::npos) {
                    cell.push_back(table[at++]);
                }
            }
            row.push_back(cell);
        } while (take(','));
        if (!take('\r') || !take('\n')) {
            throw std::runtime_error("no line end behind a row");
        }
        rows.push_back(row);
    }
    return rows;
}

}  // namespace fixture
