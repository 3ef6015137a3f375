// Tables: quoting, rows of nested directories, columns that occur. Read back by a reader of the
// tests' own, which knows RFC 4180 and nothing else.

#include <cmath>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/csv_reader.h"
#include "write/csv_rows.h"
#include "write/csv_writer.h"
#include "write/rendering.h"
#include "write/waiting_rows.h"

namespace {

using fixture::Row;
using fixture::rowsOf;
using ifdsweep::TableRows;
using rendering::number;
using rendering::setField;

class Csv : public testing::Test {
protected:
    /// A directory with SubIFDs of two trees, an Exif directory, and an unknown tag.
    static ifdsweep::Outcome nestedOutcome() {
        auto leaf = rendering::records(1, {"ExposureTime"});
        setField(leaf, 0, "ExposureTime", number(0.5));
        auto first = rendering::records(2, {"Width", "DigitalCamera"});
        setField(first, 0, "Width", number(1));
        setField(first, 1, "Width", number(2));
        setField(first, 1, "DigitalCamera", std::move(leaf));
        auto second = rendering::records(1, {"Artist"});
        setField(second, 0, "Artist", rendering::text(u"me"));
        auto unknown = rendering::records(1, {"ID", "Offset", "Value"});
        setField(unknown, 0, "ID", number(50000));
        ifdsweep::Outcome outcome;
        outcome.file = "n.tif";
        outcome.result = rendering::records(2, {"SubIFDs", "Artist", "UnknownTags"});
        setField(outcome.result, 0, "SubIFDs",
                 rendering::cells(std::move(first), std::move(second)));
        setField(outcome.result, 0, "UnknownTags", std::move(unknown));
        setField(outcome.result, 1, "Artist", rendering::text(u"you"));
        return outcome;
    }

    /// The table of outcomes; without columns, by way of a file.
    static std::string table(const std::vector<ifdsweep::Outcome>& outcomes, TableRows tableRows,
                             const std::vector<std::string>& columns) {
        ifdsweep::WriteOptions settings;
        settings.rows = tableRows;
        settings.columns = columns;
        return table(outcomes, settings);
    }

    static std::string table(const std::vector<ifdsweep::Outcome>& outcomes,
                             const ifdsweep::WriteOptions& settings) {
        std::string lines = rendering::written(ifdsweep::Format::csv, outcomes, settings);
        if (!settings.columns.empty()) {
            return lines;
        }
        ifdsweep::WaitingRows rows(settings);
        rows.write(lines);
        ifdsweep::StringSink assembled;
        rows.writeTable(assembled);
        return std::move(assembled.text);
    }

    static std::string table(ifdsweep::Outcome outcome, TableRows tableRows,
                             const std::vector<std::string>& columns) {
        std::vector<ifdsweep::Outcome> outcomes;
        outcomes.push_back(std::move(outcome));
        return table(outcomes, tableRows, columns);
    }

