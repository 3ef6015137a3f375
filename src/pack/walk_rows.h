#pragma once

// Walk rows: the directories and entries of a packed file while they are told, and which chain of
// directories each directory is of.
//
// A chain is known by what the walk tells: its first directory comes after the entry of the pointer
// or after the chain before it, and the others follow it with nothing of the parent's between.
//
// Ownership: copies what it is told. Threads: one at a time. Errors: std::bad_alloc.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/entry_sink.h"
#include "pack/heap_bytes.h"
#include "pack/large_memory.h"
#include "pack/packed_rows.h"
#include "pack/unique_texts.h"

namespace ifdsweep {

class WalkRows {
public:
    /// A stream whose walk began. The first is there from the beginning and has no name: files that
    /// are streams themselves are told of without.
    struct Stream {
        std::string container{};
        std::string name{};
        std::uint32_t firstDirectory = 0;
        std::uint32_t firstEntry = 0;
        std::uint32_t chain = kNoRow;  ///< the primary one; none until it has a directory
    };

    /// The directories of a chain that are kept: from `firstKept` on by `nextKept`.
    struct Chain {
        std::uint64_t index = 0;              ///< among those of its pointer
        std::uint32_t pointer = kNoRow;       ///< row of the last entry before it
        std::uint32_t pointerName = kNoRow;   ///< name row
        std::uint32_t nextOfParent = kNoRow;  ///< the one that began before it
        std::uint32_t firstKept = kNoRow;     ///< directory row
        std::uint32_t lastKept = kNoRow;      ///< directory row
        std::uint32_t keptCount = 0;
        bool isOdd = false;  ///< its directories are not numbered one after the other
        /// There were warnings until its parent went on: its pointer may have been dropped.
        bool hadWarnings = false;
    };

    struct Directory {
        PackedDirectoryRow row{};
        std::uint32_t chain = kNoRow;      ///< that it is of
        std::uint32_t lastChain = kNoRow;  ///< that began last of those below it
        std::uint32_t nextKept = kNoRow;   ///< directory row
    };

    WalkRows(UniqueTexts& uniqueNames, HeapBytes& heapBytes) : names(uniqueNames), heap(heapBytes) {
        clear();
    }
    void clear();

    void streamBegins(const StreamFacts& stream);
    void directoryBegins(const DirectoryFacts& directory);
    void directoryEnds(const DirectoryFacts& directory, bool isKept);
    void entry(const DirectoryFacts& directory, const EntryFacts& entry);
    void warned() { ++warnings; }

    /// The chains below a directory that its record shows in a field, by their index; those of a
    /// pointer that occurs several times are those of the last that led to a directory. `kNoRow`
    /// where it is not certain which chain the record has.
    void shownChains(std::uint32_t directory, std::uint32_t name,
                     std::vector<std::uint32_t>& shown) const;

    std::vector<Stream> streams;
    TableOf<Directory> directories;
    TableOf<PackedEntryRow> entries;
    std::vector<Chain> chains;

private:
    /// A directory that began and has not ended.
    struct Open {
        const DirectoryFacts* facts;  ///< borrowed: an identity alone
        std::uint32_t row;
        std::uint32_t lastEntry;       ///< of its own
        std::uint32_t chain;           ///< below it, since its last entry; none yet
        std::uint64_t warningsBefore;  ///< that were told before its last entry
    };

    [[nodiscard]] bool goBackTo(const DirectoryFacts& directory);
    [[nodiscard]] std::uint32_t chainOf(const DirectoryFacts& directory, std::uint32_t name);
    void endChain(Open& place);
    void end(Open& place, bool isKept);

    UniqueTexts& names;
    HeapBytes& heap;
    std::vector<Open> open;
    std::uint64_t warnings = 0;
};

}  // namespace ifdsweep
