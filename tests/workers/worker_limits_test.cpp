// What one file may take where the command line does not say: the machine's memory, shared among
// the workers, within bounds.

#include "workers/worker_limits.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace {

using ifdsweep::defaultMemory;
using ifdsweep::kLeastDefaultMemory;
using ifdsweep::kMostDefaultMemory;

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

TEST(WorkerLimits, DefaultMemoryIsTwiceAnEqualShare) {
    EXPECT_EQ(defaultMemory(4096 * kMiB, 4), 2048 * kMiB);
    EXPECT_EQ(defaultMemory(4096 * kMiB, 1), 8192 * kMiB);
    EXPECT_EQ(defaultMemory(3000 * kMiB + 12345, 2), 3000 * kMiB);
}

TEST(WorkerLimits, DefaultMemoryHasBounds) {
    EXPECT_EQ(defaultMemory(0, 1), kLeastDefaultMemory);
    EXPECT_EQ(defaultMemory(512 * kMiB, 1), kLeastDefaultMemory);
    EXPECT_EQ(defaultMemory(513 * kMiB, 1), 1026 * kMiB);
    EXPECT_EQ(defaultMemory(4095 * kMiB, 1), 8190 * kMiB);
    EXPECT_EQ(defaultMemory(4096 * kMiB, 1), kMostDefaultMemory);
    EXPECT_EQ(defaultMemory(~std::uint64_t{0}, 1), kMostDefaultMemory);
    EXPECT_EQ(defaultMemory(~std::uint64_t{0}, 0), kMostDefaultMemory);
    EXPECT_EQ(defaultMemory({}, 64), kMostDefaultMemory);
}

TEST(WorkerLimits, TheSystemTellsOfItsMemory) {
    const auto available = ifdsweep::availableMemory();
    ASSERT_TRUE(available);
    EXPECT_GT(*available, 16 * kMiB);
}

TEST(WorkerLimits, TheCommandLineComesFirst) {
    ifdsweep::WorkerChoice choice;
    const ifdsweep::WorkerLimits usual = ifdsweep::workerLimits(choice, 1);
    EXPECT_EQ(usual.timeout, 600);
    EXPECT_GE(usual.memory, kLeastDefaultMemory);
    EXPECT_LE(usual.memory, kMostDefaultMemory);
    EXPECT_LE(ifdsweep::workerLimits(choice, 1000).memory, usual.memory);
    choice.timeout = 0.25;
    choice.memory = 5;
    const ifdsweep::WorkerLimits chosen = ifdsweep::workerLimits(choice, 1);
    EXPECT_EQ(chosen.timeout, 0.25);
    EXPECT_EQ(chosen.memory, 5U);
}

}  // namespace
