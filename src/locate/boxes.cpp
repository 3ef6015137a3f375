#include "locate/boxes.h"

namespace ifdsweep {
namespace {

constexpr std::uint64_t kShortHeader = 8;
constexpr std::uint64_t kLongHeader = 16;
constexpr std::uint64_t kToTheEnd = 0;
constexpr std::uint64_t kLongSize = 1;

}  // namespace

std::optional<Box> Boxes::next() {
    if (place >= limit || damaged) {
        return std::nullopt;
    }
    const std::uint64_t position = place;
    const std::uint64_t room = limit - position;
    if (room < kShortHeader) {
        damaged = position;
        return std::nullopt;
    }
    const auto shortSize = reader.bigEndianAt(position, 4);
    const auto type = reader.bigEndianAt(position + 4, 4);
    const bool isLong = shortSize == kLongSize;
    const std::uint64_t header = isLong ? kLongHeader : kShortHeader;
    const auto stated = isLong ? reader.bigEndianAt(position + kShortHeader, 8) : shortSize;
    if (room < header || !type || !stated) {
        damaged = position;
        return std::nullopt;
    }
    const std::uint64_t size = shortSize == kToTheEnd ? room : *stated;
    if (size < header) {
        damaged = position;
        return std::nullopt;
    }
    if (size > room) {
        damaged = position;
    }
    place = size > room ? limit : position + size;
    return Box{static_cast<std::uint32_t>(*type), position, position + header, place};
}

}  // namespace ifdsweep
