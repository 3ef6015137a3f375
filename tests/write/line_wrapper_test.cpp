// Lines broken for a terminal: literal lines, and that nothing is lost at any width.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "write/line_wrapper.h"
#include "write/rendering.h"

namespace {

using ifdsweep::LineWrapper;
using rendering::rendered;

/// A line as the text writer gives it: what stands before its value, and the value.
struct Line {
    std::string name;
    std::string value;
};

std::string wrapped(std::size_t columns, const std::vector<Line>& lines,
                    std::size_t pieceSize = 1000) {
    return rendered([&](ifdsweep::Output& output) {
        LineWrapper wrapper(output, columns);
        const auto write = [&](std::string_view text) {
            for (; !text.empty(); text.remove_prefix(std::min(pieceSize, text.size()))) {
                wrapper.write(text.substr(0, pieceSize));
            }
        };
        for (const auto& [name, value] : lines) {
            write(name);
            wrapper.hang();
            write(std::string(value).append("\n"));
        }
    });
}

TEST(LineWrapping, BreaksLines) {
    struct Case {
        const char* what;
        const char* name;
        const char* value;
        const char* text;
    };
    constexpr std::array kCases{
        //                    1234567890123456789012345678901234567890|
        Case{"fits", "  Name  ", "one two", "  Name  one two\n"},
        Case{"fits to the last column", "  Name  ", "1234567890 1234567890 1234567890",
             "  Name  1234567890 1234567890 1234567890\n"},
        Case{"one too many", "  Name  ", "1234567890 1234567890 12345678901",
             "  Name  1234567890 1234567890\n"
             "        12345678901\n"},
        Case{"numbers are not cut", "  TileOffsets  ",
             "16 3700 6045 8301 15343 29663 34944 … 130 values, 16 to 82839",
             "  TileOffsets  16 3700 6045 8301 15343\n"
             "               29663 34944 … 130 values,\n"
             "               16 to 82839\n"},
        Case{"a word that no line has room for", "  Name  ",
             "a 123456789012345678901234567890123456789 b",
             "  Name  a 123456789012345678901234567890\n"
             "        123456789 b\n"},
        Case{"several spaces", "  Name  ", "  a    1234567890123456789012345    b",
             "  Name    a    1234567890123456789012345\n"
             "        b\n"},
        Case{"spaces alone", "  Name  ", "                                            ",
             "  Name                                  \n"},
        Case{"spaces before a word", "  Name  ", "                                         a",
             "  Name  a\n"},
        Case{"spaces at the end", "  Name  ", "a  ", "  Name  a  \n"},
        Case{"nothing", "  Name  ", "", "  Name  \n"},
        Case{"too little room, and a value that fits", "    Compression      ",
             "1234567890123456789", "    Compression      1234567890123456789\n"},
        Case{"too little room, and a value that does not fit", "    Compression      ",
             "123456789 123456789 123456789 123456789",
             "    Compression\n"
             "      123456789 123456789 123456789\n"
             "      123456789\n"},
        Case{"the least room", "  123456789012  ", "123456789 123456789 1234 123456789",
             "  123456789012  123456789 123456789 1234\n"
             "                123456789\n"},
        Case{"a name beyond the end", "    nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn  ", "7",
             "    nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn\n"
             "      nnnn  7\n"},
        Case{"deep down", "                                Name  ", "123456789 123456789 123456789",
             "              Name\n"
             "                123456789 123456789\n"
             "                123456789\n"},
        Case{"escaped line feeds", "  Name  ", "1234567890\\n12345678\\n12345678901\\nb",
             "  Name  1234567890\\n12345678\\n\n"
             "        12345678901\\nb\n"},
        Case{"escapes are not cut", "  Name  ",
             "123456789012345678901234567890\\x1b\\u202e\\U000e0001\\\\\\r\\t",
             "  Name  123456789012345678901234567890\n"
             "        \\x1b\\u202e\\U000e0001\\\\\\r\\t\n"},
        Case{"colours take no room", "  \x1b[36mName\x1b[0m  ", "1234567890 1234567890 1234567890",
             "  \x1b[36mName\x1b[0m  1234567890 1234567890 1234567890\n"},
        Case{"colours are not cut", "", "\x1b[33mwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww\x1b[0m",
             "\x1b[33mwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww\n"
             "  w\x1b[0m\n"},
        Case{"letters of two bytes", "  Name  ", "ééééééééé ééééééééé ééééééééé éé",
             "  Name  ééééééééé ééééééééé ééééééééé éé\n"},
        Case{"wide letters", "  Name  ", "漢字漢字漢字漢字漢字漢字漢字漢字a",
             "  Name  漢字漢字漢字漢字漢字漢字漢字漢字\n"
             "        a\n"},
    };
    for (const auto& [what, name, value, text] : kCases) {
        std::vector<Line> lines(2);
        lines[0].value = "before";
        lines[1].name = name;
        lines[1].value = value;
        EXPECT_EQ(wrapped(40, lines).substr(7), text) << what;
    }
}

TEST(LineWrapping, TakesTextInAnyPieces) {
    std::vector<Line> lines(2);
    lines[0].name = "  \x1b[36mName\x1b[0m  ";
    lines[0].value = "a\\u202e\\U000e0001 漢字é\\\\ b";
    lines[1].name = "  Other ";
    lines[1].value.append(100, 'x').append("\\x1b");
    for (std::size_t size = 1; size < 12; ++size) {
        EXPECT_EQ(wrapped(60, lines, size), wrapped(60, lines)) << size;
    }
}

TEST(LineWrapping, LeavesOneLineWholeOnRequest) {
    const std::string_view name = "A file of a long name  with spaces in it .tif ";
    EXPECT_EQ(rendered([&](ifdsweep::Output& output) {
                  LineWrapper wrapper(output, 40);
                  wrapper.keepWhole();
                  for (int line = 0; line < 2; ++line) {
                      wrapper.write(name);
                      wrapper.write("\n");
                  }
              }),
              "A file of a long name  with spaces in it .tif \n"
              "A file of a long name  with spaces in it\n"
              "  .tif \n");
}

/// What is shown, but for white space.
std::string inkOf(std::string text) {
    std::erase_if(text, [](char character) { return character == ' ' || character == '\n'; });
    return text;
}

TEST(LineWrapping, LosesNothingAtAnyWidth) {
    std::vector<Line> lines;
    constexpr std::array<std::string_view, 10> kWords{
        "a",
        "\\n",
        "4294967295",
        "-2.2250738585072014e-308",
        "\\U000e0001",
        "漢字",
        "\x1b[36mc\x1b[0m",
        "wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww",
        "é",
        "   "};
    for (std::size_t depth = 0; depth < 40; depth += 3) {
        std::string value;
        for (std::size_t word = 0; word < 30; ++word) {
            value.append(kWords[(word * (depth + 1) + word / 7) % kWords.size()]).append(" ");
        }
        lines.emplace_back();
        lines.back().name.append(depth, ' ').append(depth % 7 * 4, 'n').append("  ");
        lines.back().value = value;
    }
    std::string ink;
    for (const auto& [name, value] : lines) {
        ink.append(inkOf(name)).append(inkOf(value));
    }
    for (std::size_t columns = 1; columns < 200; ++columns) {
        const std::string text = wrapped(columns, lines);
        EXPECT_EQ(inkOf(text), ink) << columns;
        EXPECT_TRUE(columns < 26 || text.find("-2.2250738585072014e-308") != text.npos);
    }
}

TEST(LineWrapping, EndsWithWhatNoWriterMakes) {
    // Bytes that begin no character and no control sequence, in a word that no line has room for.
    for (const char* const start : {"\xff", "\x1b", "\xe6\xbc"}) {
        const std::string word = start + std::string(40, 'w');
        for (const std::size_t columns : {1U, 7U, 15U, 40U}) {
            EXPECT_EQ(inkOf(wrapped(columns, {{"", word}})), word) << columns;
        }
    }
}

}  // namespace