    ifdsweep::Host host;
    ifdsweep::Host::Scope scope{host};
};

struct CellRow {
    std::u16string text;
    std::string safe;  ///< also what follows from it
    std::string raw;
};

const CellRow kCellRows[] = {
    {u"plain", "plain", "plain"},
    {u"", "", ""},
    {u" a b ", " a b ", " a b "},
    {u"a,b", "\"a,b\"", "\"a,b\""},
    {u"say \"b\"", "\"say \"\"b\"\"\"", "\"say \"\"b\"\"\""},
    {u"\"", "\"\"\"\"", "\"\"\"\""},
    {u"caf\xE9", "café", "café"},
    // On one line.
    {u"two\nlines", "two\\nlines", "\"two\nlines\""},
    {u"a\rb", "a\\rb", "\"a\rb\""},
    {u"a\r\n,\"b", "\"a\\r\\n,\"\"b\"", "\"a\r\n,\"\"b\""},
    {u"a;b\tc'd", "a;b\\tc'd", "a;b\tc'd"},
    {u"x\x1b[31m", "x\\x1b[31m", "x\x1b[31m"},
    {u"a\u202Eb", "a\\u202eb", "a\u202Eb"},
    {u"C:\\new", "C:\\\\new", "C:\\new"},
    // What a spreadsheet would run.
    {u"=cmd|' /C calc'!A0", "'=cmd|' /C calc'!A0", "=cmd|' /C calc'!A0"},
    {u"=1,\"2\"", "\"'=1,\"\"2\"\"\"", "\"=1,\"\"2\"\"\""},
    {u"-1", "'-1", "-1"},
    {u"\t=1", "\\t=1", "\t=1"},
    {u"\r=1", "\\r=1", "\"\r=1\""},
    {u" +1", "' +1", " +1"},
    {u"'@a", "''@a", "'@a"},
    {u"\uFF1D1", "'\uFF1D1", "\uFF1D1"},
    {u"a;=1", "a\\x3b=1", "a;=1"},
};

TEST_F(Csv, CellsAreSafeUnlessTheyAreRaw) {
    for (const CellRow& row : kCellRows) {
        ifdsweep::Outcome outcome;
        outcome.file = "a.tif";
        outcome.result = rendering::records(1, {"Artist"});
        setField(outcome.result, 0, "Artist", rendering::text(row.text));
        ifdsweep::WriteOptions settings;
        settings.columns = {"Artist"};
        const auto cellOf = [&] {
            const std::string table =
                rendering::written(ifdsweep::Format::csv, std::span(&outcome, 1), settings);
            const std::string_view head = "File,Directory,Artist\r\na.tif,0,";
            EXPECT_EQ(table.substr(0, head.size()), head);
            EXPECT_TRUE(table.ends_with("\r\n"));
            return table.substr(head.size(), table.size() - head.size() - 2);
        };
        EXPECT_EQ(cellOf(), row.safe);
        settings.forTerminal = true;
        EXPECT_EQ(cellOf(), row.safe);
        settings.forTerminal = false;
        settings.rawCells = true;
        EXPECT_EQ(cellOf(), row.raw);
        const std::string rawText = rowsOf("\"\"," + row.raw + "\r\n")[0][1];
        EXPECT_EQ(fixture::textOfCell(rowsOf("\"\"," + row.safe + "\r\n")[0][1]), rawText);
    }
}

TEST_F(Csv, NumbersAreNoFormulas) {
    ifdsweep::Outcome outcome;
    outcome.file = "-a.tif";
    outcome.result = rendering::records(1, {"One", "Row", "Matrix", "Infinite", "Bytes", "Texts"});
    setField(outcome.result, 0, "One", number(-1));
    setField(outcome.result, 0, "Row", rendering::numbers(1, 2, {-1.5, 2e-30}));
    setField(outcome.result, 0, "Matrix", rendering::numbers(2, 1, {-1, -2}));
    setField(outcome.result, 0, "Infinite", number(-HUGE_VAL));
    setField(outcome.result, 0, "Bytes", rendering::bytes({0xF8, 0, 0}));  // "+" in base64
    setField(outcome.result, 0, "Texts",
             rendering::cells(rendering::text(u"-"), rendering::text(u"-")));
    EXPECT_EQ(rowsOf(table(std::move(outcome), TableRows::directory,
                           {"One", "Row", "Matrix", "Infinite", "Bytes", "Texts"}))[1],
              (Row{"'-a.tif", "0", "-1", "-1.5 2e-30", "-1; -2", "-Infinity", "'+AAA", "'-, -"}));
}

TEST_F(Csv, NamesOfFilesComeBack) {
    for (const std::string name :
         {"caf\xE9\xFF.tif", "a\n\x1b.tif", "back\\slash.tif", "=cmd.tif", "'=.tif", "a;-b"}) {
        for (const std::vector<std::string>& columns : {std::vector<std::string>{}, {"Width"}}) {
            ifdsweep::Outcome outcome;
            outcome.file = name;
            outcome.result = rendering::records(1, {"Width"});
            setField(outcome.result, 0, "Width", number(7));
            const std::string cell =
                rowsOf(table(std::move(outcome), TableRows::directory, columns))[1][0];
            EXPECT_EQ(fixture::textOfCell(cell), name);
            EXPECT_FALSE(!cell.starts_with('\'') && fixture::mayBeRun(cell)) << cell;
        }
    }
}

TEST_F(Csv, FileNamesAndColumnsAreQuotedToo) {
    EXPECT_EQ(ifdsweep::csvHeader({"a", "b,c", "d\"e"}, {}),
              "File,Directory,a,\"b,c\",\"d\"\"e\"\r\n");
    EXPECT_EQ(ifdsweep::csvHeader({"a"}, {.rows = TableRows::file}), "File,a\r\n");
    ifdsweep::Outcome outcome;
    outcome.file = "a,\"b\".tif";
    outcome.result = rendering::records(1, {"Width"});
    setField(outcome.result, 0, "Width", number(7));
    for (const std::vector<std::string>& columns : {std::vector<std::string>{}, {"Width"}}) {
        ifdsweep::Outcome same;
        same.file = outcome.file;
        same.result = rendering::records(1, {"Width"});
        setField(same.result, 0, "Width", number(7));
        EXPECT_EQ(rowsOf(table(std::move(same), TableRows::directory, columns)),
                  (std::vector<Row>{{"File", "Directory", "Width"}, {outcome.file, "0", "7"}}));
    }
}

TEST_F(Csv, OnATerminalRawCellsShowWhatTheyHold) {
    ifdsweep::WriteOptions settings;
    settings.columns = {"Artist", "Bytes"};
    settings.forTerminal = true;
    settings.rawCells = true;
    ifdsweep::Outcome outcome;
    outcome.file = "a\x1b[2J\n\xFF.tif";
    outcome.result = rendering::records(1, {"Artist", "Bytes"});
    setField(outcome.result, 0, "Artist",
             rendering::cells(rendering::text(u"=one\r\ntwo, \"x\" \\"), rendering::text(u"\x9D")));
    setField(outcome.result, 0, "Bytes", rendering::bytes({0, 9, 255}));
    const std::string shown =
        rendering::written(ifdsweep::Format::csv, std::span(&outcome, 1), settings);
    EXPECT_EQ(shown,
              "File,Directory,Artist,Bytes\r\n"
              R"(a\x1b[2J\n\xff.tif,0,"=one\r\ntwo, ""x"" \\, \u009d",AAn/)"
              "\r\n");
    EXPECT_EQ(rowsOf(shown)[1][2], R"(=one\r\ntwo, "x" \\, \u009d)");
}

TEST_F(Csv, ValuesInCells) {
    ifdsweep::Outcome outcome;
    outcome.file = "a";
    outcome.result = rendering::records(
        1, {"Row", "Matrix", "Bytes", "Cells", "Empty", "None", "NotFinite", "Records"});
    setField(outcome.result, 0, "Row", rendering::numbers(1, 3, {1, 2.5, -3}));
    setField(outcome.result, 0, "Matrix", rendering::numbers(2, 2, {1, 2, 3, 4}));
    setField(outcome.result, 0, "Bytes", rendering::bytes({0, 9, 255}));
    setField(outcome.result, 0, "Cells",
             rendering::cells(rendering::text(u"a"), rendering::text(u"b")));
    setField(outcome.result, 0, "Empty", rendering::numbers(1, 0, {}));
    setField(outcome.result, 0, "NotFinite", rendering::numbers(1, 2, {std::nan(""), -HUGE_VAL}));
    setField(outcome.result, 0, "Records", rendering::records(1, {"x"}));
    const auto rows = rowsOf(table(
        std::move(outcome), TableRows::directory,
        {"Row", "Matrix", "Bytes", "Cells", "Empty", "None", "NotFinite", "Records", "Missing"}));
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[1], (Row{"a", "0", "1 2.5 -3", "1 3; 2 4", "AAn/", "a, b", "", "",
                            "NaN -Infinity", "", ""}));
}

