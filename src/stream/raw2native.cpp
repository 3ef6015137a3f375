#include "stream/raw2native.h"

#include <algorithm>
#include <cstring>

namespace ifdsweep::module {

namespace {

template <class Item>
void reverseItems(std::uint8_t* bytes, std::size_t itemCount) {
    for (std::size_t i = 0; i < itemCount; ++i, bytes += sizeof(Item)) {
        const auto item = nativeItem<Item>(bytes, true);
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

}  // namespace ifdsweep::module
