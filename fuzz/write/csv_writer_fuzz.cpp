// The CSV writer on arbitrary outcomes: a table of RFC 4180 with a row for each directory, every
// row as long as the first, file names and numbers as they were, and nothing that controls a
// terminal. The rows that wait for the table's columns are believed by nobody: any bytes are a
// table or refused.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "arbitrary_outcome.h"
#include "fuzz_target.h"
#include "io/run_failure.h"
#include "memory_file.h"
#include "support/csv_reader.h"
#include "write/csv_writer.h"
#include "write/outcome_streams.h"
#include "written_output.h"

namespace {

struct Directory {
    std::string stream;
    const ifdsweep::Value* records;
    std::size_t element;
    std::string path;
};

bool isNested(const ifdsweep::Value& value) {
    const ifdsweep::Value* first = value.cell(0);
    return value.kind() == ifdsweep::ValueKind::Struct ||
           (first != nullptr && first->kind() == ifdsweep::ValueKind::Struct);
}

/// The directories that are rows, in the order of the rows.
void listDirectories(const ifdsweep::Value* records, const std::string& stream,
                     const std::string& path, bool nestedToo, std::vector<Directory>& list) {
    if (records == nullptr || records->kind() != ifdsweep::ValueKind::Struct) {
        return;
    }
    for (std::size_t element = 0; element < records->elementCount(); ++element) {
        const std::string own = (path.empty() ? "" : path + '/') + std::to_string(element);
        list.push_back({stream, records, element, own});
        for (std::size_t field = 0; nestedToo && field < records->fieldCount(); ++field) {
            const ifdsweep::Value* value = records->field(element, field);
            const std::string name(records->fieldName(field));
            if (value == nullptr || !isNested(*value) || name == "UnknownTags") {
                continue;
            }
            listDirectories(value, stream, own + '/' + name, nestedToo, list);
            for (std::size_t index = 0;
                 value->cell(index) != nullptr || index < value->elementCount(); ++index) {
                listDirectories(value->cell(index), stream,
                                own + '/' + name + '[' + std::to_string(index) + ']', nestedToo,
                                list);
            }
        }
    }
}

void requireNumbers(const std::string& cell, const ifdsweep::Value& value) {
    std::istringstream words(cell);
    std::string word;
    for (std::size_t row = 0; row < value.rows(); ++row) {
        for (std::size_t column = 0; column < value.columns(); ++column) {
            fuzz::require(static_cast<bool>(words >> word), "a cell has every number");
            const bool endsRow = column + 1 == value.columns() && row + 1 < value.rows();
            fuzz::require(word.ends_with(';') == endsRow, "a row of a matrix ends in its place");
            const double number = value.doubles()[column * value.rows() + row];
            const double back = std::strtod(word.c_str(), nullptr);
            fuzz::require(back == number || (std::isnan(back) && std::isnan(number)),
                          "a number reads back the same");
        }
    }
    fuzz::require(!(words >> word), "a cell has no other number");
}

void requireNoFormula(const std::string& cell, const ifdsweep::WriteOptions& settings) {
    fuzz::require(settings.rawCells || cell.starts_with('\'') || !fixture::mayBeRun(cell),
                  "no text is run");
}

/// How many columns say where.
std::size_t placesOf(const ifdsweep::WriteOptions& settings) {
    return settings.tellStreams ? 3 : 2;
}

void requireRow(const fixture::Row& row, const fixture::Row& head, const Directory& directory,
                const ifdsweep::WriteOptions& settings) {
    const bool allColumns = settings.columns.empty();
    fuzz::require(row.size() == head.size(), "every row is as long as the first");
    const std::size_t places = placesOf(settings);
    for (std::size_t column = 0; column < places; ++column) {
        requireNoFormula(row[column], settings);
    }
    for (std::size_t column = places; column < head.size(); ++column) {
        const auto field = directory.records->fieldIndex(head[column]);
        const ifdsweep::Value* value =
            field ? directory.records->field(directory.element, *field) : nullptr;
        if (value == nullptr || isNested(*value)) {
            fuzz::require(row[column].empty(), "what is not there has no text");
        } else if (value->kind() == ifdsweep::ValueKind::Double) {
            requireNumbers(row[column], *value);
        } else {
            requireNoFormula(row[column], settings);
        }
    }
    const std::set<std::string, std::less<>> columns(
        head.begin() + static_cast<std::ptrdiff_t>(places), head.end());
    fuzz::require(columns.size() + places == head.size(), "no column stands twice");
    for (std::size_t field = 0; allColumns && field < directory.records->fieldCount(); ++field) {
        const ifdsweep::Value* value = directory.records->field(directory.element, field);
        fuzz::require(value == nullptr || isNested(*value) ||
                          columns.contains(directory.records->fieldName(field)),
                      "every field that occurs has a column");
    }
}

std::string tableOf(std::string_view waiting, const ifdsweep::WriteOptions& settings) {
    const fuzz::MemoryFile file(waiting);
    ifdsweep::StringSink sink;
    ifdsweep::Output output(sink);
    ifdsweep::assembleCsv(file.descriptor(), settings, output);
    output.flush();
    return std::move(sink.text);
}

std::string written(const ifdsweep::Outcome& outcome, const ifdsweep::WriteOptions& settings) {
    const std::string text = fuzz::written(ifdsweep::Format::csv, outcome, settings);
    return settings.columns.empty() ? tableOf(text, settings) : text;
}

void checkOutcome(const ifdsweep::Outcome& outcome, const ifdsweep::WriteOptions& settings) {
    const std::string table = written(outcome, settings);
    fuzz::require(table == written(outcome, settings), "the same table twice");
    const std::vector<fixture::Row> rows = fixture::rowsOf(table);
    fuzz::require(!rows.empty() && rows[0].size() >= 2, "a table has a first row");
    std::vector<Directory> directories;
    ifdsweep::forEachStream(outcome, [&](const ifdsweep::Outcome& stream) {
        listDirectories(stream.result.get(), stream.stream.name, "",
                        settings.rows == ifdsweep::TableRows::nested, directories);
    });
    fuzz::require(rows.size() == 1 + directories.size(), "a directory is a row");
    for (std::size_t index = 0; index < directories.size(); ++index) {
        const fixture::Row& row = rows[index + 1];
        requireRow(row, rows[0], directories[index], settings);
        const bool isPlain = settings.rawCells && !settings.forTerminal;
        const auto textOf = [&](const std::string& cell) {
            return isPlain             ? cell
                   : settings.rawCells ? fixture::withoutEscapes(cell)
                                       : fixture::textOfCell(cell);
        };
        fuzz::require(textOf(row[0]) == outcome.file &&
                          textOf(row[placesOf(settings) - 1]) == directories[index].path,
                      "a row tells its file and the way to its directory");
        fuzz::require(!settings.tellStreams || textOf(row[1]) == directories[index].stream,
                      "a row tells its stream");
        for (const std::string& cell : row) {
            if (!isPlain) {
                fuzz::requireTerminalSafe(cell);
                fuzz::require(cell.find('\n') == std::string::npos, "a row is a line");
            }
        }
    }
}

/// A file is one row: of each column the first cell of a table of all directories that is not
/// empty.
void checkFileRow(const ifdsweep::Outcome& outcome, ifdsweep::WriteOptions settings) {
    settings.rows = ifdsweep::TableRows::file;
    const std::vector<fixture::Row> given = fixture::rowsOf(written(outcome, settings));
    settings.rows = ifdsweep::TableRows::nested;
    const std::vector<fixture::Row> all = fixture::rowsOf(written(outcome, settings));
    const std::size_t places = placesOf(settings);
    const bool isRow = ifdsweep::anyStream(
        outcome, [](const ifdsweep::Outcome& stream) { return stream.result != nullptr; });
    fuzz::require(given.size() == (isRow ? 2 : 1), "a file is a row");
    fuzz::require(
        given[0].size() + places - 1 == all[0].size() && given.back().size() == given[0].size(),
        "a file has every column but the directory and the stream");
    for (std::size_t column = places; given.size() == 2 && column < all[0].size(); ++column) {
        std::string expected;
        for (std::size_t row = 1; expected.empty() && row < all.size(); ++row) {
            expected = all[row][column];
        }
        const auto place = std::find(given[0].begin() + 1, given[0].end(), all[0][column]);
        fuzz::require(place != given[0].end(), "every column stands in both tables");
        fuzz::require(given[1][static_cast<std::size_t>(place - given[0].begin())] == expected,
                      "a file has the first value there is");
    }
}

void checkRows(std::string_view bytes) {
    try {
        for (const auto rows : {ifdsweep::TableRows::directory, ifdsweep::TableRows::file}) {
            ifdsweep::WriteOptions settings;
            settings.rows = rows;
            static_cast<void>(tableOf(bytes, settings));
        }
    } catch (const ifdsweep::RunFailure&) {
        // Refused.
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const std::size_t choice = input.below(9);
    if (choice == 8) {
        const auto rest = input.rest();
        checkRows(std::string(rest.begin(), rest.end()));
        return 0;
    }
    ifdsweep::WriteOptions settings;
    settings.forTerminal = (choice & 1U) != 0;
    settings.rows =
        (choice & 2U) != 0 ? ifdsweep::TableRows::nested : ifdsweep::TableRows::directory;
    const std::size_t cells = input.below(4);
    settings.rawCells = cells % 2 != 0;
    settings.tellStreams = cells >= 2;
    if ((choice & 4U) != 0) {
        settings.columns = {"Width", "Make", "SubIFDs", "Odd \"\xC3\xA9\n", "none"};
    }
    ifdsweep::Host host;
    {
        const ifdsweep::Outcome outcome = fuzz::arbitraryOutcome(host, input);
        checkOutcome(outcome, settings);
        checkFileRow(outcome, settings);
    }
    fuzz::require(host.liveValues() == 0, "every value is freed");
    return 0;
}
