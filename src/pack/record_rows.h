#pragma once

// Record rows: the values of a packed file's records while they are gathered, and how they go with
// the directories and entries of the walk.
//
// Values stand in the order of their arrays: the parts of an array follow those of the arrays
// before it, all in one piece, and so do rows of arrays. Thus the parts of an array come after it.
// Texts that are equal share an array row where the later one comes soon enough; everything else
// has one of its own.
//
// Ownership: copies what it is given; refers to the values only while it packs them. Threads: one
// at a time. Errors: std::bad_alloc.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "pack/heap_bytes.h"
#include "pack/large_memory.h"
#include "pack/packed_rows.h"
#include "pack/unique_texts.h"
#include "pack/walk_rows.h"
#include "values/field_list.h"
#include "values/value.h"

namespace ifdsweep {

class RecordRows {
public:
    RecordRows(UniqueTexts& uniqueNames, HeapBytes& heapBytes, WalkRows& walkRows)
        : names(uniqueNames), heap(heapBytes), walk(walkRows) {
        begin();
    }

    /// Begins a file.
    void begin();

    /// Packs the records of a stream.
    /// @param chain its primary chain; `kNoRow` if none is known
    /// @return their value row
    [[nodiscard]] std::uint32_t add(const Value& records, std::uint32_t chain);

    TableOf<PackedValueRow> values;
    TableOf<PackedArrayRow> arrays;
    UniqueTexts fieldLists;  ///< each the name rows of its fields, one after the other
    TableOf<std::uint32_t> elements;

private:
    /// Where a value lies: in a field of the record of a directory, or in a cell of such a field.
    struct Place {
        std::uint32_t value;  ///< its row
        std::uint32_t directory = kNoRow;
        std::uint32_t field = kNoRow;  ///< name row
        std::uint32_t entry = kNoRow;  ///< of the directory and of that name
        std::uint32_t chain = kNoRow;  ///< whose records it is; none of a field: told by the above
    };

    /// An array whose parts are not packed yet.
    struct Pending {
        const Value* array;
        std::uint32_t value;  ///< its row
        std::uint32_t chain;
        std::uint32_t directory;
        std::uint32_t field;
    };

    /// The last entry of a name in the directory whose record is packed.
    struct LastEntry {
        std::uint32_t directory = kNoRow;
        std::uint32_t entry = kNoRow;
    };

    /// A list of fields that was packed, of this file or of one before.
    struct KnownList {
        std::shared_ptr<const FieldList> fields{};  ///< kept, so that no other has its address
        std::vector<std::uint32_t> numbers{};       ///< of the names (`UniqueTexts`)
        std::uint64_t namesForgotten = 0;           ///< when they were
        std::uint64_t file = 0;                     ///< the last one that has it
        std::vector<std::uint32_t> names{};         ///< name rows in that file
        std::uint32_t row = kNoRow;                 ///< its own there
    };

    static constexpr std::size_t kRecent = 256;

    [[nodiscard]] PackedValueRow rowOf(const Value* value, const Place& place);
    [[nodiscard]] std::uint32_t addRoom(std::size_t count);
    void addParts(const Pending& pending);
    void addCells(const Pending& pending);
    void addRecords(const Pending& pending);
    [[nodiscard]] bool takeDirectories(const Pending& pending);
    [[nodiscard]] std::uint32_t chainOfField(const Pending& pending);
    void noteEntries(std::uint32_t directory);
    [[nodiscard]] std::uint32_t entryOf(std::uint32_t directory, std::uint32_t name) const;
    void setNumbers(const Value& value, PackedValueRow& row);
    [[nodiscard]] std::uint32_t addArray(const Value& value, std::uint64_t begin);
    [[nodiscard]] std::uint32_t textArray(const Value& value);
    [[nodiscard]] std::uint64_t bytesBegin(const Value& value, std::uint32_t entry);
    [[nodiscard]] const KnownList& listOf(const std::shared_ptr<const FieldList>& fields);
    [[nodiscard]] KnownList& knownList(const std::shared_ptr<const FieldList>& fields);

    UniqueTexts& names;
    HeapBytes& heap;
    WalkRows& walk;
    std::vector<Pending> pendings;
    std::vector<LastEntry> lastEntries;  ///< by name row
    std::vector<std::uint32_t> shownChains;
    std::array<std::uint32_t, kRecent> recentTexts{};  ///< array rows by a hash of the text
    std::array<KnownList, 8> knownLists{};
    std::size_t nextKnownList = 0;
    std::uint64_t files = 0;  ///< that were begun
};

}  // namespace ifdsweep
