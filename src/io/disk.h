#pragma once

// Disk: the operations by which the output, the journal and the list of failures come to lie in
// the file system for good. What was written may be lost with the power until it was synced, names
// too; a test has a disk of its own that forgets it.
//
// Ownership: holds nothing. Threads: any.

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "io/descriptor.h"

namespace ifdsweep {

/// Each operation gives 0, or the value of errno.
class Disk {
public:
    Disk() = default;
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;
    virtual ~Disk() = default;

    /// Appends all the bytes at the position of an open file.
    [[nodiscard]] virtual int write(int file, std::string_view bytes) const;

    /// Returns once what was written to a file is on the disk. What is no file needs none of it.
    [[nodiscard]] virtual int sync(int file) const;

    /// The same for the names in the folder of a path.
    [[nodiscard]] virtual int syncFolderOf(const std::string& path) const;

    [[nodiscard]] virtual int truncate(int file, std::uint64_t length) const;

    /// Gives a file without a name one that is not there yet.
    [[nodiscard]] virtual int link(int file, const std::string& path) const;

    [[nodiscard]] virtual int rename(const std::string& from, const std::string& to) const;
    [[nodiscard]] virtual int remove(const std::string& path) const;

    [[nodiscard]] virtual std::chrono::steady_clock::time_point now() const;
};

/// The disk of the system.
[[nodiscard]] const Disk& systemDisk();

/// What tells a file from every other, those too that get its number when it is gone.
struct FileMark {
    FileIdentity identity{};
    std::int64_t bornSeconds = 0;  ///< 0 where the file system does not tell
    std::uint32_t bornNanoseconds = 0;

    [[nodiscard]] bool operator==(const FileMark&) const = default;
};

/// The mark of an open regular file; none for everything else.
[[nodiscard]] std::optional<FileMark> markOf(int file);

/// The same of a path, links followed.
[[nodiscard]] std::optional<FileMark> markOf(const std::string& path);

/// The folder that a path lies in.
[[nodiscard]] std::string folderOf(const std::string& path);

/// Makes a file without a name in the folder of a path, to be linked later: nothing is left of it
/// however the program ends. Not open where the system cannot make one, or not give it a name.
[[nodiscard]] Descriptor makeUnnamedFile(const std::string& path);

/// Opens a file, or makes it.
class FoundOrMadeFile {
public:
    /// @param flags of open, without O_CREAT
    FoundOrMadeFile(const std::string& path, int flags);
    FoundOrMadeFile(const FoundOrMadeFile&) = delete;
    FoundOrMadeFile& operator=(const FoundOrMadeFile&) = delete;

    /// Takes away again what was made and not kept.
    ~FoundOrMadeFile();

    /// Why it is not open; 0 when it is.
    [[nodiscard]] int error() const noexcept { return openError; }
    [[nodiscard]] int get() const noexcept { return file.get(); }
    [[nodiscard]] bool isMade() const noexcept { return made; }
    void keep() noexcept { kept = true; }

private:
    std::string name;
    Descriptor file;
    int openError = 0;
    bool made = false;
    bool kept = false;
};

}  // namespace ifdsweep