TEST_F(Csv, NestedDirectoriesHaveRowsOnDemand) {
    EXPECT_EQ(
        rowsOf(table(nestedOutcome(), TableRows::directory, {"Width", "Artist", "ExposureTime"})),
        (std::vector<Row>{{"File", "Directory", "Width", "Artist", "ExposureTime"},
                          {"n.tif", "0", "", "", ""},
                          {"n.tif", "1", "", "you", ""}}));
    EXPECT_EQ(
        rowsOf(table(nestedOutcome(), TableRows::nested, {"Width", "Artist", "ExposureTime"})),
        (std::vector<Row>{{"File", "Directory", "Width", "Artist", "ExposureTime"},
                          {"n.tif", "0", "", "", ""},
                          {"n.tif", "0/SubIFDs[0]/0", "1", "", ""},
                          {"n.tif", "0/SubIFDs[0]/1", "2", "", ""},
                          {"n.tif", "0/SubIFDs[0]/1/DigitalCamera/0", "", "", "0.5"},
                          {"n.tif", "0/SubIFDs[1]/0", "", "me", ""},
                          {"n.tif", "1", "", "you", ""}}));
}

TEST_F(Csv, AFileIsARowOnDemand) {
    EXPECT_EQ(table(nestedOutcome(), TableRows::file, {"ExposureTime", "Artist", "Width", "Make"}),
              "File,ExposureTime,Artist,Width,Make\r\nn.tif,0.5,me,1,\r\n");
    // Of a directory before what is nested in it, and of that before the next.
    EXPECT_EQ(table(nestedOutcome(), TableRows::file, {}),
              "File,Artist,Width,ExposureTime\r\nn.tif,me,1,0.5\r\n");
}

