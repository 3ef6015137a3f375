#pragma once

// Read: one file read in full or as the contract has it, with everything that came of it.
//
// Ownership: an outcome owns its values, which are freed with it and must not outlive the host
// that it was read with. Filter and sink of the options are borrowed for the reading.
//
// Threads: as the host, one at a time; several hosts on several threads are independent.
//
// Errors: whatever a file holds, and memory exhaustion, becomes the error of its outcome.
// Stable: part of the API.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/entry_sink.h"
#include "ifdsweep/file_stamp.h"
#include "ifdsweep/host.h"
#include "ifdsweep/qx.h"
#include "ifdsweep/value.h"

namespace ifdsweep {

class TagFilter;

/// By which rules a file is read.
enum class ReadingMode : std::uint8_t {
    full,      ///< all that it holds (`ReadingRules::full`)
    contract,  ///< what the entry point of the module gives, no more and no less
};

/// Which TIFF streams of a file are read that carries several.
enum class StreamChoice : std::uint8_t {
    first,  ///< the main one; a warning tells of others
    all,
};

/// What is read of a file, and what reading it may take.
struct ReadOptions {
    /// Byte position of the TIFF stream. Absent: found, 0 or where the file's format has it.
    std::optional<double> offset{};
    /// Of a full reading; that of the contract reads one.
    StreamChoice streams = StreamChoice::first;
    double first = 0;  ///< directories of the primary chain to skip
    double max = 0;    ///< most directories of the primary chain to read; 0: all
    /// Budgets for the host (host.h); absent: those that it has.
    std::optional<std::uint64_t> readBudget{};
    std::optional<std::uint64_t> valueBudget{};
    bool imagesOnly = false;  ///< leaves a file alone whose first bytes are not those of an image
    ReadingMode reading = ReadingMode::full;
    /// In a full reading, the tags that are read (reading.h); null: all.
    const TagFilter* filter = nullptr;
    /// In a full reading, the longest value that is loaded, in bytes; absent: all are.
    std::optional<std::uint64_t> longestValue{};
    /// Told of every directory, entry and warning (entry_sink.h); null: nobody is.
    EntrySink* sink = nullptr;
    /// In a full reading, checks that strips, tiles and JPEG data lie inside the file and add up
    /// (docs/formats.md). What is found are warnings behind those of the reading, in the order of
    /// directories; the sink is not told. What the checks need is read though the filter does not
    /// ask for it, and of what `longestValue` leaves in the file a warning says that it was not
    /// checked.
    bool check = false;
};

/// Where in a file a warning arose, as far as that is known: in a full reading alone.
struct WarningPlace {
    std::string path;                     ///< of the directory, such as "3/SubIFDs[0]/0"; or empty
    std::optional<std::uint16_t> tag;     ///< of the entry; none for the directory as a whole
    std::optional<std::uint64_t> offset;  ///< of the entry or directory, from the file's start
};

struct Warning {
    qxMessage message;
    WarningPlace place;
};

/// How often a file gave one kind of warning.
struct WarningCount {
    std::string id;  ///< full
    std::uint64_t count = 0;
};

/// Where the TIFF stream of an outcome comes from.
struct StreamOrigin {
    /// What carries it, such as "png" or "jpeg" (docs/formats.md); empty where the file itself is
    /// the stream, where its position was given, and in a reading by the contract.
    std::string container;
    std::string name;         ///< of the stream, unique in its file, such as "Exif item 3"
    bool isEmbedded = false;  ///< it lies in several pieces or compressed: positions are its own
    /// What the directories of its primary chain describe.
    DirectoryKind kind = DirectoryKind::primary;
};

/// What came of one file: a result or an error, and in either case the warnings before it.
struct Outcome {
    std::string file;          ///< as named by the caller, in system bytes
    double initialOffset = 0;  ///< as passed to the entry point; 0 when it was never called
    double firstIfdIndex = 0;
    double maxIfdCount = 0;
    ValueHandle result;  ///< null when there is an error
    std::vector<Warning> warnings;
    std::vector<WarningCount> warningCounts;  ///< written in place of the warnings if it has any
    std::optional<qxMessage> error;
    bool isImage = true;  ///< false: left alone, there is no result and no error
    /// What a file that has no TIFF header is by its first bytes, such as "a text file"; empty for
    /// every other.
    std::string found{};
    StreamOrigin stream{};
    /// Of a file of the system's that was opened; none of one that the caller serves.
    std::optional<FileStamp> stamp{};
    /// What came of the further streams, in their order, if all are asked for: each as if it were
    /// the file, without others of its own.
    std::vector<Outcome> others{};
};

/// Reads a file in a scope of its own. Budgets of the options become the host's.
/// @param path in system bytes: a file of the system's or one that the host serves
[[nodiscard]] Outcome read(Host& host, std::string_view path, const ReadOptions& options = {});

}  // namespace ifdsweep
