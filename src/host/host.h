#pragma once

// The stand-in host: what the module's calls of the contract reach while a `Host::Scope` is open.
//
// A scope is one call of the entry point: a file is looked at once per scope (its status, its
// bytes kept in the read cache, its read budget), however often the module opens it. Open a new
// scope for every call.
//
// Ownership: the host owns the memory of every value it created and the warnings it collected.
// Values and streams must be gone before the host is; they may outlive the scope.
//
// Threads: one thread at a time uses a host; different threads use hosts of their own.

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/file_service.h"
#include "ifdsweep/qx.h"
#include "values/value.h"
#include "values/value_budget.h"
#include "values/value_store.h"

namespace ifdsweep {

class Host {
public:
    /// Makes a host the current one of this thread and begins a call; scopes nest.
    class Scope {
    public:
        explicit Scope(Host& callHost) noexcept;
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        Host& host;
        Host* previous;
    };

    Host() : store(valueBudget), fileService(valueBudget) {}
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// The host of this thread's innermost scope. Throws std::logic_error when there is none.
    [[nodiscard]] static Host& current();

    /// The warnings since the start or the last `takeWarnings` or `clear`, in order.
    [[nodiscard]] const std::vector<qxMessage>& warnings();

    /// Hands the collected warnings over and starts anew.
    [[nodiscard]] std::vector<qxMessage> takeWarnings();

    /// Collects a warning, as far as the value budget has room for it.
    void warn(const qxMessage& message);

    /// Forgets warnings and the file looked at, as a new scope does for the file. Settings stay.
    void clear() noexcept;

    /// Values created and not yet freed.
    [[nodiscard]] std::size_t liveValues() const noexcept { return store.liveValues(); }

    /// The bytes that a call may be given of a file; absent: 256 KiB plus 8 times the file's size;
    /// `kUnlimitedReads`: no limit.
    void setReadBudget(std::optional<std::uint64_t> bytes) noexcept {
        fileService.setReadBudget(bytes);
    }

    /// What a call's values and warnings may come to (value_budget.h); absent: 64 MiB plus 32 times
    /// the file's size; `ValueBudget::kUnlimited`: no limit.
    void setValueBudget(std::optional<std::uint64_t> limit) noexcept {
        fileService.setValueBudget(limit);
    }

    /// How many bytes the values of a call may take, whatever their budget: asked once a call, of a
    /// call that takes much. As much again should be there for what else a call needs. None at
    /// first.
    void setMemoryBound(MemoryBound bound) noexcept {
        fileService.setMemoryBound(std::move(bound));
    }

    /// What the values and warnings of the call in hand come to.
    [[nodiscard]] std::uint64_t countedValues() const noexcept { return valueBudget.counted(); }

    /// Makes the `number`-th value creation from now on (1: the next) throw `error`, once.
    void failValueCreation(std::uint64_t number, std::exception_ptr error) noexcept {
        store.failCreation(number, std::move(error));
    }

    /// The file service: settings, files served from memory, fault plans.
    [[nodiscard]] FileService& files();

    /// The values.
    [[nodiscard]] ValueStore& values() noexcept { return store; }

private:
    void collectOwnWarnings();

    ValueBudget valueBudget;
    ValueStore store;
    FileService fileService;
    std::vector<qxMessage> collected;
};

}  // namespace ifdsweep
