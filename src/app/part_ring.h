#pragma once

// Part ring: memory that a worker process shares with the main one. The worker places parts of the
// output in it, one behind the other, and at the end goes on at the start; the main process takes
// them from there and lets go of them in the same order. Where a part lies is told by other means.
// A worker that ends is followed by one that places its parts behind those that were told of.
//
// Ownership: owns the memory, which both processes have from before the fork. The parts taken refer
// to it and must be gone before it is. Threads: one at a time in each process.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "app/shared_memory.h"

namespace app {

class PartRing;

/// A part in a ring, whose room is free again when its owner ends. Parts end in their order.
class PlacedPart {
public:
    PlacedPart() = default;
    PlacedPart(PlacedPart&& other) noexcept { swap(other); }
    PlacedPart& operator=(PlacedPart&& other) noexcept {
        PlacedPart taken(std::move(other));
        swap(taken);
        return *this;
    }
    ~PlacedPart();

    [[nodiscard]] std::string_view bytes() const noexcept { return part; }

private:
    friend class PartRing;
    PlacedPart(PartRing& partRing, std::string_view placed, std::uint64_t placedEnd) noexcept
        : ring(&partRing), part(placed), end(placedEnd) {}

    void swap(PlacedPart& other) noexcept {
        std::swap(ring, other.ring);
        std::swap(part, other.part);
        std::swap(end, other.end);
    }

    PartRing* ring = nullptr;
    std::string_view part;
    std::uint64_t end = 0;  ///< its end in the ring
};

/// Positions in a ring count from the first byte ever placed.
class PartRing {
public:
    /// Room for the parts of some hundred small files: a worker seldom finds it full, and a
    /// processor keeps it in its cache.
    static constexpr std::size_t kUsualSize = std::size_t{1} << 20;

    /// Throws std::bad_alloc.
    explicit PartRing(std::size_t ringSize = kUsualSize)
        : size(ringSize), memory(ringSize), released(1) {}

    /// Places a part. Called by the worker.
    /// @return its position; nothing when there is no room for it now
    [[nodiscard]] std::optional<std::uint64_t> place(std::string_view part) noexcept;

    /// The part of `partSize` bytes that the worker placed at a position. Called by the main
    /// process, in the order of placing.
    [[nodiscard]] PlacedPart take(std::uint64_t position, std::size_t partSize) noexcept;

    /// Makes a worker that was just forked go on where the main process is.
    void beginWorker() noexcept { placedEnd = takenEnd; }

private:
    friend class PlacedPart;
    using Position = std::atomic<std::uint64_t>;
    static_assert(Position::is_always_lock_free, "a lock would be of one process alone");

    std::size_t size;
    SharedMemory<char> memory;
    SharedMemory<Position> released;  ///< one: up to there the main process needs nothing
    std::uint64_t takenEnd = 0;       ///< the main process's: the end of the last part
    std::uint64_t placedEnd = 0;      ///< the worker's: the end of the last part
    std::uint64_t freeUntil = 0;      ///< the worker's: `released` as it was looked at last
};

}  // namespace app
