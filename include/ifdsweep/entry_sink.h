#pragma once

// The outlet for what a record cannot hold: every directory, entry and warning of a walk, told one
// after the other as the walk meets them, exact to the byte.
//
// Order: a directory begins once its table is read, then come its entries and warnings, then it
// ends. The entry of a pointer is told before the directories that it leads to, which begin and end
// before the next entry; then come the defaults of fields that the directory lacks. Warnings of a
// directory that never begins (no entry count, no entries, no table) name it all the same.
//
// Ownership: the sink is the caller's and outlives the walk. Everything that it is told is lent for
// the call: bytes, texts and the directory. Threads: that of the walk.
//
// Errors: what a sink throws ends the walk and comes through `readDirectories` (reading.h); `read`
// (read.h) makes a std::exception the error of the file.
// Stable: part of the API; members may be added to the structures.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "ifdsweep/qx.h"

namespace ifdsweep {

/// What a directory describes; it decides by which dictionary its tags are named.
enum class DirectoryKind : std::uint8_t { primary = 0, gps = 1, interoperability = 2, exif = 3 };

/// A directory on the way of the walk.
struct DirectoryFacts {
    DirectoryKind kind;
    const DirectoryFacts* parent;  ///< whose pointer leads here; null in the primary chain
    std::uint16_t pointerTag;      ///< the tag of that pointer; 0 in the primary chain
    std::string_view pointerName;  ///< its name
    /// Place of this chain among those of its pointer that hold a directory.
    std::size_t chainIndex;
    std::size_t index;         ///< place in the chain among the directories that are kept
    std::uint64_t position;    ///< of the entry count, from the start of the file
    std::uint64_t entryCount;  ///< as the file has it; 0 where it could not be read
};

/// One entry of a directory, or the default of a field that it lacks.
struct EntryFacts {
    std::uint16_t tag;
    std::string_view name;    ///< in the dictionary of the directory's kind; empty for none
    std::uint16_t fieldType;  ///< code as stored, whether or not it is known; 0 for a default
    std::uint64_t count;      ///< of values, as stored
    std::uint64_t position;   ///< of the entry, from the start of the file; 0 for a default
    /// Of the value's bytes, from the start of the file; 0 where the field type is unknown, and
    /// with it how long the value is.
    std::uint64_t valuePosition;
    bool isInline;   ///< the value lies in the entry
    bool isDefault;  ///< nothing of it is in the file
    /// Whether `bytes` holds the value. Not so when the entry was dropped before its value was
    /// read, or the value is longer than those that are asked for.
    bool isLoaded;
    /// The value in the machine's byte order, packed: `count` items of the field type, of which a
    /// rational is two 32-bit numbers.
    std::span<const std::uint8_t> bytes;
    std::span<const double> defaults;  ///< the numbers of a default
    std::string_view valueName;        ///< readable name of an enumerated value; empty for none
    /// Full id of the warning by which the entry was dropped from the record; empty if it was not.
    /// Of a pointer, which is told before it is followed, only what was met before.
    std::string_view droppedBy;
};

/// A TIFF stream in a file of another format, whose walk begins.
struct StreamFacts {
    std::string_view container;  ///< such as "png"
    std::string_view name;       ///< unique in its file, such as "Exif item 3"
    bool isEmbedded;  ///< all positions are from the start of the stream, not of the file
};

/// Where in the file a warning arose.
struct WarningFacts {
    const DirectoryFacts* directory;   ///< null before the first directory and after the last
    std::optional<std::uint16_t> tag;  ///< of the entry; none for the directory as a whole
    std::uint64_t position;            ///< of the entry, directory or next pointer in the file
};

class EntrySink {
public:
    EntrySink() = default;
    EntrySink(const EntrySink&) = delete;
    EntrySink& operator=(const EntrySink&) = delete;
    virtual ~EntrySink() = default;

    /// Whether `entry` is to be called: a sink that only hears of directories and warnings costs
    /// next to nothing. Asked once, before the walk.
    [[nodiscard]] virtual bool hearsEntries() const noexcept { return true; }

    /// Told once for each stream that was found in a container (read.h), before its directories.
    virtual void streamBegins(const StreamFacts& /*stream*/) {}

    virtual void directoryBegins(const DirectoryFacts& directory) = 0;

    /// @param isKept whether it has anything to show and counts in its chain
    virtual void directoryEnds(const DirectoryFacts& directory, bool isKept) = 0;

    virtual void entry(const DirectoryFacts& directory, const EntryFacts& entry) = 0;

    /// A warning of the walk, right after the host was given it.
    virtual void warning(const qxMessage& message, const WarningFacts& place) = 0;
};

}  // namespace ifdsweep
