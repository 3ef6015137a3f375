#include "file/raw2native.h"

#include <algorithm>
#include <cstring>

namespace {

std::uint16_t reversed(std::uint16_t item) {
    return __builtin_bswap16(item);
}
std::uint32_t reversed(std::uint32_t item) {
    return __builtin_bswap32(item);
}
std::uint64_t reversed(std::uint64_t item) {
    return __builtin_bswap64(item);
}

template <class Item>
void reverseItems(std::uint8_t* bytes, std::size_t itemCount) {
    for (std::size_t i = 0; i < itemCount; ++i, bytes += sizeof(Item)) {
        Item item;
        std::memcpy(&item, bytes, sizeof item);
        item = reversed(item);
        std::memcpy(bytes, &item, sizeof item);
    }
}

}  // namespace

void raw2native(void* buffer, std::size_t itemSize, std::size_t itemCount, bool swap) {
    if (!swap || itemSize <= 1) {
        return;
    }
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    switch (itemSize) {
        case 2:
            return reverseItems<std::uint16_t>(bytes, itemCount);
        case 4:
            return reverseItems<std::uint32_t>(bytes, itemCount);
        case 8:
            return reverseItems<std::uint64_t>(bytes, itemCount);
        default:
            for (std::size_t i = 0; i < itemCount; ++i, bytes += itemSize) {
                std::reverse(bytes, bytes + itemSize);
            }
    }
}
