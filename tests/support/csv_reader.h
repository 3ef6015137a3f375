#pragma once

// A reader of tables that knows RFC 4180 and nothing else, and one of safe cells. Plain functions;
// any thread.

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/text_decoding.h"

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

/// Whether a spreadsheet may run a cell: behind white space and quotes it begins with an operator.
inline bool mayBeRun(std::string_view cell) {
    constexpr std::array<std::string_view, 19> kSkipped{
        " ",      "'",      "\"",     "\u00A0", "\u1680", "\u2000", "\u2001",
        "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008",
        "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};
    constexpr std::array<std::string_view, 8> kOperators{"=",  "+",  "-",  "@",
                                                         "＝", "＋", "－", "＠"};
    const auto begins = [&cell](std::string_view sign) { return cell.starts_with(sign); };
    while (true) {
        const auto* const skipped = std::find_if(kSkipped.begin(), kSkipped.end(), begins);
        if (skipped == kSkipped.end()) {
            const auto* const sign = std::find_if(kOperators.begin(), kOperators.end(), begins);
            return sign != kOperators.end() && cell.size() > sign->size();
        }
        cell.remove_prefix(skipped->size());
    }
}

/// A text whose escapes are undone; throws where it holds a backslash that begins none.
inline std::string withoutEscapes(std::string_view cell) {
    constexpr std::array<std::pair<char, char>, 4> kLetters{
        {{'\\', '\\'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}}};
    std::string text;
    while (!cell.empty()) {
        const char character = cell[0];
        cell.remove_prefix(1);
        if (character != '\\') {
            text.push_back(character);
            continue;
        }
        const char letter = cell.empty() ? '\0' : cell[0];
        cell.remove_prefix(cell.empty() ? 0 : 1);
        const auto* const known =
            std::find_if(kLetters.begin(), kLetters.end(),
                         [letter](const auto& row) { return row.first == letter; });
        const std::size_t digits = letter == 'x' ? 2 : letter == 'u' ? 4 : letter == 'U' ? 8 : 0;
        if (known != kLetters.end()) {
            text.push_back(known->second);
            continue;
        }
        if (digits == 0 || cell.size() < digits) {
            throw std::runtime_error("a backslash begins no escape");
        }
        const auto value =
            static_cast<char32_t>(std::stoul(std::string(cell.substr(0, digits)), nullptr, 16));
        cell.remove_prefix(digits);
        if (digits == 2) {
            text.push_back(static_cast<char>(value));  // ASCII, or a byte that is no UTF-8
        } else {
            std::array<char, 4> bytes{};
            text.append(bytes.data(), ifdsweep::encodeUtf8(bytes.data(), value));
        }
    }
    return text;
}

/// The text of a safe cell.
inline std::string textOfCell(std::string_view cell) {
    const bool isGuarded = cell.starts_with('\'') && mayBeRun(cell.substr(1));
    return withoutEscapes(cell.substr(isGuarded ? 1 : 0));
}

}  // namespace fixture
