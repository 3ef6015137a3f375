#pragma once

// The second way in, beside the entry point of the contract (qx.h): the same walk by rules of the
// caller's choice, with an outlet for exact facts, and only for what is asked.
//
// Ownership: a reading borrows its sink and its filter for the call. Threads: as the entry point.
//
// Errors: as the entry point, through `qxRaiseError`. Stable: part of the API; members may be
// added, and as constructed each leaves the reading as it is.

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ifdsweep/entry_sink.h"
#include "ifdsweep/qx.h"
#include "ifdsweep/unlimited.h"

namespace ifdsweep {

/// What the walk does where it has a choice. As constructed: what the contract says.
struct ReadingRules {
    /// LONG8, SLONG8 and IFD8 are 64-bit numbers, as values and as pointers; SHORT pointers are one
    /// offset each; a pointer of a type that holds no offsets leads nowhere
    /// (`pointerHoldsNoOffset`) and stays among the unknown tags.
    bool wholeIntegers = false;
    /// A wrong count is the warning `badTagDataCount`, not an error, and the entry stays.
    bool wrongCountWarns = false;
    /// Of a table of entries that is cut short, the whole entries are read (`directoryCut`).
    bool cutTablesAreRead = false;
    /// Damage to a nested or a later directory takes away nothing that was read before it.
    bool damageStaysInside = false;
    /// The version word of the header decides the layout, and not the file's first bytes.
    bool headerDecidesLayout = false;
    /// A directory too large for its APP1 segment ends the chain and takes away nothing.
    bool segmentLimitEndsChain = false;

    /// All that the file holds: every rule set.
    [[nodiscard]] static constexpr ReadingRules full() noexcept {
        return {true, true, true, true, true, true};
    }
};

/// The tags that are asked for. Entries of others are passed over: not loaded, not checked. A
/// pointer is followed where something that is asked for can lie under it; under a pointer that is
/// asked for itself, everything is read.
class TagFilter {
public:
    /// Asks for a tag in directories of a kind.
    void ask(DirectoryKind kind, std::uint16_t tag) {
        std::uint16_t& page = pageOf[indexOf(kind)][tag / kPageTags];
        if (page == kEmptyPage) {
            pages.emplace_back();
            page = static_cast<std::uint16_t>(pages.size() - 1);
        }
        pages[page].set(tag % kPageTags);
        asksForAny.set(indexOf(kind));
    }

    [[nodiscard]] bool asksFor(DirectoryKind kind, std::uint16_t tag) const {
        return pages[pageOf[indexOf(kind)][tag / kPageTags]][tag % kPageTags];
    }

    /// Whether something that is asked for can lie in directories of a kind or under them.
    /// Directories of GPS and Interoperability lead nowhere; under the others may lie all kinds.
    [[nodiscard]] bool asksBelow(DirectoryKind kind) const {
        const bool leadsOn = kind == DirectoryKind::primary || kind == DirectoryKind::exif;
        return leadsOn || asksForAny[indexOf(kind)];
    }

private:
    static constexpr std::size_t kKinds = 4;
    // Few tags are asked for, and they lie in few pages: a filter is made for one small file too.
    static constexpr std::size_t kPageTags = 512;
    static constexpr std::uint16_t kEmptyPage = 0;
    using Page = std::bitset<kPageTags>;

    static std::size_t indexOf(DirectoryKind kind) { return static_cast<std::size_t>(kind); }

    std::array<std::array<std::uint16_t, 65536 / kPageTags>, kKinds> pageOf{};
    std::vector<Page> pages{Page()};
    std::bitset<kKinds> asksForAny;
};

/// One reading. As constructed it is that of the entry point.
struct Reading {
    ReadingRules rules{};
    EntrySink* sink = nullptr;          ///< null: nobody is told
    const TagFilter* filter = nullptr;  ///< null: every tag is read
    /// Longest value that is loaded, in bytes. Of a longer one the record has null, and the warning
    /// `valuesNotLoaded` names it. What "Width", "Height", "BitDepth" and "ColorType" are made of,
    /// and pointers, are loaded in any case.
    std::uint64_t longestValue = kUnlimited;
    /// What the directories of the primary chain describe, which decides by which dictionary their
    /// tags are named. A chain that describes no images ends with its first directory.
    DirectoryKind kind = DirectoryKind::primary;
    /// The "Format" of a file that carries the stream in another format than TIFF; null: told by
    /// the file's first bytes. Its directories describe the image around them, and like those of a
    /// JPEG file their records have no fields that tell of a TIFF file and no defaults.
    const char* carrier = nullptr;
};

/// Reads the directories of a TIFF stream as the entry point does.
/// @param filename      of a file that the host knows
/// @param initialOffset byte position of the TIFF stream
/// @param firstIfdIndex directories of the primary chain to skip
/// @param maxIfdCount   most directories of the primary chain to read; 0: all
/// @return an [N, 1] record array, or an empty 0-by-0 double array; the caller's
[[nodiscard]] qxArray* readDirectories(std::u16string filename, double initialOffset,
                                       double firstIfdIndex, double maxIfdCount,
                                       const Reading& reading);

}  // namespace ifdsweep
