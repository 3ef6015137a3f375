#include "cli/reading_table.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ifdsweep {
namespace {

// clang-format off
constexpr std::array kDifferences{
    ReadingDifference{"integers of 8 bytes",
                      "whole; SLONG8 has a sign",
                      "SLONG8 from the lower half"},
    ReadingDifference{"pointers",
                      "one offset in each number; a type that\nholds none leads nowhere and is kept in\nUnknownTags (pointerHoldsNoOffset)",
                      "an offset in each 4 bytes,\nwhatever the type"},
    ReadingDifference{"a wrong count",
                      "a warning, all values are kept\n(badTagDataCount)",
                      "an error: ends the file"},
    ReadingDifference{"a cut table of entries",
                      "the whole entries are read\n(directoryCut)",
                      "an error: ends the file\n(badIFDread)"},
    ReadingDifference{"damage in a nested or\nlater directory",
                      "a warning, the rest is kept",
                      "an error: ends the file"},
    ReadingDifference{"classic TIFF or BigTIFF",
                      "by the header's version word, also at\n--offset; RW2, ORF, JPEG XR and DCP too",
                      "by the file's first bytes"},
    ReadingDifference{"a directory larger than\nits APP1 segment",
                      "ends its chain, what was read is kept",
                      "an error: ends the file"},
    ReadingDifference{"warnings",
                      "say where: directory, tag, offset",
                      "do not"},
    ReadingDifference{"what --tags leaves out",
                      "is neither read nor checked",
                      "is read and left out"},
};
// clang-format on

constexpr std::size_t kSubjectWidth = 25;
constexpr std::size_t kFullWidth = 41;

/// Takes the first line off a text.
std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

void appendRow(std::string& text, ReadingDifference row) {
    while (!row.subject.empty() || !row.full.empty() || !row.contract.empty()) {
        std::string line = "  ";
        line.append(takeLine(row.subject)).resize(2 + kSubjectWidth, ' ');
        line.append(takeLine(row.full)).resize(2 + kSubjectWidth + kFullWidth, ' ');
        line.append(takeLine(row.contract));
        line.erase(line.find_last_not_of(' ') + 1);
        text.append(line).append("\n");
    }
}

std::string onOneLine(std::string_view text) {
    std::string line(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

constexpr std::string_view kHeading = "Where the two readings differ:\n";

}  // namespace

std::span<const ReadingDifference> readingDifferences() noexcept {
    return kDifferences;
}

std::string readingTableText() {
    std::string text(kHeading);
    appendRow(text, {"", "--reading full", "--reading contract"});
    for (const ReadingDifference& row : kDifferences) {
        appendRow(text, row);
    }
    return text;
}

std::string readingListText() {
    std::string text(kHeading);
    for (const ReadingDifference& row : kDifferences) {
        text.append("  ").append(onOneLine(row.subject)).append("\n");
        text.append("    full: ").append(onOneLine(row.full)).append("\n");
        text.append("    contract: ").append(onOneLine(row.contract)).append("\n");
    }
    return text;
}

}  // namespace ifdsweep
