#include "app/part_ring.h"

namespace app {

PlacedPart::~PlacedPart() {
    if (ring != nullptr) {
        ring->shared[0].released.store(end, std::memory_order_release);
    }
}

std::optional<std::uint64_t> PartRing::place(std::string_view part) noexcept {
    const std::uint64_t untilStart = kSize - end % kSize;
    const std::uint64_t position = part.size() <= untilStart ? end : end + untilStart;
    const std::uint64_t newEnd = position + part.size();
    if (newEnd - released > kSize) {
        released = shared[0].released.load(std::memory_order_acquire);
        if (newEnd - released > kSize) {
            return std::nullopt;
        }
    }
    part.copy(shared[0].bytes + position % kSize, part.size());
    end = newEnd;
    return position;
}

PlacedPart PartRing::take(std::uint64_t position, std::size_t size) noexcept {
    end = position + size;
    return {*this, std::string_view(shared[0].bytes + position % kSize, size), end};
}

}  // namespace app
