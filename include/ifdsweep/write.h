#pragma once

// Write: outcomes written in a format of the program's, byte for byte as it writes them.
//
// Ownership: a writer owns its settings and its sink; a text that is written to is the caller's and
// outlives the writer. Threads: one at a time.
//
// Errors: what the sink throws comes through. A table of all fields that occur keeps its rows in a
// temporary file, and a std::exception tells that it could not. A writer that threw is of no more
// use. Stable: part of the API; the formats are those of docs/formats.md.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/read.h"
#include "ifdsweep/table_layout.h"
#include "ifdsweep/value.h"

namespace ifdsweep {

enum class Format : std::uint8_t { text, json, ndjson, typed, csv, facts, packed };

/// How JSON is laid out.
enum class JsonLayout : std::uint8_t {
    filePerLine,  ///< an object per line
    compact,      ///< no line ends
    pretty,       ///< a member per line, indented
};

/// What a row of CSV is.
enum class TableRows : std::uint8_t {
    directory,  ///< a directory of the primary chain
    file,       ///< a file, nested directories and all: of each field the first value there is
    nested,     ///< a directory, be it nested
};

/// Whether text for people is coloured.
enum class Colour : std::uint8_t { off, on };

/// A format and its settings.
struct WriteOptions {
    Format format = Format::json;
    JsonLayout layout = JsonLayout::filePerLine;
    Colour colour = Colour::off;        ///< of text
    std::size_t shownElements = 16;     ///< of an array in text
    std::size_t shownCharacters = 256;  ///< of a text in text
    /// Significant digits, from 1 to 17, of numbers in text that are no integers; 0: all that there
    /// are. Absent: 6, and fewer beside a reading such as "1/60 s".
    std::optional<unsigned> shownDigits{};
    bool splitTexts = false;             ///< json, ndjson: several texts of a tag are an array
    bool allDirectories = false;         ///< text folds neither equal directories nor warnings
    std::size_t lineWidth = 0;           ///< of text, in columns; 0: lines are not broken
    std::vector<std::string> columns{};  ///< of CSV; fields that text shows; empty: all
    TableRows rows = TableRows::directory;
    /// CSV is a table of typed columns, the same ones for whatever files (docs/columns.md), in
    /// place of one of fields; `columns`, `rows` and `tellStreams` do not count.
    std::optional<Layout> table{};
    std::optional<std::uint64_t> longestValue{};  ///< in bytes, of such a table; none: 64 KiB
    /// Rows of CSV, but for rows of files, tell of which stream they are; a line of ndjson is a
    /// stream and not a file. To be set where all streams are read (`ReadOptions::streams`).
    bool tellStreams = false;
    bool rawCells = false;     ///< CSV has text as it is, formulas and all
    bool forTerminal = false;  ///< JSON and raw CSV show hidden characters
};

/// Takes bytes, all of them, or throws.
using WriteSink = std::function<void(std::string_view bytes)>;

/// Writes outcomes in the order in which they come: `begin`, `write` for each, `end`; and for
/// facts and packed files, `listenerFor` before each is read.
class Writer {
public:
    /// Hands the bytes to a sink, in pieces of its own choice. At `end` all of them are there.
    Writer(const WriteOptions& options, WriteSink sink);

    /// Appends to a text.
    Writer(const WriteOptions& options, std::string& text);

    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void begin();

    /// Whom to tell of the walk of a file (`ReadOptions::sink`) before it is written: the facts are
    /// written while it is read, and a packed file gathers them. Null for the other formats, which
    /// need the outcome alone.
    /// @param file its name, in system bytes
    [[nodiscard]] EntrySink* listenerFor(std::string_view file);

    void write(const Outcome& outcome);
    void end();

private:
    class Parts;
    const std::unique_ptr<Parts> parts;
};

/// A value on one line, as a raw cell of CSV has it: numbers between spaces, text in UTF-8, bytes
/// in base64. Nothing is cut short and nothing escaped.
/// @param fieldName the field that the value is from: file names and tags' texts differ
[[nodiscard]] std::string valueText(ValueView value, std::string_view fieldName = {});

}  // namespace ifdsweep
