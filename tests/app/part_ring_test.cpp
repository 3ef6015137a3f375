#include "app/part_ring.h"

#include <deque>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace {

using app::PartRing;
using app::PlacedPart;

std::string partOf(std::size_t size, char character) {
    return std::string(size, character);
}

TEST(PartRing, PartsComeBackInTheirOrder) {
    PartRing ring;
    const std::string first = "first", second = "second, longer";
    const auto firstPosition = ring.place(first);
    const auto secondPosition = ring.place(second);
    ASSERT_TRUE(firstPosition && secondPosition);
    const PlacedPart firstPart = ring.take(*firstPosition, first.size());
    const PlacedPart secondPart = ring.take(*secondPosition, second.size());
    EXPECT_EQ(firstPart.bytes(), first);
    EXPECT_EQ(secondPart.bytes(), second);
}

TEST(PartRing, TakesNoMoreThanItHasRoomFor) {
    PartRing ring;
    EXPECT_FALSE(ring.place(partOf(PartRing::kSize + 1, 'x')));
    const auto whole = ring.place(partOf(PartRing::kSize, 'x'));
    ASSERT_TRUE(whole);
    EXPECT_FALSE(ring.place("y"));
    {
        const PlacedPart taken = ring.take(*whole, PartRing::kSize);
        EXPECT_FALSE(ring.place("y")) << "while the main process still has the part";
    }
    EXPECT_TRUE(ring.place("y"));
}

TEST(PartRing, APartLiesInOnePiece) {
    PartRing ring;
    constexpr std::size_t kMost = PartRing::kSize / 2 + 1;
    for (const char character :
         {'a', 'b', 'c'}) {  // each would reach over the end of the one before
        const auto position = ring.place(partOf(kMost, character));
        ASSERT_TRUE(position) << character;
        EXPECT_EQ(ring.take(*position, kMost).bytes(), partOf(kMost, character));
    }
}

TEST(PartRing, RoomComesBackAsPartsGo) {
    PartRing ring;
    constexpr std::size_t kHeld = 5;
    std::deque<PlacedPart> held;
    for (std::size_t number = 0; number < 200; ++number) {
        const std::string part = partOf(PartRing::kSize / (kHeld + 2), static_cast<char>(number));
        const auto position = ring.place(part);
        ASSERT_TRUE(position) << number;
        held.push_back(ring.take(*position, part.size()));
        ASSERT_EQ(held.back().bytes(), part) << number;
        ASSERT_EQ(held.front().bytes().front(), static_cast<char>(number - (held.size() - 1)))
            << "a part that is held was written over";
        if (held.size() == kHeld) {
            held.pop_front();
        }
    }
}

TEST(PlacedPart, GoesWithItsOwner) {
    PartRing ring;
    const auto whole = ring.place(partOf(PartRing::kSize, 'x'));
    ASSERT_TRUE(whole);
    PlacedPart first = ring.take(*whole, PartRing::kSize);
    PlacedPart second;
    second = std::move(first);
    first = PlacedPart();
    EXPECT_FALSE(ring.place("y"));
    second = PlacedPart();
    EXPECT_TRUE(ring.place("y"));
}

}  // namespace
