#pragma once

// The library's own host: what the module's calls of the contract (qx.h) reach while a
// `Host::Scope` is open. `read` (read.h) opens one itself; a program that calls the entry point or
// the contract's operations opens its own.
//
// A scope is one call of the entry point: a file is looked at once per scope (its status, its
// bytes kept in the read cache, its read budget), however often the module opens it. Open a new
// scope for every call.
//
// Ownership: the host owns the memory of every value it created and the warnings it collected.
// Values and streams must be gone before the host is; they may outlive the scope.
//
// Threads: one thread at a time uses a host; different threads use hosts of their own.
//
// Errors: of a file, through the contract; std::bad_alloc where memory runs out.
// Stable: part of the API.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "ifdsweep/byte_source.h"
#include "ifdsweep/qx.h"
#include "ifdsweep/unlimited.h"

namespace ifdsweep {

class HostParts;

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
        HostParts& parts;
        HostParts* previous;
    };

    Host();
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// The bytes that a call may be given of a file; absent: 256 KiB plus 8 times the file's size;
    /// `kUnlimited`: no limit. Holds for files opened from now on.
    void setReadBudget(std::optional<std::uint64_t> bytes) noexcept;

    /// What a call's values and warnings may come to, each byte of an element counting four;
    /// absent: 64 MiB plus 32 times the file's size; `kUnlimited`: no limit. Holds for files opened
    /// from now on.
    void setValueBudget(std::optional<std::uint64_t> limit) noexcept;

    /// How many bytes the values of a call may take, whatever their budget: asked once a call, of a
    /// call that takes much. As much again should be there for what else a call needs. None at
    /// first. The function must not throw.
    void setMemoryBound(std::function<std::uint64_t()> bound) noexcept;

    /// Serves a regular file of these bytes, dated 1970-01-01 00:00:00, under a name in system
    /// bytes, instead of asking the system for it. The caller keeps the bytes.
    void serve(std::string_view name, std::span<const std::uint8_t> bytes);

    /// Serves a regular file, dated the same, whose bytes come from a source.
    void serve(std::string_view name, std::shared_ptr<const ByteSource> source);

    /// Serves a file of any source and status.
    void serve(std::string_view name, std::shared_ptr<const ByteSource> source,
               const qxFileStatus& status);

    /// Serves a file that is open already, and takes over its descriptor, which is closed also when
    /// this fails. Throws std::system_error when the system cannot tell what it is.
    void serveDescriptor(std::string_view name, int descriptor);

    /// Serves no file any more.
    void serveNothing() noexcept;

    /// The warnings since the start or the last `takeWarnings` or `clear`, in order.
    [[nodiscard]] const std::vector<qxMessage>& warnings();

    /// Hands the collected warnings over and starts anew.
    [[nodiscard]] std::vector<qxMessage> takeWarnings();

    /// Forgets warnings and the file looked at, as a new scope does for the file. Settings stay.
    void clear() noexcept;

    /// Values created and not yet freed.
    [[nodiscard]] std::size_t liveValues() const noexcept;

    /// What the values and warnings of the call in hand come to, in the measure of their budget.
    [[nodiscard]] std::uint64_t countedValues() const noexcept;

    /// The bytes that count against the read budget of the file looked at.
    [[nodiscard]] std::uint64_t countedBytes() const noexcept;

private:
    friend HostParts;
    const std::unique_ptr<HostParts> parts;
};

}  // namespace ifdsweep
