#include "app/part_ring.h"

#include <array>
#include <deque>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using app::PartRing;
using app::PlacedPart;

constexpr std::size_t kSize = 4096;

std::string partOf(std::size_t size, char character) {
    return std::string(size, character);
}

TEST(PartRing, PartsComeBackInTheirOrder) {
    PartRing ring(kSize);
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
    PartRing ring(kSize);
    EXPECT_FALSE(ring.place(partOf(kSize + 1, 'x')));
    const auto whole = ring.place(partOf(kSize, 'x'));
    ASSERT_TRUE(whole);
    EXPECT_FALSE(ring.place("y"));
    {
        const PlacedPart taken = ring.take(*whole, kSize);
        EXPECT_FALSE(ring.place("y")) << "while the main process still has the part";
    }
    EXPECT_TRUE(ring.place("y"));
}

TEST(PartRing, APartLiesInOnePiece) {
    PartRing ring(kSize);
    constexpr std::size_t kMost = kSize / 2 + 1;
    for (const char character :
         {'a', 'b', 'c'}) {  // each would reach over the end of the one before
        const auto position = ring.place(partOf(kMost, character));
        ASSERT_TRUE(position) << character;
        EXPECT_EQ(ring.take(*position, kMost).bytes(), partOf(kMost, character));
    }
}

TEST(PartRing, RoomComesBackAsPartsGo) {
    PartRing ring(kSize);
    constexpr std::size_t kHeld = 5;
    std::deque<PlacedPart> held;
    for (std::size_t number = 0; number < 200; ++number) {
        const std::string part = partOf(kSize / (kHeld + 2), static_cast<char>(number));
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

TEST(PartRing, AWorkerGoesOnBehindWhatItsForerunnerToldOf) {
    PartRing ring(kSize);
    const auto told = ring.place("told of");
    ASSERT_TRUE(told);
    ASSERT_TRUE(ring.place("not told of"));
    const PlacedPart held = ring.take(*told, 7);
    ring.beginWorker();
    const auto next = ring.place("next");
    ASSERT_TRUE(next);
    EXPECT_EQ(*next, *told + 7);
    EXPECT_EQ(ring.take(*next, 4).bytes(), "next");
    EXPECT_EQ(held.bytes(), "told of");
}

/// One of many parts, no two neighbours alike.
std::string numberedPart(std::size_t number) {
    return partOf(1 + number % 1000, static_cast<char>(number));
}

TEST(PartRing, TwoProcessesShareIt) {
    // The child places parts as long as there is room, and tells where they lie.
    constexpr std::size_t kParts = 500;
    constexpr std::size_t kHeld = 3;
    PartRing ring(kSize);
    std::array<int, 2> tell{}, goOn{};
    ASSERT_EQ(::pipe(tell.data()), 0);
    ASSERT_EQ(::pipe(goOn.data()), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (std::size_t number = 0; number < kParts; ++number) {
            auto position = ring.place(numberedPart(number));
            for (char one = 0; !position; position = ring.place(numberedPart(number))) {
                if (::read(goOn[0], &one, 1) != 1) {
                    ::_exit(1);
                }
            }
            if (::write(tell[1], &*position, sizeof *position) != sizeof *position) {
                ::_exit(1);
            }
        }
        ::_exit(0);
    }
    std::deque<PlacedPart> held;
    for (std::size_t number = 0; number < kParts; ++number) {
        std::uint64_t position = 0;
        ASSERT_EQ(::read(tell[0], &position, sizeof position), ssize_t{sizeof position});
        held.push_back(ring.take(position, numberedPart(number).size()));
        if (held.size() > kHeld) {
            EXPECT_EQ(held.front().bytes(), numberedPart(number - kHeld));
            held.pop_front();
            ASSERT_EQ(::write(goOn[1], "", 1), 1);
        }
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (const int end : {tell[0], tell[1], goOn[0], goOn[1]}) {
        ::close(end);
    }
}

TEST(PlacedPart, GoesWithItsOwner) {
    PartRing ring(kSize);
    const auto whole = ring.place(partOf(kSize, 'x'));
    ASSERT_TRUE(whole);
    PlacedPart first = ring.take(*whole, kSize);
    PlacedPart second;
    second = std::move(first);
    first = PlacedPart();
    EXPECT_FALSE(ring.place("y"));
    second = PlacedPart();
    EXPECT_TRUE(ring.place("y"));
}

TEST(PlacedPart, LetsGoOfWhatItHeldWhenItIsGivenAnother) {
    PartRing ring(kSize);
    const auto first = ring.place(partOf(kSize, 'x'));
    ASSERT_TRUE(first);
    PlacedPart part = ring.take(*first, kSize);
    PlacedPart none;
    part = std::move(none);
    EXPECT_TRUE(ring.place("y"));
}

}  // namespace
