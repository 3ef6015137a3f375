#include "files/read_cache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using ifdsweep::ByteSource;
using ifdsweep::ReadCache;

/// Bytes that differ from their neighbours, and a count of what was asked of them.
class CountedBytes final : public ByteSource {
public:
    explicit CountedBytes(std::uint64_t byteCount) : length(byteCount), reported(byteCount) {}

    [[nodiscard]] static std::byte at(std::uint64_t position) {
        return static_cast<std::byte>((position * 2654435761U >> 13) & 0xFF);
    }

    [[nodiscard]] std::uint64_t size() const noexcept override { return reported; }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        ++reads;
        if (failing) {
            errno = EIO;
            return -1;
        }
        const std::uint64_t end = std::min(length, position + target.size());
        std::uint64_t next = position;
        for (; next < end; ++next) {
            target[static_cast<std::size_t>(next - position)] = at(next);
        }
        bytesRead += next - position;
        return static_cast<std::ptrdiff_t>(next - position);
    }

    std::uint64_t length;
    std::uint64_t reported;
    bool failing = false;
    mutable std::uint64_t reads = 0;
    mutable std::uint64_t bytesRead = 0;
};

/// Reads through the cache and compares with the source; returns the bytes read.
std::size_t readAndCompare(ReadCache& cache, const CountedBytes& source, std::uint64_t position,
                           std::size_t length) {
    std::vector<std::byte> target(length);
    const std::ptrdiff_t got = cache.read(source, position, target);
    const std::uint64_t expected =
        position < source.length ? std::min<std::uint64_t>(length, source.length - position) : 0;
    EXPECT_EQ(got, static_cast<std::ptrdiff_t>(expected)) << position << " " << length;
    for (std::size_t index = 0; index < expected; ++index) {
        if (target[index] != CountedBytes::at(position + index)) {
            ADD_FAILURE() << "byte " << index << " of a read at " << position;
            break;
        }
    }
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0));
}

