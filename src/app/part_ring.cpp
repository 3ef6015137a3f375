#include "app/part_ring.h"

namespace app {

PlacedPart::~PlacedPart() {
    if (ring != nullptr) {
        ring->released[0].store(end, std::memory_order_release);
    }
}

std::optional<std::uint64_t> PartRing::place(std::string_view part) noexcept {
    const std::uint64_t untilStart = size - placedEnd % size;
    const std::uint64_t position = part.size() <= untilStart ? placedEnd : placedEnd + untilStart;
    const std::uint64_t end = position + part.size();
    if (end - freeUntil > size) {
        freeUntil = released[0].load(std::memory_order_acquire);
        if (end - freeUntil > size) {
            return std::nullopt;
        }
    }
    part.copy(&memory[position % size], part.size());
    placedEnd = end;
    return position;
}

PlacedPart PartRing::take(std::uint64_t position, std::size_t partSize) noexcept {
    takenEnd = position + partSize;
    return {*this, std::string_view(&memory[position % size], partSize), takenEnd};
}

}  // namespace app
