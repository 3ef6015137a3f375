#pragma once

// Output file: where the output goes. A new file has no name until it is whole: then it takes the
// one that was asked for, at once and with all its bytes on the disk. What had the name is there
// until then, and of an output that is not finished nothing stays.
//
// With a journal, the unfinished file is NAME.part, kept for the run that goes on with it. It is
// known by its identity, which the journal holds: no other file is written to. An output that is
// whole is copied when there is more to be written, not before. A standard output that goes into a
// file is gone on with where the journal says that it ended.
//
// Ownership: owns what it opened; borrows the journal. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "io/descriptor.h"
#include "io/disk.h"
#include "run/journal.h"

namespace ifdsweep {

class OutputFile {
public:
    /// Looks at what is there; no file is written to before `begin`.
    /// @param path       empty for the standard output
    /// @param runJournal null for none
    /// Throws RunFailure.
    OutputFile(const std::string& path, Journal* runJournal, const Disk& outputDisk = systemDisk());
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    [[nodiscard]] int descriptor() const noexcept;

    /// What is written, when it is a regular file: the file of the name as it was, and the new one.
    [[nodiscard]] std::vector<FileIdentity> identities() const;

    /// The file of the name as it was, when it will be another.
    [[nodiscard]] const std::optional<FileIdentity>& replaced() const noexcept { return old; }

    /// The bytes that the file has when it is gone on with, and how many of them are of this run.
    [[nodiscard]] std::uint64_t keptLength() const noexcept { return kept; }
    [[nodiscard]] std::uint64_t keptBytes() const noexcept { return kept - start; }

    /// Whether the output of an earlier run is whole and nothing was added.
    [[nodiscard]] bool isWhole() const noexcept { return state == State::whole; }

    /// Notes in the journal what will be written to.
    void note();

    /// Makes the file one that can be written to, once the journal tells of it. Throws RunFailure.
    void begin();

    /// Makes a whole output one that can be added to. Throws RunFailure and OutputError.
    void goOn();

    /// Brings what was written to the disk. Throws OutputError.
    void sync() const;

    /// Gives a whole file its name. Throws RunFailure.
    void finish();

private:
    enum class Target : std::uint8_t {
        stream,  ///< a pipe, a device, or a standard output without a journal
        append,  ///< a standard output that is a file, with a journal
        fresh,   ///< a file of a name
        part,    ///< the same with a journal
    };
    enum class State : std::uint8_t { looked, open, whole };

    void lookAtStandardOutput();
    void lookAtName(const std::string& path);
    void lookAtPart();
    [[nodiscard]] bool isWholeOutput(const FileMark& mark, std::uint64_t size) const;
    void makeFile();
    void giveName(const std::string& newName);
    void giveUniqueName();
    void cutToKept() const;
    void noteThatItIsWhole();
    void check(int error, const std::string& path) const;

    const Disk& disk;
    Journal* journal;
    std::string name;
    Descriptor file;
    std::string temporary;    ///< what the file is called until it is whole; empty: nothing yet
    bool isPartKept = false;  ///< the unfinished file stays
    Target target = Target::stream;
    State state = State::looked;
    bool isNoted = false;  ///< the journal knows the file
    std::optional<FileIdentity> old;
    std::uint64_t start = 0;
    std::uint64_t kept = 0;
};

}  // namespace ifdsweep
