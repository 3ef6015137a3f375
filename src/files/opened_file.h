#pragma once

// One file during one call: its bytes behind the read cache, its read budget, its planned faults,
// and the stdio streams on it.
//
// Ownership: shared by the file service and the open streams. Threads: one at a time.
//
// An access is what is read between two seeks, or before the first one.
//
// The budget: every byte taken counts, and every access after a seek counts `kFreshAccessCost`
// more, since a jump is what costs a hostile file nothing and the reader much. Only the beginning
// of such an access can be refused. What follows it without a seek is always delivered: a directory
// whose count was delivered gets its table too, because a table cut short would be an error that
// loses all directories before it. One access is at most the file's size, and so is the overshoot.
//
// A call whose values have spent their own budget (value_budget.h) is refused in the same way.
//
// A refused read costs no budget, and a list of pointers may hold millions of them: after
// `kMostRefusals` seeks fail too, which ends a list at its next pointer.
//
// A read that the system fails is remembered until it is told of: the stream can only come short.
// One of each reason is enough, since a disk that fails does so at every place.
//
// What the C library reads ahead of the module counts until the next seek or the closing of the
// stream, when what was left unread is taken back.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <span>

#include "files/byte_source.h"
#include "files/fault_plan.h"
#include "files/read_cache.h"
#include "ifdsweep/qx.h"
#include "values/value_budget.h"

namespace ifdsweep {

/// A read that the system failed.
struct ReadFailure {
    int error;  ///< as in errno
    std::uint64_t position;
};

class OpenedFile {
public:
    /// What a fresh access counts beside its bytes.
    static constexpr std::uint64_t kFreshAccessCost = 64;

    /// Refused reads before seeks fail: more than good files have pointers in a list, and no more
    /// than are refused in a second.
    static constexpr std::uint64_t kMostRefusals = 262144;

    /// @param budget the bytes to be delivered; `kUnlimitedReads`: no limit
    /// @param values what the call's values come to; it outlives the file
    OpenedFile(std::shared_ptr<const ByteSource> bytes, const qxFileStatus& fileStatus,
               std::shared_ptr<ReadCache> readCache, std::uint64_t budget, ValueBudget& values,
               FaultPlan faultPlan);

    [[nodiscard]] const qxFileStatus& status() const noexcept { return reportedStatus; }
    [[nodiscard]] std::uint64_t budget() const noexcept { return readBudget; }
    [[nodiscard]] std::uint64_t countedBytes() const noexcept { return counted; }
    [[nodiscard]] std::uint64_t size() const noexcept { return source->size(); }

    /// Whether a read has been refused; tells so once.
    [[nodiscard]] bool takeRefusal() noexcept;

    /// Whether there is a refusal or a failure that was not told of.
    [[nodiscard]] bool hasSomethingToTell() const noexcept {
        return refusalToTell || failuresTold < failureCount;
    }

    /// The first read that failed, told of or not.
    [[nodiscard]] std::optional<ReadFailure> firstReadFailure() const noexcept {
        return failureCount == 0 ? std::nullopt : std::optional(failures[0]);
    }

    /// A failure that was not told of before, the first of its reason.
    [[nodiscard]] std::optional<ReadFailure> takeReadFailure() noexcept;

    /// One access: how it began and what is left of it by plan.
    struct Access {
        enum class Start : std::uint8_t { pending, afterSeek, going };

        Start start = Start::pending;
        bool failing = false;
        std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
    };

    /// Reads as part of an access. Returns the bytes delivered, or -1 with errno set.
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position, std::span<std::byte> target,
                                      Access& access) noexcept;

    /// An access of its own, as after a seek: as many bytes as there are and may be had.
    [[nodiscard]] std::size_t readAt(std::uint64_t position, std::span<std::byte> target) noexcept {
        Access access{.start = Access::Start::afterSeek};
        return static_cast<std::size_t>(
            std::max<std::ptrdiff_t>(read(position, target, access), 0));
    }

    /// Bytes that were read ahead and not taken.
    void takeBack(std::uint64_t bytes) noexcept { counted -= bytes; }

    /// The begin of an access after a seek that turned out to be none, with what it delivered.
    void takeBackAccess(std::uint64_t bytes) noexcept;

    /// Takes note of a seek; false when it is planned to fail, or too many reads were refused.
    [[nodiscard]] bool seek() noexcept;

private:
    /// Reads through the cache, and asks again where it came short of what the file should have: a
    /// failure behind the first bytes shows itself only then. Remembers failures.
    [[nodiscard]] std::ptrdiff_t readSource(std::uint64_t position,
                                            std::span<std::byte> target) noexcept;
    void remember(ReadFailure failure) noexcept;

    /// The fault planned for the next operation of a kind, which is counted; null without one.
    [[nodiscard]] const Fault* nextFault(Fault::Operation operation,
                                         std::uint64_t& number) noexcept;

    std::shared_ptr<const ByteSource> source;
    qxFileStatus reportedStatus;
    std::shared_ptr<ReadCache> cache;
    std::uint64_t readBudget;
    ValueBudget& valueBudget;
    std::uint64_t counted = 0;
    std::uint64_t refusals = 0;
    bool refusalToTell = false;
    bool refusalTold = false;
    std::array<ReadFailure, 8> failures{};  ///< more reasons than a read can fail for
    std::size_t failureCount = 0;
    std::size_t failuresTold = 0;
    FaultPlan faults;
    std::uint64_t accessNumber = 0;
    std::uint64_t seekNumber = 0;
    std::uint64_t cutAt;  ///< bytes from here on are gone, by plan
};

/// A stream on a file, at its beginning. The caller closes it. Throws std::bad_alloc.
[[nodiscard]] std::FILE* openStream(std::shared_ptr<OpenedFile> file);

}  // namespace ifdsweep