TEST_F(Csv, TheRowOfAFileHasTheFirstValueThatIsNotEmpty) {
    auto leaf = rendering::records(2, {"Empty", "Late", "Own"});
    setField(leaf, 0, "Empty", rendering::numbers(1, 0, {}));
    setField(leaf, 1, "Late", number(2));
    setField(leaf, 1, "Own", rendering::text(u"=x"));
    ifdsweep::Outcome outcome;
    outcome.file = "a,b";
    outcome.result = rendering::records(2, {"Nothing", "Empty", "Late", "GPSInfo", "Odd"});
    setField(outcome.result, 0, "Late", rendering::emptyText());
    setField(outcome.result, 0, "GPSInfo", std::move(leaf));
    setField(outcome.result, 0, "Odd", rendering::records(1, {"x"}));
    setField(outcome.result, 1, "Late", number(3));
    setField(outcome.result, 1, "Odd", number(4));
    std::vector<ifdsweep::Outcome> outcomes;
    outcomes.push_back(std::move(outcome));
    EXPECT_EQ(table(outcomes, TableRows::file, {"Odd", "Late", "Own", "Empty", "Late"}),
              "File,Odd,Late,Own,Empty,Late\r\n\"a,b\",4,2,'=x,,2\r\n");
    EXPECT_EQ(table(outcomes, TableRows::file, {}),
              "File,Empty,Late,Odd,Own\r\n\"a,b\",,2,4,'=x\r\n");
}

TEST_F(Csv, FilesOfOneTableHaveARowEach) {
    const auto one = [](const char* file, const char* field, double value) {
        ifdsweep::Outcome outcome;
        outcome.file = file;
        outcome.result = rendering::records(1, {field});
        setField(outcome.result, 0, field, number(value));
        return outcome;
    };
    std::vector<ifdsweep::Outcome> outcomes;
    outcomes.push_back(one("a", "Width", 1));
    outcomes.push_back(one("b", "Height", 2));
    outcomes.emplace_back().file = "failed";
    outcomes.emplace_back().file = "without directories";
    outcomes.back().result = rendering::noRecords();
    EXPECT_EQ(table(outcomes, TableRows::file, {"Height", "Width"}),
              "File,Height,Width\r\na,,1\r\nb,2,\r\nwithout directories,,\r\n");
    EXPECT_EQ(table(outcomes, TableRows::file, {}),
              "File,Width,Height\r\na,1,\r\nb,,2\r\nwithout directories,,\r\n");
    EXPECT_EQ(table(std::vector<ifdsweep::Outcome>{}, TableRows::file, {}), "File\r\n");
}

