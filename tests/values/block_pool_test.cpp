#include "values/block_pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

namespace {

using ifdsweep::BlockPool;

struct Block {
    void* memory;
    std::size_t size;
};

TEST(BlockPool, BlocksAreApartAlignedAndLeadToTheOwner) {
    int owner = 0;
    BlockPool pool(&owner);
    std::vector<Block> blocks;
    for (std::size_t round = 0; round < 400; ++round) {
        for (const std::size_t size : {1U, 32U, 33U, 500U, 1023U, 1024U}) {
            blocks.push_back({pool.allocate(size), size});
            std::memset(blocks.back().memory, static_cast<int>(blocks.size() % 251), size);
        }
    }
    for (std::size_t index = 0; index < blocks.size(); ++index) {
        const auto& [memory, size] = blocks[index];
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0U);
        EXPECT_EQ(BlockPool::ownerOf(memory), &owner);
        const std::vector<unsigned char> expected(size,
                                                  static_cast<unsigned char>((index + 1) % 251));
        ASSERT_EQ(std::memcmp(memory, expected.data(), size), 0);
    }
    for (const auto& [memory, size] : blocks) {
        pool.release(memory, size);
    }
}

TEST(BlockPool, AReleasedBlockIsGivenAgainForItsSizeOnly) {
    BlockPool pool(nullptr);
    void* block = pool.allocate(40);
    pool.release(block, 40);
    void* other = pool.allocate(32);
    EXPECT_NE(other, block);
    EXPECT_EQ(pool.allocate(48), block);
}

TEST(BlockPool, LargeBlocksLieOnTheirOwn) {
    BlockPool pool(nullptr);
    for (const std::size_t size :
         {std::size_t{1025}, std::size_t{4} * 1024 * 1024 - 1, std::size_t{4} * 1024 * 1024,
          std::size_t{5} * 1024 * 1024 + 3}) {
        unsigned char* block = static_cast<unsigned char*>(pool.allocate(size));
        block[0] = 1;
        block[size - 1] = 2;
        if (size >= std::size_t{4} * 1024 * 1024) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % (2 * 1024 * 1024), 0U);
        }
        pool.release(block, size);
    }
}

TEST(BlockPool, ResetBeginsAnewInTheFirstSlab) {
    BlockPool pool(nullptr);
    const void* first = pool.allocate(1024);
    for (int index = 0; index < 1000; ++index) {
        static_cast<void>(pool.allocate(1024));
    }
    pool.reset();
    EXPECT_EQ(pool.allocate(1024), first);
}

}  // namespace
