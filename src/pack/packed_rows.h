#pragma once

// Packed rows: what came of one file, as tables of fixed rows and one heap of bytes. A row refers
// to rows of other tables by their numbers and to the heap by runs. Nothing in it is a pointer, so
// the whole can be copied, sent and stored; numbers are in the machine's byte order.
//
// Ownership: plain values. Threads: any.

#include <cstdint>
#include <limits>

namespace ifdsweep {

/// In place of the number of a row: there is none.
inline constexpr std::uint32_t kNoRow = std::numeric_limits<std::uint32_t>::max();

/// Bytes of the heap.
struct PackedRun {
    std::uint64_t begin = 0;
    std::uint64_t size = 0;  ///< in bytes
};

/// The file, once.
struct PackedFileRow {
    PackedRun path;  ///< in system bytes
    std::uint64_t size = 0;
    std::int64_t modified = 0;  ///< nanoseconds since 1970-01-01 00:00:00 UTC
    std::int64_t changed = 0;   ///< the same, of the status
    std::uint64_t inode = 0;
    std::uint32_t hasStamp = 0;  ///< whether the four above are known
    std::uint32_t isImage = 1;   ///< 0: left alone, there is nothing else
};

/// One TIFF stream of the file; the first one is the main one (`Outcome`).
struct PackedStreamRow {
    PackedRun container;
    PackedRun name;
    PackedRun found;  ///< what the file is in place of a TIFF file
    double initialOffset = 0;
    double firstIfdIndex = 0;
    double maxIfdCount = 0;
    std::uint32_t records = kNoRow;  ///< value row of the result; none beside an error
    std::uint32_t error = kNoRow;    ///< message row
    std::uint32_t firstWarning = 0;  ///< message rows, one after the other
    std::uint32_t warningCount = 0;
    std::uint32_t firstDirectory = 0;  ///< directory rows, in the order in which they began
    std::uint32_t directoryCount = 0;
    std::uint32_t firstEntry = 0;  ///< entry rows, in the order of the walk
    std::uint32_t entryCount = 0;
    std::uint32_t kind = 0;  ///< DirectoryKind of its primary chain
    std::uint32_t isEmbedded = 0;
};

/// A directory that began, kept or not (`DirectoryFacts`).
struct PackedDirectoryRow {
    std::uint64_t chainIndex = 0;
    std::uint64_t index = 0;
    std::uint64_t position = 0;
    std::uint64_t entryCount = 0;  ///< as the file has it
    std::uint32_t stream = 0;
    std::uint32_t parent = kNoRow;       ///< directory row; none in the primary chain
    std::uint32_t pointerName = kNoRow;  ///< name row
    std::uint32_t records = kNoRow;      ///< value row of the records that it is one of
    std::uint32_t element = 0;           ///< which of them
    std::uint32_t firstEntry = kNoRow;   ///< its first entry; the others follow by `next`
    std::uint32_t ownEntries = 0;        ///< how many they are
    std::uint32_t entriesBefore = 0;     ///< entry rows of the stream told before it began
    std::uint32_t entriesUntilEnd = 0;   ///< and before it ended; `kNoRow` if it never did
    std::uint16_t pointerTag = 0;
    std::uint8_t kind = 0;  ///< DirectoryKind
    std::uint8_t isKept = 0;
};

/// One entry, or the default of a field (`EntryFacts`).
struct PackedEntryRow {
    std::uint64_t count = 0;
    std::uint64_t position = 0;
    std::uint64_t valuePosition = 0;
    PackedRun bytes;  ///< of the value, at a multiple of 8 in the heap; of a default its doubles
    std::uint32_t directory = 0;
    std::uint32_t next = kNoRow;  ///< the next one of its directory
    std::uint32_t name = kNoRow;  ///< name row, as the two below
    std::uint32_t valueName = kNoRow;
    std::uint32_t droppedBy = kNoRow;
    std::uint16_t tag = 0;
    std::uint16_t fieldType = 0;
    std::uint8_t isInline = 0;
    std::uint8_t isDefault = 0;
    std::uint8_t isLoaded = 0;
    std::uint8_t unused[5] = {};
};

enum class PackedKind : std::uint8_t { none, number, numbers, bytes, text, cells, records };

/// A value of the records.
struct PackedValueRow {
    PackedKind kind = PackedKind::none;
    /// Of `number` and `numbers`: whether the elements are those of the entry `entry`, in their
    /// order, which has an integer type; they are then exact there. `numbers` has none of its own.
    std::uint8_t isOfEntry = 0;
    std::uint16_t unused = 0;
    /// Of a field of a directory, whatever its kind: the last of the directory's entries, defaults
    /// too, that has the field's name and was not dropped.
    std::uint32_t entry = kNoRow;
    /// Of `number` the bits of the double; of all others but `none` the number of an array row.
    std::uint64_t content = 0;
};

/// What an array is made of.
struct PackedArrayRow {
    std::uint32_t rows = 0;
    std::uint32_t columns = 0;
    /// Where the elements begin, column-major: doubles, bytes or UTF-16 code units in the heap, at
    /// a multiple of 8; for cells and records the first of their value rows, one after the other,
    /// of records element by element.
    std::uint64_t begin = 0;
    std::uint32_t fields = kNoRow;  ///< of records: row of their field list
    /// Of records that are directories, in the table of elements: the first of as many directory
    /// rows as there are records. None for other records, such as those of unknown tags.
    std::uint32_t elements = kNoRow;
};

/// The names of the fields of records: rows of the table of field names, which are name rows.
struct PackedFieldsRow {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

/// One name or other text that occurs often; each occurs once.
using PackedNameRow = PackedRun;

/// A warning or an error (`qxMessage`, `WarningPlace`).
struct PackedMessageRow {
    std::uint64_t offset = 0;
    PackedRun path;
    std::uint32_t id = 0;  ///< name row
    std::uint32_t firstArgument = 0;
    std::uint32_t argumentCount = 0;
    std::uint16_t tag = 0;
    std::uint8_t hasTag = 0;
    std::uint8_t hasOffset = 0;
};

enum class PackedArgumentKind : std::uint32_t { integer, bytes, units };

struct PackedArgumentRow {
    std::int64_t integer = 0;
    PackedRun text;  ///< system bytes or UTF-16 code units, at a multiple of 2
    PackedArgumentKind kind = PackedArgumentKind::integer;
    std::uint32_t unused = 0;
};

}  // namespace ifdsweep
