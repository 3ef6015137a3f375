#pragma once

// Failure list: the paths that failed, with the reasons, in a form that is read again as a path
// list. A line holds the path, a tab, "# " and the reason; in a list with NUL, paths stand alone.
//
// An old list is emptied at the first failure or at the end of a run, so that a run which is
// refused leaves it as it was. With a journal, the list of an earlier run is gone on with where the
// journal says that it ended.
//
// Ownership: owns its file; borrows the journal. Threads: one at a time.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "io/descriptor.h"
#include "io/disk.h"
#include "run/journal.h"

namespace ifdsweep {

class FailureList {
public:
    /// Opens or makes the file; it is written to from `begin` on.
    /// @param runJournal null for none
    /// Throws RunFailure when that cannot be, Refusal when it is not the list of the journal.
    FailureList(const std::string& path, bool nulSeparated, Journal* runJournal,
                const Disk& listDisk = systemDisk());

    /// Whether a path can stand in the list: one with a line feed needs a list with NUL.
    [[nodiscard]] bool canHold(std::string_view path) const;

    [[nodiscard]] std::optional<FileIdentity> identity() const { return identityOf(file.get()); }

    /// Notes in the journal what will be written to; then, once the journal is on the disk, keeps
    /// the file. Throws RunFailure.
    void note();
    void begin();

    /// Adds a path with its reason. Throws OutputError.
    void add(std::string_view path, std::string_view reason);

    /// The bytes of the list.
    [[nodiscard]] std::uint64_t length() const noexcept { return size; }

    /// Brings the list to the disk. Throws RunFailure.
    void sync();

    /// Takes out what is not of this run, if only now. Throws RunFailure.
    void finish();

private:
    void check(int error) const;

    const Disk& disk;
    Journal* journal;
    std::string name;
    bool withNul;
    FoundOrMadeFile file;
    bool isNoted = false;
    bool isCut = false;
    bool isSynced = true;
    std::uint64_t size = 0;
};

}  // namespace ifdsweep
