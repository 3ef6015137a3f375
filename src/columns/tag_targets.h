#pragma once

// Tag targets: which columns of `images` are made of a tag, and which entry of a directory they are
// made of: the last that was not dropped, as in records.
//
// Ownership: plain values; entries are numbers of a file's rows. Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

#include "columns/table_schema.h"
#include "pack/packed_file.h"

namespace ifdsweep {

class TagTargets {
public:
    /// @param schema of `images`
    explicit TagTargets(const TableSchema& schema);

    /// The tag's entry is chosen though it may have no column.
    void watch(DirectoryKind kind, std::uint16_t tag);

    /// Forgets the entries that were chosen.
    void clear() noexcept;

    /// Chooses among the entries of a directory those of the tags of a kind.
    void choose(const PackedFile& file, const PackedDirectoryRow& directory, DirectoryKind kind);

    /// The entry that was chosen for a tag; none when there is none, also when it was dropped.
    [[nodiscard]] const PackedEntryRow* chosen(const PackedFile& file, DirectoryKind kind,
                                               std::uint16_t tag) const noexcept;

    /// Visits the entries that were chosen, dropped ones too, in the order of their tags' first
    /// entries.
    /// @param visit called with the entry and the numbers of the columns that are made of it
    template <class Visit>
    void forEach(const PackedFile& file, Visit&& visit) const {
        for (const std::uint32_t number : met) {
            const Tag& tag = tags[number];
            visit(file.entries()[tag.entry],
                  std::span(columns).subspan(tag.firstColumn, tag.columnCount));
        }
    }

private:
    struct Tag {
        std::uint32_t key = 0;
        std::uint32_t firstColumn = 0;
        std::uint32_t columnCount = 0;
        std::uint32_t entry = kNoRow;
    };

    [[nodiscard]] static std::uint32_t keyOf(DirectoryKind kind, std::uint16_t tag) noexcept;
    [[nodiscard]] std::uint32_t find(std::uint32_t key) const noexcept;
    void makeIndex();

    std::vector<Tag> tags;
    std::vector<std::size_t> columns;
    std::vector<std::uint32_t> index;  ///< numbers of tags by what their keys hash to
    std::vector<std::uint32_t> met;    ///< the tags that have an entry
};

}  // namespace ifdsweep