TEST(ReadCache, RandomReadsGiveTheFilesBytes) {
    for (const std::uint64_t size : {0U, 1U, 4096U, 16'384U, 16'385U, 100'000U, 3'000'000U}) {
        const CountedBytes source(size);
        ReadCache cache;
        std::mt19937 random(7);
        std::uint64_t position = 0;
        for (int step = 0; step < 2000; ++step) {
            const std::size_t length = random() % (step % 50 == 0 ? 600'000 : 300);
            position = step % 3 == 0 ? random() % (size + 100) : position + random() % 6000;
            position %= size + 5000;
            position += readAndCompare(cache, source, position, length);
            if (testing::Test::HasFailure()) {
                return;
            }
        }
    }
}

TEST(ReadCache, ASmallFileIsOneRead) {
    for (const std::uint64_t size : {8U, 5000U, 16'384U}) {
        const CountedBytes source(size);
        ReadCache cache;
        for (const std::uint64_t position :
             {std::uint64_t{0}, size - 4, size / 2, std::uint64_t{2}}) {
            readAndCompare(cache, source, position, 4);
        }
        EXPECT_EQ(source.reads, 1U) << size;
    }
}

TEST(ReadCache, SequentialReadsAreFewAndReadNothingTwice) {
    const CountedBytes source(16 * 1024 * 1024);
    ReadCache cache;
    for (std::uint64_t position = 0; position < source.length; position += 64) {
        readAndCompare(cache, source, position, 64);
    }
    EXPECT_LE(source.reads, source.length / ReadCache::kLargestBlock + 7);
    EXPECT_EQ(source.bytesRead, source.length);
}

TEST(ReadCache, TablesAndValuesKeepTheirWindows) {
    const CountedBytes source(64 * 1024 * 1024);
    ReadCache cache;
    for (std::uint64_t index = 0; index < 10'000; ++index) {
        readAndCompare(cache, source, index * 200, 200);
        readAndCompare(cache, source, 32 * 1024 * 1024 + index * 40, 40);
    }
    EXPECT_LE(source.reads, 40U);
}

TEST(ReadCache, TheStartOfAFileIsHeldWhoeverLooksFartherOn) {
    const CountedBytes source(64 * 1024 * 1024);
    ReadCache cache;
    for (std::uint64_t jump = 0; jump < 20; ++jump) {
        readAndCompare(cache, source, jump * 1'000'000, 300);
        readAndCompare(cache, source, jump * 1'000'000 + 500'000, 4096);
    }
    const std::uint64_t before = source.reads;
    readAndCompare(cache, source, 12, 4000);
    EXPECT_EQ(source.reads, before);
}

TEST(ReadCache, AWindowHoldsWhatItReadUntilItIsFull) {
    const CountedBytes source(64 * 1024 * 1024);
    ReadCache cache;
    for (std::uint64_t position = 0; position < 120'000; position += 500) {
        readAndCompare(cache, source, position, 500);
    }
    const std::uint64_t before = source.reads;
    readAndCompare(cache, source, 0, 3000);
    readAndCompare(cache, source, 30'000, 3000);
    EXPECT_EQ(source.reads, before);
}

TEST(ReadCache, ValuesJustBeforeTheirTableAreHeldOverBlocks) {
    const CountedBytes source(8 * 1024 * 1024);
    ReadCache cache;
    for (std::uint64_t record = 0; record < 8000; ++record) {
        readAndCompare(cache, source, record * 1000 + 600, 400);
        readAndCompare(cache, source, record * 1000, 600);
    }
    EXPECT_LE(source.bytesRead, source.length + 64 * 1024);
    EXPECT_LE(source.reads, 50U);
}

TEST(ReadCache, FarApartDirectoriesCostASmallBlockEach) {
    const CountedBytes source(64 * 1024 * 1024);
    ReadCache cache;
    for (std::uint64_t index = 0; index < 200; ++index) {
        readAndCompare(cache, source, index * 256 * 1024 + 100, 300);
    }
    EXPECT_EQ(source.reads, 200U);
    EXPECT_LE(source.bytesRead, 200 * ReadCache::kSmallestBlock);
}

TEST(ReadCache, ALargeReadIsOneReadOfItsSize) {
    const CountedBytes source(8 * 1024 * 1024);
    ReadCache cache;
    readAndCompare(cache, source, 1'000'000, 5'000'000);
    EXPECT_EQ(source.reads, 1U);
    EXPECT_EQ(source.bytesRead, 5'000'000U);
}

TEST(ReadCache, AFailureIsReportedAndForgotten) {
    CountedBytes source(100'000);
    ReadCache cache;
    std::byte target[8];
    source.failing = true;
    errno = 0;
    EXPECT_EQ(cache.read(source, 50'000, target), -1);
    EXPECT_EQ(errno, EIO);
    source.failing = false;
    EXPECT_EQ(readAndCompare(cache, source, 50'000, 8), 8U);
}

TEST(ReadCache, BytesBeforeAFailureAreDelivered) {
    CountedBytes source(100'000);
    ReadCache cache;
    EXPECT_EQ(readAndCompare(cache, source, 0, 4), 4U);
    source.failing = true;
    std::byte target[8];
    EXPECT_EQ(cache.read(source, 4092, target), 4);
}

TEST(ReadCache, AFileThatShrankGivesShortReads) {
    CountedBytes source(100'000);
    source.length = 40'000;
    ReadCache cache;
    EXPECT_EQ(readAndCompare(cache, source, 39'990, 100), 10U);
    EXPECT_EQ(readAndCompare(cache, source, 41'000, 100), 0U);
    EXPECT_EQ(readAndCompare(cache, source, 0, 99'999), 40'000U);
}

TEST(ReadCache, AFileThatGrewIsReadOn) {
    CountedBytes source(100'000);
    source.reported = 1000;
    ReadCache cache;
    EXPECT_EQ(readAndCompare(cache, source, 5000, 10), 10U);
}

TEST(ReadCache, WhatAFileHasGrownIsReadWhereABlockGoesOn) {
    CountedBytes source(30'000);
    source.reported = 20'000;
    ReadCache cache;
    EXPECT_EQ(readAndCompare(cache, source, 15'900, 10), 10U);
    // The block that goes on begins before the size that was reported.
    EXPECT_EQ(readAndCompare(cache, source, 20'010, 10), 10U);
    EXPECT_EQ(source.reads, 2U);
}

TEST(ReadCache, ClearForgetsTheFile) {
    const CountedBytes source(1000);
    ReadCache cache;
    readAndCompare(cache, source, 0, 10);
    cache.clear();
    readAndCompare(cache, source, 0, 10);
    EXPECT_EQ(source.reads, 2U);
}

}  // namespace
