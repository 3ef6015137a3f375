#pragma once

// Journal: which files are finished, so that a run started again goes on where the last one ended,
// however it ended. It begins with what says that it is one, the phrases of `describeRun`, a line
// each, and an empty line. Then, each in a line of its own:
//
//   ENDING LENGTH FAILURES SIZE SECONDS NANOSECONDS PATH    a finished file
//   o DEVICE INODE SECONDS NANOSECONDS START    the output is this file, and begins there
//   l DEVICE INODE SECONDS NANOSECONDS          the list of failures is this file
//   d SIZE                                      the output is whole and has so many bytes
//
// ENDING is r (read), w (read with warnings), f (failed) or s (skipped), LENGTH is that of the
// output after the file, FAILURES that of the list of failures, SECONDS and NANOSECONDS are when
// the file was modified, of what is written when it was made; line feeds, tabs and backslashes in a
// path are escaped. After a path that could not even be tried stands, with size and time 0, a tab
// and the reason. The line of a file is written once its output is on the disk. A last line that is
// cut short is dropped.
//
// Ownership: owns its file, and keeps others out of it while it lives; keeps 16 bytes of each
// finished file. Threads: one at a time.

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/descriptor.h"
#include "io/disk.h"
#include "run/keyed_hash.h"
#include "walk/input_file.h"
#include "workers/file_report.h"

namespace ifdsweep {

class Journal {
public:
    /// How a file was finished.
    enum class Ending : std::uint8_t { read, warned, failed, skipped };

    /// Where the output of the run goes.
    struct OutputNote {
        FileMark mark;
        std::uint64_t start = 0;  ///< what the file held before
    };

    /// An output that was whole.
    struct WholeNote {
        OutputNote output;
        std::uint64_t length = 0;  ///< after the last finished file
        std::uint64_t size = 0;    ///< of the file
    };

    /// Opens a journal, or a new one, and looks at it: nothing is written before `begin`.
    /// @param runPhrases what the run is, as `describeRun` gives it
    /// Throws Refusal when it is no journal, that of another run or in use, RunFailure when it
    /// cannot be opened or read.
    Journal(const std::string& path, const std::vector<std::string>& runPhrases,
            const Disk& journalDisk = systemDisk());

    [[nodiscard]] const std::string& path() const noexcept { return name; }

    /// The lengths of the output and of the list of failures after the last finished file.
    [[nodiscard]] std::uint64_t outputLength() const noexcept { return lengths.output; }
    [[nodiscard]] std::uint64_t listLength() const noexcept { return lengths.list; }
    [[nodiscard]] std::uint64_t finishedFiles() const noexcept { return finished.size(); }

    /// Files added that were finished before and have changed since, by how they had been finished.
    struct Changed {
        std::uint64_t read = 0;
        std::uint64_t failed = 0;
    };
    [[nodiscard]] const Changed& changedFiles() const noexcept { return changed; }

    [[nodiscard]] const std::optional<OutputNote>& output() const noexcept { return outputNote; }
    [[nodiscard]] const std::optional<FileMark>& list() const noexcept { return listNote; }

    /// The output as it was when it was whole last.
    [[nodiscard]] const std::optional<WholeNote>& whole() const noexcept { return wholeNote; }

    [[nodiscard]] std::optional<FileIdentity> identity() const { return identityOf(file.get()); }

    /// Looks at a file as it is now; remembers what `add` will write of it.
    /// A file that was finished twice, under one path, is given as finished twice and no more.
    /// @return how it was finished; none when it was not, or has changed since
    [[nodiscard]] std::optional<Ending> endingOf(const InputFile& input, std::string& entry);

    /// Notes of the files that are written, before anything is written to them.
    void noteOutput(const OutputNote& note);
    void noteList(const FileMark& list);

    /// Makes the journal one that holds what was noted, on the disk. Throws RunFailure.
    void begin();

    /// Notes a file that is finished, to be written by `commit`.
    /// @param entry as `endingOf` gave it
    void add(const FileReport& report, std::string_view entry, std::uint64_t outputLength,
             std::uint64_t listLength);

    /// Whether files are noted, and enough time went by since the last were written: bringing what
    /// they say to the disk is to take a small part of the time of a run.
    [[nodiscard]] bool isDue() const;

    /// Writes what was noted.
    /// @param bringToDisk called before, for what the notes tell of
    /// Throws RunFailure.
    template <class BringToDisk>
    void commit(BringToDisk&& bringToDisk) {
        if (!pending.empty()) {
            const auto start = disk.now();
            bringToDisk();
            appendPending();
            pauseSince(start);
        }
    }

    /// Notes at once that the output is whole. Throws RunFailure.
    void noteWhole(std::uint64_t size);

    /// Brings what was written to the disk. Throws RunFailure.
    void sync() const;

private:
    /// Keyed hashes of a path and of all that tells whether its file is as it was, the ending in
    /// the lowest bits of the second.
    struct Finished {
        std::uint64_t path = 0;
        std::uint64_t state = 0;
    };

    struct Lengths {
        std::uint64_t output = 0;
        std::uint64_t list = 0;
    };

    [[nodiscard]] Finished digestOf(std::string_view entry) const;
    [[nodiscard]] std::span<const Finished> ofPath(const Finished& digest) const;
    [[nodiscard]] bool isFinished(const Finished& digest) const;
    void countChange(const Finished& digest);
    void lock();
    void load();
    void checkHead(std::string_view head) const;
    void loadLines();
    [[nodiscard]] bool loadLine(std::string_view line);
    [[nodiscard]] bool loadNote(char kind, std::string_view line);
    void takeOutputNote(const OutputNote& note);
    void appendPending();
    void append(std::string_view bytes) const;
    void pauseSince(std::chrono::steady_clock::time_point start);
    void check(int error) const;

    const Disk& disk;
    std::string name;
    std::vector<std::string> phrases;
    FoundOrMadeFile file;
    HashKey key = makeHashKey();
    std::vector<Finished> finished;  ///< sorted
    std::vector<bool> isGiven;       ///< of each, whether `endingOf` gave it
    std::string pending;
    std::uint64_t wholeLines = 0;  ///< the length of the file up to its last whole line
    Lengths lengths;
    std::optional<OutputNote> outputNote;
    std::optional<FileMark> listNote;
    std::optional<WholeNote> wholeNote;
    Changed changed;
    std::chrono::steady_clock::time_point nextCommit;
};

}  // namespace ifdsweep
