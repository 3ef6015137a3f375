#pragma once

// What a host is made of, for those inside the library who need more of it than `Host` shows.
//
// Ownership: a host owns its parts. Threads: as the host.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "files/file_service.h"
#include "ifdsweep/host.h"
#include "ifdsweep/qx.h"
#include "values/value_budget.h"
#include "values/value_store.h"

namespace ifdsweep {

class HostParts {
public:
    HostParts() : store(budget), service(budget) {}
    HostParts(const HostParts&) = delete;
    HostParts& operator=(const HostParts&) = delete;

    [[nodiscard]] static HostParts& of(Host& host) noexcept { return *host.parts; }

    /// Those of this thread's innermost scope. Throws std::logic_error when there is none.
    [[nodiscard]] static HostParts& current();

    [[nodiscard]] ValueStore& values() noexcept { return store; }
    [[nodiscard]] ValueBudget& valueBudget() noexcept { return budget; }

    /// The file service. Before it goes on to another file, its warnings of this one are collected.
    [[nodiscard]] FileService& files();

    /// The file service for what leaves the file looked at as it is, or cannot throw.
    [[nodiscard]] FileService& filesAsTheyAre() noexcept { return service; }

    /// Collects a warning, as far as the value budget has room for it.
    void warn(const qxMessage& message);

    /// See `Host::warnings`.
    [[nodiscard]] std::vector<qxMessage>& warnings();

    /// How many warnings are collected. Those that the host still has to give are not among them.
    [[nodiscard]] std::size_t collectedCount() const noexcept { return collected.size(); }

    /// The warning collected last; there must be one.
    [[nodiscard]] const qxMessage& lastCollected() const noexcept { return collected.back(); }

    /// See `Host::clear`.
    void clear() noexcept;

private:
    void collectOwnWarnings();

    ValueBudget budget;
    ValueStore store;
    FileService service;
    std::vector<qxMessage> collected;
};

/// The file service of a host.
[[nodiscard]] inline FileService& filesOf(Host& host) {
    return HostParts::of(host).files();
}

/// The values of a host.
[[nodiscard]] inline ValueStore& valuesOf(Host& host) noexcept {
    return HostParts::of(host).values();
}

}  // namespace ifdsweep
