#pragma once

// The host's file service: status, existence and streams of files named in UTF-16, from the file
// system or served by the caller, with a read budget.
//
// Ownership: the service keeps the file that was asked for last open until another is asked for or
// `forgetFile`; streams share it and are closed by the caller.
//
// Threads: one thread at a time.

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include <sys/stat.h>

#include "files/read_budget.h"
#include "files/read_hook.h"
#include "ifdsweep/byte_source.h"
#include "ifdsweep/file_stamp.h"
#include "ifdsweep/qx.h"
#include "values/value_budget.h"

namespace ifdsweep {

class OpenedFile;
class ReadCache;
struct ReadFailure;

/// A file that the service serves instead of asking the system.
struct ServedFile {
    std::shared_ptr<const ByteSource> bytes;
    qxFileStatus status;               ///< as reported, whatever the bytes are
    std::optional<FileStamp> stamp{};  ///< of a file of the system's
};

/// A file that is open already, to be served. Takes over the descriptor; throws std::system_error
/// when the system cannot tell what it is.
[[nodiscard]] ServedFile servedFile(int descriptor);

/// What tells a file from what it was before.
[[nodiscard]] FileStamp stampOf(const struct stat& status) noexcept;

/// The status of a regular file that has no other: dated 1970-01-01 00:00:00.
[[nodiscard]] qxFileStatus plainStatus(std::uint64_t fileSize) noexcept;

/// The message of a read that the system failed: a warning, or the error of a file that cannot be
/// read at all.
[[nodiscard]] qxMessage readFailedMessage(const ReadFailure& failure);

class FileService {
public:
    /// @param valueBudget begun for every file that is looked at; it outlives the service
    explicit FileService(ValueBudget& valueBudget);
    ~FileService();
    FileService(const FileService&) = delete;
    FileService& operator=(const FileService&) = delete;

    /// See `Host::setReadBudget`; holds for files opened from now on.
    void setReadBudget(std::optional<std::uint64_t> bytes) noexcept { readBudget = bytes; }

    /// See `Host::setValueBudget`; holds for files opened from now on.
    void setValueBudget(std::optional<std::uint64_t> limit) noexcept { valueLimit = limit; }

    /// See `Host::setMemoryBound`; the same.
    void setMemoryBound(MemoryBound bound) noexcept { memoryBound = std::move(bound); }

    /// Serves a regular file of these bytes, dated 1970-01-01 00:00:00, under a name. The caller
    /// keeps the bytes.
    void serve(const std::u16string& name, std::span<const std::uint8_t> bytes);

    /// Serves a file under a name, with any source and status.
    void serve(const std::u16string& name, ServedFile file);

    /// Serves no file any more.
    void serveNothing() noexcept;

    /// Steps in before the reads of every file opened from now on; null ends it.
    void setReadHook(std::shared_ptr<ReadHook> readHook) noexcept { hook = std::move(readHook); }

    /// The contract's operations of the same names.
    [[nodiscard]] qxFileStatus status(const std::u16string& name);
    [[nodiscard]] bool exists(const std::u16string& name);
    [[nodiscard]] std::FILE* open(const std::u16string& name, const char* mode);

    /// The file itself, to be read without a stream; null where the path does not exist. Raises
    /// what `open` raises. It is the one looked at from now on.
    [[nodiscard]] std::shared_ptr<OpenedFile> opened(const std::u16string& name);

    /// The file looked at; null for none.
    [[nodiscard]] std::shared_ptr<const OpenedFile> lookedAt() const noexcept {
        return currentFile;
    }

    /// The stamp of the file looked at; none of a served one.
    [[nodiscard]] const std::optional<FileStamp>& stamp() const noexcept { return currentStamp; }

    /// Whether a file has a refusal or a failure that was not told of.
    [[nodiscard]] bool hasSomethingToTell() const noexcept;

    /// Reports the spent budget of the file looked at, once.
    [[nodiscard]] std::optional<SpentBudget> takeSpentBudget() noexcept;

    /// Reports a read of the file looked at that the system failed, once for each reason.
    [[nodiscard]] std::optional<ReadFailure> takeReadFailure() noexcept;

    /// The bytes counted against the budget of the file looked at.
    [[nodiscard]] std::uint64_t countedBytes() const noexcept;

    /// Forgets what was to be told of files that are not looked at any more.
    void forgetWhatIsToTell() noexcept { formerFile.reset(); }

    /// Ends the look at the current file: its next use asks the system again.
    void forgetFile() noexcept;

private:
    /// What there is to tell of the file looked at before goes before what there is of this one.
    template <class Take>
    [[nodiscard]] auto takeFromFiles(Take take) noexcept;

    ValueBudget& values;
    std::optional<std::uint64_t> readBudget;
    std::optional<std::uint64_t> valueLimit;
    MemoryBound memoryBound;
    std::map<std::u16string, ServedFile, std::less<>> served;
    std::shared_ptr<ReadHook> hook;
    std::u16string currentName;
    std::shared_ptr<OpenedFile> currentFile;
    std::optional<FileStamp> currentStamp;
    std::shared_ptr<ReadCache> spareCache;
    std::shared_ptr<OpenedFile> formerFile;  ///< kept for what it still has to tell
};

}  // namespace ifdsweep
