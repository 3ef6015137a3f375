#pragma once

// Table schema: which columns a table has. A function of the layout, of the columns that are asked
// for and of the dictionaries; no file changes it. Every value may be null.
//
// Ownership: plain values; texts of columns are constants. Threads: any.

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "columns/column_type.h"
#include "ifdsweep/entry_sink.h"
#include "ifdsweep/table_layout.h"

namespace ifdsweep {

/// The layout that a word names: "files", "images", "tags" or "warnings".
[[nodiscard]] std::optional<Layout> layoutOfWord(std::string_view word) noexcept;
[[nodiscard]] std::string_view layoutWord(Layout layout) noexcept;

/// What a column of `images` takes of an entry.
enum class TagValue : std::uint8_t {
    none,       ///< it is no column of a tag
    item,       ///< the one number; numbers and the first of a list of reals
    items,      ///< all numbers
    text,       ///< characters: ASCII, UTF-8, and bytes that are characters, as in ExifVersion
    wideText,   ///< UTF-16, the low byte of each unit first (XPTitle)
    codedText,  ///< behind 8 bytes that tell the character code (UserComment)
    bytes,
    word,     ///< the readable name of an enumerated number; null where it has none
    clock,    ///< a DateTime, "2026:11:23 10:00:00", as `time`
    minutes,  ///< an OffsetTime, "+01:00", in minutes
    factor,   ///< the number that a code of GrayResponseUnit stands for; another code as it is
};

/// One column. The number of a column is given once and for all: a column that is taken out leaves
/// a hole, one with another type is a new column.
struct Column {
    std::string name;  ///< unique in its layout, also where case is not looked at
    ColumnType type;
    std::int32_t id = 0;       ///< from 1; `PARQUET:field_id`
    std::string_view meaning;  ///< one sentence, with the unit; for documents
    std::string_view source;   ///< the tag's public name, or the standard; for documents
    bool isCore = true;        ///< there unless others are asked for
    TagValue takes = TagValue::none;
    DirectoryKind kind = DirectoryKind::primary;  ///< of a tag: the directory that it is taken from
    std::uint16_t tag = 0;
};

/// Every column that a layout can have, in the order of its tables.
[[nodiscard]] std::span<const Column> allColumns(Layout layout);

/// Thrown for a column that is not there; its text names the column, and others like it.
class UnknownColumn : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// Which columns are asked for.
struct ColumnChoice {
    enum class Which : std::uint8_t { core, all, named };
    Which which = Which::core;
    std::vector<std::string> names{};  ///< of `named`: these, in this order; each once
};

struct TableSchema {
    Layout layout = Layout::images;
    std::vector<Column> columns;

    /// @throws UnknownColumn, also for a name that is asked for twice or when there is none
    [[nodiscard]] static TableSchema of(Layout layout, const ColumnChoice& choice = {});

    /// The same with texts in place of words, for those who want plain columns.
    [[nodiscard]] TableSchema withPlainWords() const;

    /// A text that is the same for equal schemas alone: layout, ids, names and types.
    [[nodiscard]] std::string identity() const;
};

}  // namespace ifdsweep
