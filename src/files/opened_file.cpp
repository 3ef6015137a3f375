#include "files/opened_file.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

namespace ifdsweep {

OpenedFile::OpenedFile(std::shared_ptr<const ByteSource> bytes, const qxFileStatus& fileStatus,
                       std::shared_ptr<ReadCache> readCache, const ReadBudget& budget,
                       std::shared_ptr<ReadHook> readHook)
    : source(std::move(bytes)),
      reportedStatus(fileStatus),
      cache(std::move(readCache)),
      readBudget(budget),
      hook(std::move(readHook)) {
    cache->clear();
}

std::ptrdiff_t OpenedFile::read(std::uint64_t position, std::span<std::byte> target,
                                Access& access) noexcept {
    if (access.start != Access::Start::going) {
        if (access.start == Access::Start::afterSeek && readBudget.refuses()) {
            return 0;
        }
        access.start = Access::Start::going;
        ++accessNumber;
        if (hook != nullptr) {
            const Interference interference = hook->beforeRead(accessNumber);
            access.failing = interference.fails;
            access.limit = interference.accessLimit;
            cutAt = std::min(cutAt, interference.fileLimit);
        }
    }
    if (access.failing) {
        remember({EIO, position});
        errno = EIO;
        return -1;
    }
    const std::uint64_t allowed = std::min(access.limit, position < cutAt ? cutAt - position : 0);
    const std::ptrdiff_t got =
        readSource(position, target.first(std::min<std::uint64_t>(target.size(), allowed)));
    const auto delivered = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(got, 0));
    access.limit -= delivered;
    readBudget.add(delivered);
    return got;
}

std::ptrdiff_t OpenedFile::readSource(std::uint64_t position,
                                      std::span<std::byte> target) noexcept {
    std::ptrdiff_t got = cache->read(*source, position, target);
    const auto delivered = static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0));
    if (got > 0 && delivered < target.size() && position + delivered < source->size()) {
        const std::ptrdiff_t more =
            cache->read(*source, position + delivered, target.subspan(delivered));
        if (more < 0) {
            remember({errno, position + delivered});
        } else {
            got += more;
        }
    } else if (got < 0) {
        remember({errno, position});
    }
    return got;
}

void OpenedFile::remember(ReadFailure failure) noexcept {
    const auto end = failures.begin() + static_cast<std::ptrdiff_t>(failureCount);
    const bool isKnown = std::any_of(failures.begin(), end, [&](const ReadFailure& known) {
        return known.error == failure.error;
    });
    if (!isKnown && failureCount < failures.size()) {
        failures[failureCount++] = failure;
    }
}

std::optional<ReadFailure> OpenedFile::takeReadFailure() noexcept {
    if (failuresTold == failureCount) {
        return std::nullopt;
    }
    return failures[failuresTold++];
}

void OpenedFile::takeBackAccess(std::uint64_t bytes) noexcept {
    readBudget.takeBackAccess(bytes);
    --accessNumber;
}

bool OpenedFile::seek() noexcept {
    ++seekNumber;
    if (hook != nullptr) {
        const Interference interference = hook->beforeSeek(seekNumber);
        cutAt = std::min(cutAt, interference.fileLimit);
        if (interference.fails) {
            return false;
        }
    }
    return !readBudget.refusesSeeks();
}

}  // namespace ifdsweep
