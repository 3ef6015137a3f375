#pragma once

// Part ring: memory that a worker process shares with the main one. The worker places parts of the
// output in it, one behind the other, and at the end goes on at the start; the main process takes
// them from there and lets go of them in the same order. Where a part lies is told by other means.
//
// Ownership: owns the memory, which both processes have from before the fork. Threads: one at a
// time in each process.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "app/shared_memory.h"

namespace app {

class PartRing;

/// A part in a ring, whose room is free again when its owner ends.
class PlacedPart {
public:
    PlacedPart() = default;
    PlacedPart(PlacedPart&& other) noexcept { swap(other); }
    PlacedPart& operator=(PlacedPart&& other) noexcept {
        swap(other);
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
    static constexpr std::size_t kSize = std::size_t{1} << 20;

    /// Throws std::bad_alloc.
    PartRing() : shared(1) {}

    /// Places a part. Called by the worker.
    /// @return its position; nothing when there is no room for it now
    [[nodiscard]] std::optional<std::uint64_t> place(std::string_view part) noexcept;

    /// The part of `size` bytes that the worker placed at a position. Called by the main process,
    /// in the order of placing.
    [[nodiscard]] PlacedPart take(std::uint64_t position, std::size_t size) noexcept;

private:
    friend class PlacedPart;

    struct Memory {
        std::atomic<std::uint64_t> released{0};  ///< up to here the main process needs nothing
        char bytes[kSize];
    };

    SharedMemory<Memory> shared;
    // The worker's own, and what the main process gives to a worker that it forks later.
    std::uint64_t end = 0;       ///< of the last part
    std::uint64_t released = 0;  ///< as it was when it was looked at last
};

}  // namespace app
