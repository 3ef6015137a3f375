// The one place where bytes change their order.

#include "stream/raw2native.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "support/byte_verbs.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;

Bytes counted(std::size_t length) {
    Bytes bytes(length);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

TEST(Raw2native, TwoItemsOfFourBytesAreReversedEach) {
    Bytes bytes = counted(8);
    raw2native(bytes.data(), 4, 2, true);
    EXPECT_EQ(bytes, (Bytes{4, 3, 2, 1, 8, 7, 6, 5}));
}

TEST(Raw2native, NothingHappensWithoutSwapOrItems) {
    Bytes bytes = counted(8);
    raw2native(bytes.data(), 4, 2, false);
    raw2native(bytes.data(), 4, 0, true);
    raw2native(nullptr, 4, 0, true);
    EXPECT_EQ(bytes, counted(8));
}

TEST(Raw2native, ItemsOfOneByteStay) {
    Bytes bytes = counted(200);
    raw2native(bytes.data(), 1, bytes.size(), true);
    EXPECT_EQ(bytes, counted(200));
}

TEST(Raw2native, EveryItemSizeAndCountIsReversedItemByItem) {
    for (std::size_t itemSize = 1; itemSize <= 17; ++itemSize) {
        for (std::size_t itemCount = 1; itemCount <= 70; ++itemCount) {
            Bytes expected = counted(itemSize * itemCount);
            Bytes bytes = expected;
            bytes.push_back(0xAB);
            for (std::size_t i = 0; i < itemCount; ++i) {
                const auto first = expected.begin() + static_cast<std::ptrdiff_t>(i * itemSize);
                std::reverse(first, first + static_cast<std::ptrdiff_t>(itemSize));
            }
            expected.push_back(0xAB);
            raw2native(bytes.data(), itemSize, itemCount, true);
            ASSERT_EQ(bytes, expected) << itemSize << " x " << itemCount;
        }
    }
}

TEST(Raw2native, AnUnalignedBufferIsFine) {
    Bytes bytes = counted(17);
    raw2native(bytes.data() + 1, 8, 2, true);
    EXPECT_EQ(bytes, (Bytes{1, 9, 8, 7, 6, 5, 4, 3, 2, 17, 16, 15, 14, 13, 12, 11, 10}));
}

}  // namespace
}  // namespace fixture