TEST_F(Csv, ColumnsThatOccurStandInTheirOrder) {
    EXPECT_EQ(rowsOf(table(nestedOutcome(), TableRows::nested, {})),
              (std::vector<Row>{{"File", "Directory", "Width", "ExposureTime", "Artist"},
                                {"n.tif", "0", "", "", ""},
                                {"n.tif", "0/SubIFDs[0]/0", "1", "", ""},
                                {"n.tif", "0/SubIFDs[0]/1", "2", "", ""},
                                {"n.tif", "0/SubIFDs[0]/1/DigitalCamera/0", "", "0.5", ""},
                                {"n.tif", "0/SubIFDs[1]/0", "", "", "me"},
                                {"n.tif", "1", "", "", "you"}}));
    EXPECT_EQ(table(std::vector<ifdsweep::Outcome>{}, TableRows::directory, {}),
              "File,Directory\r\n");
}

TEST_F(Csv, TheSameCellsWithAndWithoutFixedColumns) {
    std::vector<ifdsweep::Outcome> outcomes;
    for (int file = 0; file < 50; ++file) {
        ifdsweep::Outcome outcome;
        outcome.file = "f" + std::to_string(file);
        const std::string own = "Own" + std::to_string(file % 7);
        outcome.result = rendering::records(1, {own.c_str(), "Artist"});
        setField(outcome.result, 0, own.c_str(), number(file));
        // Together more than the rows are read at a time, one row by far.
        setField(outcome.result, 0, "Artist",
                 rendering::text(std::u16string(file == 20 ? 3000000 : 90000, u'"')));
        outcomes.push_back(std::move(outcome));
    }
    const auto occurring = rowsOf(table(outcomes, TableRows::directory, {}));
    ASSERT_EQ(occurring.size(), 51U);
    const Row columns(occurring[0].begin() + 2, occurring[0].end());
    EXPECT_EQ(columns, (Row{"Own0", "Artist", "Own1", "Own2", "Own3", "Own4", "Own5", "Own6"}));
    EXPECT_TRUE(occurring == rowsOf(table(outcomes, TableRows::directory, columns)));
    EXPECT_EQ(occurring[21][3].size(), 3000000U);
    EXPECT_EQ(occurring[21][9], "20");
}

TEST_F(Csv, TheReaderOfTheTestIsStrict) {
    EXPECT_THROW(rowsOf("a\n"), std::runtime_error);
    EXPECT_THROW(rowsOf("a\"b\r\n"), std::runtime_error);
    EXPECT_THROW(rowsOf("\"a\"b\r\n"), std::runtime_error);
    EXPECT_THROW(rowsOf("\"a\r\n"), std::runtime_error);
    EXPECT_THROW(rowsOf("a,b"), std::runtime_error);
}

TEST_F(Csv, FilesWithoutARecordHaveNoRow) {
    ifdsweep::Outcome failed;
    failed.file = "f";
    ifdsweep::Outcome empty;
    empty.file = "e";
    empty.result = rendering::noRecords();
    std::vector<ifdsweep::Outcome> outcomes;
    outcomes.push_back(std::move(failed));
    outcomes.push_back(std::move(empty));
    EXPECT_EQ(table(outcomes, TableRows::nested, {"Width"}), "File,Directory,Width\r\n");
}

TEST_F(Csv, WaitingRowsThatAreNoRowsAreRefused) {
    const auto rowOf = [](const std::vector<std::string>& texts) {
        std::string row;
        for (const std::string& text : texts) {
            ifdsweep::packed::putText(row, text);
        }
        std::string lengthAndRow;
        ifdsweep::packed::putText(lengthAndRow, row);
        return lengthAndRow;
    };
    const auto tableOf = [](const std::string& lines) {
        ifdsweep::WaitingRows rows(ifdsweep::WriteOptions{});
        rows.write(lines);
        ifdsweep::StringSink assembled;
        rows.writeTable(assembled);
        return std::move(assembled.text);
    };
    EXPECT_EQ(tableOf(rowOf({"a,0", "Width", "7"})), "File,Directory,Width\r\na,0,7\r\n");
    EXPECT_EQ(tableOf(rowOf({"a,0"})), "File,Directory\r\na,0\r\n");
    const std::string whole = rowOf({"a,0", "Width", "7"});
    for (const std::string& lines :
         {rowOf({}), rowOf({"a,0", "Width"}), whole + "x", whole.substr(0, whole.size() - 1)}) {
        EXPECT_THROW(static_cast<void>(tableOf(lines)), ifdsweep::RunFailure);
    }
}

}  // namespace
