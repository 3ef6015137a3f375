#pragma once

// One file during one call: its bytes after the read cache, its read budget, what a hook lets go
// wrong, and the reads that failed.
//
// Ownership: shared by the file service and the open streams. Threads: one at a time.
//
// A read that the system fails is remembered until it is told of: the stream can only come short.
// One of each reason is enough, since a disk that fails does so at every place.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "files/read_budget.h"
#include "files/read_cache.h"
#include "files/read_hook.h"
#include "ifdsweep/byte_source.h"
#include "ifdsweep/qx.h"

namespace ifdsweep {

/// A read that the system failed.
struct ReadFailure {
    int error;  ///< as in errno
    std::uint64_t position;
};

class OpenedFile {
public:
    OpenedFile(std::shared_ptr<const ByteSource> bytes, const qxFileStatus& fileStatus,
               std::shared_ptr<ReadCache> readCache, const ReadBudget& budget,
               std::shared_ptr<ReadHook> readHook);

    [[nodiscard]] const qxFileStatus& status() const noexcept { return reportedStatus; }
    [[nodiscard]] ReadBudget& budget() noexcept { return readBudget; }
    [[nodiscard]] std::uint64_t size() const noexcept { return source->size(); }

    /// Whether there is a refusal or a failure that was not told of.
    [[nodiscard]] bool hasSomethingToTell() const noexcept {
        return readBudget.hasRefusalToTell() || failuresTold < failureCount;
    }

    /// The first read that failed, told of or not.
    [[nodiscard]] std::optional<ReadFailure> firstReadFailure() const noexcept {
        return failureCount == 0 ? std::nullopt : std::optional(failures[0]);
    }

    /// A failure that was not told of before, the first of its reason.
    [[nodiscard]] std::optional<ReadFailure> takeReadFailure() noexcept;

    /// One access (read_budget.h): how it began and what is left of it for the hook.
    struct Access {
        enum class Start : std::uint8_t { pending, afterSeek, going };

        Start start = Start::pending;
        bool failing = false;
        std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
    };

    /// Reads as part of an access. Returns the bytes delivered, or -1 with errno set.
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position, std::span<std::byte> target,
                                      Access& access) noexcept;

    /// An access of its own, as after a seek. Returns as `read` does.
    [[nodiscard]] std::ptrdiff_t readAccess(std::uint64_t position,
                                            std::span<std::byte> target) noexcept {
        Access access{.start = Access::Start::afterSeek};
        return read(position, target, access);
    }

    /// Reads the file's first bytes for a word about a file that failed: no access, and nothing is
    /// remembered of it. Returns the bytes delivered, or -1.
    [[nodiscard]] std::ptrdiff_t glance(std::span<std::byte> target) const noexcept {
        return source->read(0, target);
    }

    /// What a file shows: its bytes, and the size that its status reports.
    struct Content {
        std::shared_ptr<const ByteSource> bytes;
        std::uint64_t reportedSize;
    };

    /// Shows other content from now on, by the same budget. Returns what it showed.
    [[nodiscard]] Content exchangeContent(Content other) noexcept {
        cache->clear();
        return {std::exchange(source, std::move(other.bytes)),
                std::exchange(reportedStatus.fileSize, other.reportedSize)};
    }

    /// The begin of an access after a seek that turned out to be none, with what it delivered.
    void takeBackAccess(std::uint64_t bytes) noexcept;

    /// Takes note of a seek; false when it is to fail, or too many reads were refused.
    [[nodiscard]] bool seek() noexcept;

private:
    /// Reads through the cache, and asks again where it came short of what the file should have: a
    /// failure after the first bytes shows itself only then. Remembers failures.
    [[nodiscard]] std::ptrdiff_t readSource(std::uint64_t position,
                                            std::span<std::byte> target) noexcept;
    void remember(ReadFailure failure) noexcept;

    std::shared_ptr<const ByteSource> source;
    qxFileStatus reportedStatus;
    std::shared_ptr<ReadCache> cache;
    ReadBudget readBudget;
    std::array<ReadFailure, 8> failures{};  ///< more reasons than a read can fail for
    std::size_t failureCount = 0;
    std::size_t failuresTold = 0;
    std::shared_ptr<ReadHook> hook;
    std::uint64_t accessNumber = 0;
    std::uint64_t seekNumber = 0;
    std::uint64_t cutAt = Interference::kNoLimit;  ///< bytes from here on are gone
};

}  // namespace ifdsweep
